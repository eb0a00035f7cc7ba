"""A run of which a system call fails, or kills its process. The kernel stops the run's processes at the calls of that name
alone (a filter of system calls, and ptrace), on x86-64."""
import collections
import ctypes
import errno
import os
import signal
import threading

import calls

ALLOW, TRACE = 0x7FFF0000, 0x7FF00000  # what a filter does with a call
ACT_BADARCH, CTL_NNP = 2, 3  # attributes of a filter
TRACEME, POKEUSER, CONT, SETOPTIONS = 0, 6, 7, 0x4200
FOLLOW = 0x2 | 0x4 | 0x8 | 0x10  # options: children that are forked, by vfork and by clone, and what they become
STOP_WHERE_FILTERED, END_WITH_US = 0x80, 0x100000  # options
FILTERED = 7  # an event
CALL, RESULT = 15 * 8, 10 * 8  # registers, by their offset
EVERY_CHILD = 0x40000000  # __WALL

libc = ctypes.CDLL(None, use_errno=True)
libc.ptrace.argtypes = [ctypes.c_long] * 4
libc.ptrace.restype = ctypes.c_long
libseccomp = ctypes.CDLL("libseccomp.so.2")
libseccomp.seccomp_init.restype = ctypes.c_void_p


def run(command, point, whose="first"):
    """Runs a command to the end of all its processes, disturbed at a point: in its first process ("first"), in all that are
    processes of the same program ("own"), or in every process ("all")."""
    asks = filter_of(point.name)
    streams = [Stream(), Stream()]
    first = os.fork()
    if first == 0:
        become(command, asks, [stream.writing for stream in streams])
    for stream in streams:
        stream.begin()
    disturbance = Disturbance(first, os.stat(command[0]), point, whose)
    status = disturbance.follow()
    output, errors = (stream.text() for stream in streams)
    return calls.Run(status, output, errors, disturbance.met)


def filter_of(name):
    """One that stops at the calls of a name. It stays for as long as we do."""
    made = ctypes.c_void_p(libseccomp.seccomp_init(ALLOW))
    number = libseccomp.seccomp_syscall_resolve_name(name.encode())
    failed = (libseccomp.seccomp_attr_set(made, ACT_BADARCH, ALLOW) or libseccomp.seccomp_attr_set(made, CTL_NNP, 0) or
              libseccomp.seccomp_rule_add(made, TRACE, number, 0))
    if failed:
        raise OSError(-failed, f"no filter for {name}")
    return made


def become(command, asks, streams):
    """Makes of this process the command, followed by its parent."""
    try:
        for number, stream in enumerate([os.open("/dev/null", os.O_RDONLY), *streams]):
            os.dup2(stream, number)
        for ignored in (signal.SIGPIPE, signal.SIGXFSZ):  # by Python
            signal.signal(ignored, signal.SIG_DFL)
        libc.ptrace(TRACEME, 0, 0, 0)
        os.kill(os.getpid(), signal.SIGSTOP)
        if libseccomp.seccomp_load(asks) == 0:
            os.execv(command[0], command)
    finally:
        os._exit(127)


class Stream:
    """A pipe, and all that comes through it."""

    def __init__(self):
        self.reading, self.writing = os.pipe()
        self.thread = threading.Thread(target=self.read)
        self.bytes = b""

    def begin(self):
        os.close(self.writing)
        self.thread.start()

    def read(self):
        with os.fdopen(self.reading, "rb") as pipe:
            self.bytes = pipe.read()

    def text(self):
        self.thread.join()
        return self.bytes.decode(errors="replace")


class Disturbance:
    """Follows processes; `met` counts the calls that were disturbed."""

    def __init__(self, first, program, point, whose):
        self.first = first
        self.program = program
        self.point = point
        self.whose = whose
        self.has_begun = False
        self.known = set()
        self.count = collections.Counter()
        self.met = 0

    def follow(self):
        """Returns how the first process ended, when none is left."""
        ended = None
        while True:
            try:
                process, status = os.waitpid(-1, EVERY_CHILD)
            except ChildProcessError:
                return ended
            if os.WIFSTOPPED(status):
                self.go_on(process, os.WSTOPSIG(status), status >> 16)
                continue
            self.known.discard(process)
            if process == self.first:
                ended = os.waitstatus_to_exitcode(status)

    def go_on(self, process, stopped_by, event):
        if process not in self.known and not event:
            self.known.add(process)  # it begins
            stopped_by = 0
            libc.ptrace(SETOPTIONS, process, 0, FOLLOW | STOP_WHERE_FILTERED | END_WITH_US)
        if event == FILTERED and self.is_disturbed(process):
            self.disturb(process)
        libc.ptrace(CONT, process, 0, 0 if event else stopped_by)

    def disturb(self, process):
        self.met += 1
        if self.point.error is None:
            os.kill(process, signal.SIGKILL)
        else:
            libc.ptrace(POKEUSER, process, CALL, -1)  # none
            libc.ptrace(POKEUSER, process, RESULT, -getattr(errno, self.point.error))

    def is_disturbed(self, process):
        """Each process's calls are counted by themselves."""
        if not self.is_meant(process):
            return False
        self.count[process] += 1
        return self.point.first <= self.count[process] <= self.point.last

    def is_meant(self, process):
        is_first = process == self.first
        if is_first and not self.has_begun:
            self.has_begun = self.is_of_program(process)  # what it calls before is ours
        if is_first or self.whose == "first":
            return is_first and self.has_begun
        return self.whose == "all" or self.is_of_program(process)

    def is_of_program(self, process):
        try:
            return os.path.samestat(os.stat(f"/proc/{process}/exe"), self.program)
        except OSError:
            return False  # it has just ended
