"""Runs of the program: undisturbed ones, whose time is taken, and ones that are killed at some moment of that time."""
import collections
import os
import signal
import subprocess
import time

Run = collections.namedtuple("Run", "status output errors")


class Program:
    """The program under test, and how long its commands take on this machine now."""

    def __init__(self, path):
        self.path = path
        self.took = {}  # seconds of the last undisturbed run, by the kind of command
        self.killed = self.ended = 0

    def call(self, kind, arguments, environment, answers=""):
        process, began = self.start(arguments, environment), time.monotonic()
        output, errors = process.communicate(answers)
        self.took[kind] = time.monotonic() - began
        return Run(process.returncode, output, errors)

    def call_and_kill(self, kind, moment, arguments, environment, answers=""):
        """Kills it after `moment` times the time that such a command took. A run may have come to its end by then."""
        process, began = self.start(arguments, environment), time.monotonic()
        process.stdin.write(answers)
        process.stdin.close()
        process.stdin = None
        time.sleep(max(0, began + moment * self.took[kind] - time.monotonic()))
        process.kill()
        output, errors = process.communicate()
        await_the_end_of_group(process.pid)
        if process.returncode == -signal.SIGKILL:
            self.killed += 1
        else:
            self.ended += 1
        return Run(process.returncode, output, errors)

    def start(self, arguments, environment):
        settings = {"PATH": os.environ["PATH"], "HOME": os.environ["HOME"], "LANG": "C.UTF-8", **environment}
        return subprocess.Popen([self.path, *arguments], cwd="/", env=settings, stdin=subprocess.PIPE,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True,
                                encoding="utf-8", errors="surrogateescape")


def await_the_end_of_group(group):
    """A tool that a killed run has started may still be at work."""
    for _ in range(1000):
        try:
            os.killpg(group, 0)
        except ProcessLookupError:
            return
        time.sleep(0.01)
    raise RuntimeError("a tool of a killed run does not end")
