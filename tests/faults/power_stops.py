"""A run that stands still after each call by which it changes what is on a disk."""
import os
import re
import signal
import subprocess
import tempfile

CALLS = "rename,renameat,renameat2,link,linkat,unlink,unlinkat,rmdir,fsync,fdatasync,sync,syncfs"
LINE = re.compile(r"(\d+) +(.*)")
STOPPED = "--- stopped by SIGSTOP ---"


def run(command, at_stop):
    """Runs a command and calls `at_stop` after each of those calls that has succeeded, its children's too, with the
    call as strace shows it. Returns the command's status and standard error."""
    reading, writing = os.pipe()
    options = ["-f", "-qq", "-y", "-o", f"/dev/fd/{writing}", "-e", f"trace={CALLS}",
               "-e", f"inject={CALLS}:signal=SIGSTOP"]  # which takes effect behind the call
    with tempfile.TemporaryFile(dir="/run") as errors:
        traced = subprocess.Popen(["strace", *options, *command], pass_fds=[writing], stdin=subprocess.DEVNULL,
                                  stdout=subprocess.DEVNULL, stderr=errors)
        os.close(writing)
        with os.fdopen(reading, errors="replace") as trace:
            follow(trace, at_stop)
        status = traced.wait()
        errors.seek(0)
        return status, errors.read().decode(errors="replace")


def follow(trace, at_stop):
    calls = {}
    for line in trace:
        process, told = LINE.match(line).groups()
        if told == STOPPED:
            call = calls.pop(process)
            if " = -1 " not in call:
                at_stop(call)
            os.kill(int(process), signal.SIGCONT)
        elif not told.startswith(("---", "+++")):
            calls[process] = told
