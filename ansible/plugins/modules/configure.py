#!/usr/bin/python
# Copyright (c) 2026 qdn-configure maintainers
# MIT License (see LICENSE or https://opensource.org/licenses/MIT)

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
---
module: configure
short_description: Configure the Zorvane Agent for UNIX and Linux, or remove it
version_added: 1.0.0
description:
  - Brings the agent of an install directory into the described state by its own program, C(qdn-configure).
  - What would change is found by rehearsing the configuration on a copy of the host. If nothing would, nothing is run
    and nothing is started. Otherwise it is done as a whole or, when it fails or the agent does not stay up, undone.
  - A setting that the task does not give stays as the installed agent has it; on a fresh host it gets its default.
  - The package of the agent, which has the program, must be installed; the role C(zorvane.kell_agent.agent) does that.
author:
  - qdn-configure maintainers (@zorvane)
options:
  state:
    description:
      - V(configured), the agent is configured as described.
      - V(absent), the agent is removed with its data and its install directory. What the package manager knows of
        the package stays, so remove a package by its manager, which does the same.
    type: str
    choices: [configured, absent]
    default: configured
  directory:
    description: The directory that the agent's package is installed to.
    type: path
    default: /opt/zorvane/kell/ksagent
  wait:
    description: How many seconds an agent that is started may take until it has been running for two, 2 to 3600.
    type: int
    default: 10
  server:
    description: The Kell Server, its name or address, or a whole URL. Needed on a host without a configured agent.
    type: str
  port:
    description: The server's port, when it is not the usual one of the protocol. It counts only beside O(server).
    type: int
  protocol:
    description: How the server is reached. It counts only beside O(server).
    type: str
    choices: [http, https]
  guid:
    description:
      - The identifier of the host. Without one the agent makes its own when it is first started.
      - Never give one to an image that more than one host is made from.
    type: str
  use_server_address:
    description: Call the server by O(server_address) rather than by its name.
    type: bool
  server_address:
    description: The address of the server.
    type: str
  use_domain:
    description: Look up the domain of the host in C(/etc/resolv.conf).
    type: bool
  report_interfaces_without_address:
    description: Report network interfaces that have no address.
    type: bool
  upgrade:
    description:
      - Carry over what an installed agent has and the task does not give.
      - With V(false) all of it is given up, by-hand entries of C(client.conf) included; the agent's data is kept.
    type: bool
  start:
    description:
      - Start the agent when it is configured. Only a change starts it; an agent that is as described is left alone.
      - With V(false), an agent that runs is stopped for a change and not started again.
    type: bool
  allow_unprivileged:
    description: Let every user run the agent's programs, except those that configure it.
    type: bool
  start_at_boot:
    description: Start the agent when the host starts.
    type: bool
  run_levels:
    description: The run levels in which the agent is started; on a fresh host 2, 3 and 5.
    type: list
    elements: int
  links_directory:
    description: Where links to the agent's programs are put. It must exist.
    type: path
  temporary_directory:
    description: Where the agent has its temporary files.
    type: path
  guid_directory:
    description: Where the file with the identifier is.
    type: path
  guid_file:
    description: The name of the file with the identifier.
    type: str
  event_queue_directory:
    description: Where events wait to be sent.
    type: path
  tasks_directory:
    description: Where tasks are kept.
    type: path
  packages_directory:
    description: Where packages are kept.
    type: path
  software_delivery_directory:
    description: Where software deliveries are kept.
    type: path
  verify_certificate:
    description: Check the certificate of the server.
    type: bool
  verify_certificate_name:
    description: Check the certificate of the server against its name.
    type: bool
  ca_file:
    description: A file of certificate authorities.
    type: path
  ca_directory:
    description: A directory of certificate authorities.
    type: path
  log_directory:
    description: Where the agent's log is.
    type: path
  log_file:
    description: The name of the agent's log.
    type: str
  log_size:
    description: The size in kilobytes at which a new log is begun.
    type: int
  log_level:
    description: How much is logged.
    type: str
    choices: [Error, Warning, Info, Debug, DbgVerbose, DevNote]
  syslog_level:
    description: How much goes to the log of the system.
    type: str
    choices: [None, Error, Warning, Info]
  serial_number:
    description: The serial number, for the inventory; empty text removes it, and so for all details below.
    type: str
  asset_tag:
    description: The asset tag.
    type: str
  employee_id:
    description: The employee who has the host.
    type: str
  contact_name:
    description: Whom to ask about the host.
    type: str
  contact_phone:
    description: The telephone of the contact.
    type: str
  contact_email:
    description: The e-mail address of the contact.
    type: str
  location:
    description: Where the host is.
    type: str
  department:
    description: The department that the host belongs to.
    type: str
  description:
    description: What the host is for.
    type: str
  extra_settings:
    description: Further entries for the XML file. The program reads them, but they do not reach C(client.conf).
    type: list
    elements: dict
    suboptions:
      section:
        description: The section.
        type: str
        required: true
      name:
        description: The key.
        type: str
        required: true
      value:
        description: The value. It never appears in results or logs.
        type: str
        required: true
attributes:
  check_mode:
    description: What would change is found by a rehearsal of the program itself, and nothing is changed.
    support: full
  diff_mode:
    description: Every path that changes, before and after, and the differences of text files.
    support: full
  platform:
    description: Linux.
    support: full
    platforms: linux
extends_documentation_fragment: []
notes:
  - It has to be run as root, and needs nothing of Python on the host beyond the standard library of 3.6.
seealso:
  - module: zorvane.kell_agent.status
'''

EXAMPLES = r'''
- name: Configure the agent
  zorvane.kell_agent.configure:
    server: kell.example.com
    protocol: https
    run_levels: [3, 5]

- name: Change the size of the log, and nothing else
  zorvane.kell_agent.configure:
    log_size: 1024

- name: Remove the agent of a directory that no package manager knows
  zorvane.kell_agent.configure:
    state: absent
    directory: /opt/elsewhere/ksagent
'''

RETURN = r'''
diff:
  description: What changes, one entry a path. C(prepared) has the differences of a text file.
  returned: always
  type: list
  elements: dict
  sample:
    - before_header: /etc/init.d/zorvane
      after_header: /etc/init.d/zorvane
      before: ""
      after: "type: file\nmode: 0555\nowner: 0:0\n"
settings:
  description: The settings of the configuration by their names in the XML file, each with its value and its source.
  returned: when the configuration was rehearsed
  type: dict
  sample: {"LogSize": {"value": "1024", "source": "xml"}}
status:
  description: The exit status of the command, in the rehearsal or, after a change, on the host.
  returned: always
  type: int
agent:
  description: Whether an agent runs and, after a change, its process id.
  returned: when the configuration was rehearsed
  type: dict
  sample: {"running": true, "pid": 4711}
restored:
  description: True if a change failed and everything was put back.
  returned: when a change failed
  type: bool
kept:
  description: The directory with the files of the attempt that failed.
  returned: when a change failed
  type: str
seconds:
  description: How long the program ran, in all; much of it is waiting, when an agent is started and watched.
  returned: when the program was run
  type: float
processor_seconds:
  description: How long it computed, with all that it runs.
  returned: when the program was run
  type: float
'''

import os
import shutil
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zorvane.kell_agent.plugins.module_utils import settings as agent_settings
from ansible_collections.zorvane.kell_agent.plugins.module_utils.program import (
    USUAL_DIRECTORY, Failed, Program, differences, is_installed, settings_of, warnings_of)

NOT_FORESEEN = 'The package of the agent is not installed yet: what its configuration changes cannot be foreseen.'


class Configuration(object):
    """One task's run on the host."""

    def __init__(self, module):
        self.module = module
        self.params = module.params
        self.xml_directory = tempfile.mkdtemp(prefix='.qdn-configure-', dir=module.tmpdir)
        self.result = {'changed': False, 'diff': [], 'status': 0, 'warnings': []}
        self._program = Program(module, self.params['directory'], self.xml_directory)

    def command(self):
        """The command that is rehearsed, and then run."""
        if self.params['state'] == 'absent':
            return ['-clean', self.params['directory']]
        return ['-configure', '-noimode', '-dir', self.params['directory']]

    def write_xml(self, options):
        """The settings go to the program in a file of a directory that only root can enter."""
        path = os.path.join(self.xml_directory, agent_settings.XML_NAME)
        descriptor = os.open(path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
        with os.fdopen(descriptor, 'wb') as xml:
            xml.write(agent_settings.to_xml(options, self.params['extra_settings']).encode('utf-8', 'surrogateescape'))

    def rehearse(self):
        """What the configuration would change now."""
        options = agent_settings.given(self.params)
        self.write_xml(options)
        preview = self._program.document('preview', ['-preview', '-json'] + self.command())
        if self.params['state'] == 'configured' and self.lacks_run_levels(preview, options):
            options['run_levels'] = agent_settings.USUAL_RUN_LEVELS
            self.write_xml(options)
            preview = self._program.document('preview', ['-preview', '-json'] + self.command())
        return preview

    @staticmethod
    def lacks_run_levels(preview, options):
        """True if neither the task nor an installed agent says when the agent is started; that it never is says it, too."""
        if 'run_levels' in options or preview.get('possible') is False:
            return False
        run_levels = settings_of(preview).get('RunLevel', {})
        return not run_levels.get('value') and run_levels.get('source') != 'installed'

    def fail(self, text, **more):
        self.result.update(self._program.times(), **more)
        self.module.fail_json(msg=text, **self.result)

    def why_not_used(self):
        """Why the program has not used the file with the task's options; empty when it has."""
        path = os.path.join(self.xml_directory, agent_settings.XML_NAME)
        for text in self.result['warnings']:
            if text.startswith(path + ' is not used: ') or (text.startswith(path) and text.endswith('The file is not used.')):
                return text[len(path):].lstrip(':')
        return ''

    def take(self, preview):
        """What a rehearsal has found is the result, unless it fails."""
        self.result.update(status=preview['status'], warnings=warnings_of(preview), settings=settings_of(preview))
        why = self.why_not_used()
        if why:  # the rest of the host's configuration would go on counting, as if the task had no options
            self.fail('The program does not take the options, in one of which may be a control character: ' + why, status=1)
        if preview['status'] != 0:
            self.fail(preview['error'] or 'The configuration would fail.')
        # An agent that runs is stopped for the change. For anything else the real run would be refused as well.
        if preview['refused'] and 'running' not in preview['refused']:
            self.fail(preview['refused'].strip(), status=1)
        self.result['agent'] = {'running': bool(preview['refused'])}
        self.result['diff'] = differences(preview)
        self.result['changed'] = bool(self.result['diff'])

    def apply(self):
        """Does what was rehearsed, or leaves the host as it was."""
        applied = self._program.document('apply', ['-apply', '-json', '-yes', '-wait', str(self.params['wait'])] + self.command())
        self.result['status'] = applied['status']
        if applied['status'] != 0:
            self.fail(applied['error'] or 'The configuration failed.', changed=not applied['restored'],
                      restored=applied['restored'], kept=applied['kept'])
        self.result['agent'] = applied['agent']
        if applied.get('preview'):  # what it found itself, just before it began
            self.result['diff'] = differences(applied['preview'])

    def run(self):
        self.take(self.rehearse())
        if self.result['changed'] and not self.module.check_mode:
            self.apply()
        self.result.update(self._program.times())


def main():
    spec = agent_settings.argument_spec()
    spec.update(
        state=dict(type='str', choices=['configured', 'absent'], default='configured'),
        directory=dict(type='path', default=USUAL_DIRECTORY),
        wait=dict(type='int', default=10),
    )
    module = AnsibleModule(argument_spec=spec, supports_check_mode=True)
    if not 2 <= module.params['wait'] <= 3600:
        module.fail_json(msg='wait is %d, and can be from 2 to 3600.' % module.params['wait'])
    if not is_installed(module.params['directory']):
        nothing = dict(diff=[], status=0)
        if module.params['state'] == 'absent':
            module.exit_json(changed=False, **nothing)
        if module.check_mode:
            module.exit_json(changed=True, warnings=[NOT_FORESEEN], **nothing)
        module.fail_json(msg='No package of the agent is installed in %s.' % module.params['directory'])
    configuration = Configuration(module)
    try:
        configuration.run()
    except Failed as failed:
        configuration.fail(failed.text, **failed.more)
    finally:
        shutil.rmtree(configuration.xml_directory, ignore_errors=True)
    module.exit_json(**configuration.result)


if __name__ == '__main__':
    main()
