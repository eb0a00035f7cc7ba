"""What a task can say of the agent, and the XML file that qdn-configure reads it from."""

from __future__ import absolute_import, division, print_function

__metaclass__ = type

from xml.sax.saxutils import escape, quoteattr

XML_NAME = '.qdn-agent-install-config.xml'

# Where a setting stands in the XML file.
ROOT = 'KSAgentConfiguration'
SETTINGS = 'Settings'
CURL = 'CurlSSL'
LOG = 'EventLog'

# Run levels that an agent gets where nothing else says any; the file has to name some.
USUAL_RUN_LEVELS = (2, 3, 5)

_LOG_LEVELS = ['Error', 'Warning', 'Info', 'Debug', 'DbgVerbose', 'DevNote']
_SYSLOG_LEVELS = ['None', 'Error', 'Warning', 'Info']


class Setting(object):
    """One setting: its name in the file, where it stands there, and its type as an option of the module."""

    def __init__(self, name, place, kind='str', attribute=False, choices=None):
        self.name = name
        self.place = place
        self.kind = kind
        self.attribute = attribute
        self.choices = choices

    def argument(self):
        """What Ansible is told of the option."""
        argument = {'type': 'path' if self.kind == 'path' else self.kind}
        if self.kind == 'detail':
            argument['type'] = 'str'
        if self.kind == 'levels':
            argument.update(type='list', elements='int')
        if self.choices:
            argument['choices'] = self.choices
        return argument

    def text(self, value):
        """The value as the file has it."""
        if self.kind == 'bool':
            return 'yes' if value else 'no'
        if self.kind == 'levels':
            return ';'.join('rc%d' % level for level in sorted(set(value)))
        if self.kind == 'detail' and not value:
            return 'none'  # an empty element would be no element
        return str(value)


def _attribute(name, place, kind='str', choices=None):
    return Setting(name, place, kind, True, choices)


# The option of each setting. The install directory is not among them: it goes with the command.
OPTIONS = {
    'server': Setting('KSName', ROOT),
    'port': Setting('KSPort', ROOT, 'int'),
    'protocol': Setting('KSProtocol', ROOT, choices=['http', 'https']),
    'guid': Setting('Guid', ROOT),
    'serial_number': Setting('SerialNumber', ROOT, 'detail'),
    'asset_tag': Setting('AssetTag', ROOT, 'detail'),
    'employee_id': Setting('EmployeeID', ROOT, 'detail'),
    'contact_name': Setting('ContactName', ROOT, 'detail'),
    'contact_phone': Setting('ContactPhone', ROOT, 'detail'),
    'contact_email': Setting('ContactEmail', ROOT, 'detail'),
    'location': Setting('Location', ROOT, 'detail'),
    'department': Setting('Department', ROOT, 'detail'),
    'description': Setting('Description', ROOT, 'detail'),
    'use_server_address': _attribute('UseKSIPAddress', SETTINGS, 'bool'),
    'server_address': _attribute('KSIPAddress', SETTINGS),
    'use_domain': _attribute('UseDomain', SETTINGS, 'bool'),
    'report_interfaces_without_address': _attribute('EnableNICError', SETTINGS, 'bool'),
    'upgrade': _attribute('Upgrade', SETTINGS, 'bool'),
    'start': _attribute('Start', SETTINGS, 'bool'),
    'allow_unprivileged': _attribute('AllowNonRoot', SETTINGS, 'bool'),
    'start_at_boot': _attribute('StartupOnBoot', SETTINGS, 'bool'),
    'run_levels': _attribute('RunLevel', SETTINGS, 'levels'),
    'links_directory': Setting('BinDir', SETTINGS, 'path'),
    'temporary_directory': Setting('TempDir', SETTINGS, 'path'),
    'guid_directory': Setting('GuidDir', SETTINGS, 'path'),
    'guid_file': Setting('GuidFile', SETTINGS),
    'event_queue_directory': Setting('EventQueueDir', SETTINGS, 'path'),
    'tasks_directory': Setting('TasksDir', SETTINGS, 'path'),
    'packages_directory': Setting('PackagesDir', SETTINGS, 'path'),
    'software_delivery_directory': Setting('SWDDir', SETTINGS, 'path'),
    'verify_certificate': _attribute('SSLVerifyPeer', CURL, 'bool'),
    'verify_certificate_name': _attribute('SSLVerifyHost', CURL, 'bool'),
    'ca_file': _attribute('CAInfo', CURL, 'path'),
    'ca_directory': _attribute('CAPath', CURL, 'path'),
    'log_directory': _attribute('LogDir', LOG, 'path'),
    'log_file': _attribute('LogFile', LOG),
    'log_size': _attribute('LogSize', LOG, 'int'),
    'log_level': _attribute('LogLevel', LOG, choices=_LOG_LEVELS),
    'syslog_level': _attribute('SysLogLevel', LOG, choices=_SYSLOG_LEVELS),
}

# Settings that the program reads and does not use: the option's parts, by their attributes in the file.
EXTRA_PARTS = {'section': 'Section', 'name': 'Name', 'value': 'Value'}


def argument_spec():
    """The options of all settings."""
    spec = dict((option, setting.argument()) for option, setting in OPTIONS.items())
    spec['extra_settings'] = dict(type='list', elements='dict', options=dict(
        section=dict(type='str', required=True),
        name=dict(type='str', required=True),
        value=dict(type='str', required=True, no_log=True),
    ))
    return spec


def given(params):
    """The options that a task gives, with their values."""
    return dict((option, params[option]) for option in OPTIONS if params.get(option) is not None)


def _elements(values, place):
    return ''.join('<%s>%s</%s>' % (setting.name, escape(text), setting.name)
                   for setting, text in values if setting.place == place and not setting.attribute)


def _attributes(values, place):
    return ''.join(' %s=%s' % (setting.name, quoteattr(text))
                   for setting, text in values if setting.place == place and setting.attribute)


def _extra(entries):
    if not entries:
        return ''
    rows = ''.join('<Setting%s/>' % ''.join(' %s=%s' % (EXTRA_PARTS[part], quoteattr(entry[part]))
                                            for part in ('section', 'name', 'value'))
                   for entry in entries)
    return '<ExtraConfigSettings>%s</ExtraConfigSettings>' % rows


def to_xml(options, extra=None):
    """The file that says what the options say, and nothing else."""
    values = [(OPTIONS[option], OPTIONS[option].text(value)) for option, value in sorted(options.items())]
    inner = ''.join('<%s%s/>' % (place, _attributes(values, place))
                    for place in (CURL, LOG) if _attributes(values, place))
    return ('<?xml version="1.0" encoding="UTF-8"?>\n<%s>%s<%s%s>%s%s</%s>%s</%s>\n' % (
        ROOT, _elements(values, ROOT), SETTINGS, _attributes(values, SETTINGS), inner,
        _elements(values, SETTINGS), SETTINGS, _extra(extra), ROOT))
