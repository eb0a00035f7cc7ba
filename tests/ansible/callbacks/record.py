# Records the result of each task on each host as one line of JSON, in the file that the variable RECORD names.
from __future__ import annotations

import json
import os
import time

from ansible.plugins.callback import CallbackBase

DOCUMENTATION = r'''
name: record
type: notification
short_description: Record results
description: Each result of each host, with when the task began there and when it ended.
'''


class CallbackModule(CallbackBase):
    CALLBACK_VERSION = 2.0
    CALLBACK_TYPE = 'notification'
    CALLBACK_NAME = 'record'
    CALLBACK_NEEDS_ENABLED = True

    def __init__(self):
        super().__init__()
        self._began = {}
        self._record = open(os.environ['RECORD'], 'a', encoding='utf-8')

    def _write(self, **row):
        json.dump(row, self._record, default=str)
        self._record.write('\n')
        self._record.flush()

    def v2_runner_on_start(self, host, task):
        self._began[host.name, task._uuid] = time.time()

    def _result(self, kind, result, **more):
        ended = time.time()
        began = self._began.get((result._host.name, result._task._uuid), ended)
        self._write(kind=kind, host=result._host.name, task=result._task.get_name(), action=result._task.action,
                    seconds=ended - began, result=result._result, **more)

    def v2_runner_on_ok(self, result):
        self._result('ok', result)

    def v2_runner_on_failed(self, result, ignore_errors=False):
        self._result('failed', result, ignored=ignore_errors)

    def v2_runner_on_unreachable(self, result):
        self._result('unreachable', result)

    def v2_runner_on_skipped(self, result):
        self._result('skipped', result)

    def v2_playbook_on_stats(self, stats):
        for host in stats.processed:
            self._write(kind='recap', host=host, result=stats.summarize(host))
