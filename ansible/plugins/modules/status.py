#!/usr/bin/python
# Copyright (c) 2026 qdn-configure maintainers
# MIT License (see LICENSE or https://opensource.org/licenses/MIT)

from __future__ import absolute_import, division, print_function

__metaclass__ = type

DOCUMENTATION = r'''
---
module: status
short_description: Tell what is installed of the Zorvane Agent, whether it runs, and whether it is as configured
version_added: 1.0.0
description:
  - Asks the agent's own program, C(qdn-configure), and changes nothing.
  - The answer is also kept as the fact C(kell_agent).
author:
  - qdn-configure maintainers (@zorvane)
options:
  directory:
    description: The directory that the agent's package is installed to.
    type: path
    default: /opt/zorvane/kell/ksagent
  connect:
    description: Also try to reach the server, for at most three seconds.
    type: bool
    default: false
attributes:
  check_mode:
    description: Nothing is ever changed.
    support: full
  diff_mode:
    description: Nothing is ever changed.
    support: none
  platform:
    description: Linux.
    support: full
    platforms: linux
seealso:
  - module: zorvane.kell_agent.configure
'''

EXAMPLES = r'''
- name: Ask for the agent
  zorvane.kell_agent.status:
    connect: true

- name: Stop where the agent is not as configured
  ansible.builtin.assert:
    that: kell_agent.status in [0, 3]
'''

RETURN = r'''
kell_agent:
  description:
    - The document of C(qdn-configure -status -json), the same as the fact of this name.
    - Its C(status) is 0 when all is in order and the agent runs, 1 when there are differences, a configuration would fail or
      a run has not come to its end, 3 when all is in order and the agent does not run, 4 when no agent is configured, and
      null when the program of the installed package is too old to tell.
    - Where no differences could be looked for, 0 and 3 say only whether the agent runs.
  returned: always
  type: dict
  sample: {"status": 0, "agent": {"running": true, "pid": 4711}, "differences": []}
seconds:
  description: How long the program ran.
  returned: when there is one
  type: float
processor_seconds:
  description: How long it computed, with all that it runs.
  returned: when there is one
  type: float
'''

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.zorvane.kell_agent.plugins.module_utils.program import (
    USUAL_DIRECTORY, Failed, Program, is_installed)

NOT_CONFIGURED = 4

# What a host without the program, or with one that is too old, is told as; the form is that of the document.
UNKNOWN = {
    'status': None,
    'installed': None,
    'server': None,
    'identifier': None,
    'boot': None,
    'agent': {'running': False, 'pid': None},
    'differences': [],
}


def ask(module):
    """The document, and what it took to get it."""
    directory = module.params['directory']
    if not is_installed(directory):
        return dict(UNKNOWN, status=NOT_CONFIGURED), {}
    program = Program(module, directory)
    words = ['-status', '-json'] + (['-connect'] if module.params['connect'] else []) + [directory]
    try:
        return program.document('status', words), program.times()
    except Failed as failed:
        if failed.more.get('too_old'):
            return dict(UNKNOWN), program.times()
        module.fail_json(msg=failed.text, **failed.more)


def main():
    module = AnsibleModule(
        argument_spec=dict(
            directory=dict(type='path', default=USUAL_DIRECTORY),
            connect=dict(type='bool', default=False),
        ),
        supports_check_mode=True,
    )
    document, times = ask(module)
    module.exit_json(changed=False, kell_agent=document, ansible_facts={'kell_agent': document}, **times)


if __name__ == '__main__':
    main()
