"""Runs qdn-configure on the host and reads the documents that it writes."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import resource
import time

USUAL_DIRECTORY = '/opt/zorvane/kell/ksagent'
PATH = '/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin'
USAGE = 120
WARNING = 'WARNING! '


class Failed(Exception):
    """The program could not be run, or what it wrote is no document."""

    def __init__(self, text, **more):
        super(Failed, self).__init__(text)
        self.text = text
        self.more = more


def program_of(directory):
    """Where the package of an agent has the program."""
    return os.path.join(directory, 'bin', 'qdn-configure.bin')


def is_installed(directory):
    """True if the agent's package lies in the directory."""
    return os.access(program_of(directory), os.X_OK)


def _computed():
    """The processor time of what this process has run so far."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


class Program(object):
    """The program of one install directory, run in an environment that is the same on every host. What it took counts."""

    def __init__(self, module, directory, xml_directory=None):
        self._module = module
        self._path = program_of(directory)
        self._seconds = self._processor_seconds = 0.0
        self._environment = {'PATH': PATH, 'LC_ALL': 'C.UTF-8', 'LANG': 'C.UTF-8'}
        if xml_directory:
            self._environment.update(QDNCLIENT_CONFIG_XML_DIR=xml_directory, QDN_INSTALL_OVERRIDE='yes')

    def document(self, kind, words):
        """The document of a command that is called with -json; its `format` names the kind."""
        status, output, errors = self._run(words)
        try:
            document = json.loads(output)
        except ValueError:
            document = None
        if isinstance(document, dict) and str(document.get('format', '')).startswith('qdn-configure/%s/' % kind):
            return document
        if status == USAGE:
            raise Failed('The program of the installed package knows no -%s: it is older than this collection needs (1.1).'
                         % kind, rc=status, too_old=True)
        raise Failed('%s wrote no document that is known.' % words[0], rc=status,
                     stdout=output[-2000:], stderr=errors[-2000:])

    def _run(self, words):
        # Variables of the caller's, such as QDN_INSTALL_KSNAME, would be another source of settings.
        command = ['/usr/bin/env', '-i'] + ['%s=%s' % pair for pair in sorted(self._environment.items())]
        started, computed = time.time(), _computed()
        try:
            return self._module.run_command(command + [self._path] + words, cwd='/')
        finally:
            self._seconds += time.time() - started
            self._processor_seconds += _computed() - computed

    def times(self):
        """How long it ran in all, as a part of a module's result."""
        return dict(seconds=round(self._seconds, 3), processor_seconds=round(self._processor_seconds, 3))


def warnings_of(document):
    """What the program warns of, without the word that says so."""
    return [text[len(WARNING):] if text.startswith(WARNING) else text for text in document.get('warnings') or []]


def _state(state, kind):
    """How a file is, for people."""
    if state is None:
        return ''
    lines = ['type: %s' % (state.get('type') or kind), 'mode: %s' % state['mode'],
             'owner: %s:%s' % (state['uid'], state['gid'])]
    for name in ('target', 'size', 'sha256'):
        if state.get(name) is not None:
            lines.append('%s: %s' % (name, state[name]))
    return '\n'.join(lines) + '\n'


def difference(change):
    """One change as an entry of a module's `diff`: by its path, before and after, and the text's own differences."""
    path, kind = change['path'], change.get('type') or 'file'
    entry = {'before_header': path, 'after_header': change.get('to') or path,
             'before': _state(change['before'], kind), 'after': _state(change['after'], kind)}
    if change['action'] == 'move':
        entry['before'], entry['after'] = 'path: %s\n' % path, 'path: %s\n' % change['to']
    if change.get('entries') is not None:
        side = 'after' if change['action'] == 'create' else 'before'
        entry[side] += 'entries: %d\n' % change['entries']
    if change.get('attributes'):
        entry['after'] += 'attributes: %s\n' % ', '.join(change['attributes'])
    if change.get('diff'):
        entry['prepared'] = change['diff']
    return entry


def is_saved_copy(change):
    """True for the copy of the former client.conf that every configuration makes before its first change."""
    return change['path'].endswith('/etc/client.conf.old') and change['action'] in ('create', 'replace')


def differences(document):
    """What would change, or has changed. That a copy of the present client.conf would be made is no change by itself."""
    changes = document['changes']
    if all(is_saved_copy(change) for change in changes):
        return []
    return [difference(change) for change in changes]


def settings_of(document):
    """The settings by their names, each with its value and where that is from."""
    return dict((setting['name'], {'value': setting['value'], 'source': setting['source']['kind']})
                for setting in document['settings'])
