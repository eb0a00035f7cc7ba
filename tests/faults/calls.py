"""The run under strace: which system calls it makes, and how one of them is disturbed."""
import collections
import os
import re
import subprocess

TRACE = "/run/faults/point/trace"
Run = collections.namedtuple("Run", "status output errors trace")

# Calls that have no failure to report, or none that these errors are among.
CANNOT_FAIL = {
    "arch_prctl", "brk", "execve", "exit_group", "geteuid", "getpid", "mmap", "mprotect", "munmap", "prlimit64",
    "rseq", "rt_sigaction", "rt_sigprocmask", "set_robust_list", "set_tid_address", "umask", "uname",
}
CAN_BE_INTERRUPTED = {"wait4"}  # and fails in no other way
IN_A_ROW = 5  # interruptions: a run that tries again for ever is right to do so


def run(command, strace=()):
    """Runs a command to its end, disturbed as strace is told."""
    traced = ["strace", "-qq", "-o", TRACE, *strace] if strace else []
    done = subprocess.run([*traced, *command], stdin=subprocess.DEVNULL, capture_output=True, check=False)
    trace = open(TRACE, errors="replace").read().splitlines() if strace else []
    return Run(done.returncode, done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace"), trace)


def names_of(trace):
    """The calls of a trace, one after the other."""
    return [match.group(1) for match in (re.match(r"(\w+)\(", line) for line in trace) if match]


def numbered(names):
    """Each call's name with its number among those of its name, which is how strace counts."""
    count = collections.Counter()
    for name in names:
        count[name] += 1
        yield name, count[name]


def points(names, kind):
    """Killed as it enters each call; or each call that can fail fails alone, and with those of its name that follow."""
    for name, number in numbered(names):
        if kind == "kill" and name != "execve":
            yield "kill", name, f"signal=SIGKILL:when={number}"
        elif kind != "kill" and name not in CANNOT_FAIL and (kind == "EINTR" or name not in CAN_BE_INTERRUPTED):
            last = number + IN_A_ROW - 1 if kind == "EINTR" else ""
            yield "once", name, f"error={kind}:when={number}"
            yield "lasting", name, f"error={kind}:when={number}" + (f"..{last}" if last else "+")


def options(point):
    _, name, how = point
    return ["-e", f"trace={name}", "-e", f"inject={name}:{how}"]
