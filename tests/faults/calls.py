"""The system calls that a run makes, and the points at which it can be disturbed."""
import collections
import math
import re
import subprocess

TRACE = "/run/faults/point/trace"
Run = collections.namedtuple("Run", "status output errors met", defaults=[0])

# Its calls of a name from the first to the last of these numbers fail with an error, or kill it where that is None. `mode`
# is how: "kill", "once" or "lasting"; `call` is the first of them as strace showed it in an undisturbed run.
Point = collections.namedtuple("Point", "mode name error first last call")

# Calls that have no failure to report, or none that these errors are among.
CANNOT_FAIL = {
    "arch_prctl", "brk", "execve", "exit_group", "geteuid", "getpid", "mmap", "mprotect", "munmap", "prlimit64",
    "rseq", "rt_sigaction", "rt_sigprocmask", "set_robust_list", "set_tid_address", "umask", "uname",
}
CAN_BE_INTERRUPTED = {"wait4"}  # and fails in no other way
IN_A_ROW = 5  # interruptions: a run that tries again for ever is right to do so


def run(command):
    """Runs a command to its end."""
    done = subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, check=False)
    return Run(done.returncode, done.stdout.decode(errors="replace"), done.stderr.decode(errors="replace"))


def traced(command, *strace):
    """Runs a command and returns what came of it, and its calls, line by line, as strace shows them."""
    done = run(["strace", "-qq", "-o", TRACE, *strace, *command])
    with open(TRACE, errors="replace") as trace:
        return done, trace.read().splitlines()


def name_of(call):
    match = re.match(r"(\w+)\(", call)
    return match and match.group(1)


def numbered(trace):
    """Each call with its name and its number among those of its name."""
    count = collections.Counter()
    for call in trace:
        name = name_of(call)
        if name:
            count[name] += 1
            yield name, count[name], call


def most_of_a_process(trace):
    """Of a trace with the process in front of each call: for each name, the calls of the process that makes it most often."""
    of_names = {}
    for line in trace:
        process, _, call = line.partition(" ")
        name = name_of(call.strip())
        if name:
            of_names.setdefault(name, {}).setdefault(process, []).append(call.strip())
    return [call for of_process in of_names.values() for call in max(of_process.values(), key=len)]


def points(trace, kind):
    """Killed as it enters each call; or each call that can fail fails alone, and with those of its name that follow."""
    for name, number, call in numbered(trace):
        if kind == "kill" and name != "execve":
            yield Point("kill", name, None, number, number, call)
        elif kind != "kill" and name not in CANNOT_FAIL and (kind == "EINTR" or name not in CAN_BE_INTERRUPTED):
            yield Point("once", name, kind, number, number, call)
            yield Point("lasting", name, kind, number, number + IN_A_ROW - 1 if kind == "EINTR" else math.inf, call)
