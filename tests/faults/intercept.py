"""A run of which a system call fails, or kills its process: a filter in the kernel asks us about the calls of one name, and
lets all others be."""
import collections
import ctypes
import errno
import os
import select
import signal
import subprocess
import threading

import calls

ALLOW = 0x7FFF0000
NOTIFY = 0x7FC00000
ACT_BADARCH, CTL_NNP = 2, 3  # attributes of a filter
GO_ON = 1  # a flag: the kernel makes the call
PIDFD_GETFD = 438

libc = ctypes.CDLL(None, use_errno=True)
libseccomp = ctypes.CDLL("libseccomp.so.2")
libseccomp.seccomp_init.restype = ctypes.c_void_p


class Question(ctypes.Structure):
    """The kernel's struct seccomp_notif."""
    _fields_ = [("id", ctypes.c_uint64), ("process", ctypes.c_uint32), ("flags", ctypes.c_uint32),
                ("call", ctypes.c_int32), ("architecture", ctypes.c_uint32), ("instruction", ctypes.c_uint64),
                ("arguments", ctypes.c_uint64 * 6)]


class Answer(ctypes.Structure):
    """The kernel's struct seccomp_notif_resp."""
    _fields_ = [("id", ctypes.c_uint64), ("value", ctypes.c_int64), ("error", ctypes.c_int32), ("flags", ctypes.c_uint32)]


def run(command, point, whose="first"):
    """Runs a command to its end, disturbed at a point: in its first process ("first"), in all that are processes of the same
    program ("own"), or in every process ("all")."""
    asks = filter_of(point.name)
    from_child, to_us = os.pipe()
    from_us, to_child = os.pipe()

    def install():
        number = os.dup(from_us)  # the lowest that is free, which the filter gets
        os.close(number)
        os.write(to_us, f"{os.getpid()} {number}".encode())
        libseccomp.seccomp_load(asks)
        os.read(from_us, 1)

    def answer():
        answers.first, number = map(int, os.read(from_child, 64).split())
        questions = taken_from(answers.first, number)
        os.write(to_child, b"!")
        answers.give(questions)
        os.close(questions)

    answers = Answers(os.stat(command[0]), point, whose)
    thread = threading.Thread(target=answer)
    thread.start()
    with subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          preexec_fn=install) as running:
        output, errors = running.communicate()
    thread.join()
    for descriptor in (from_child, to_us, from_us, to_child):
        os.close(descriptor)
    return calls.Run(running.returncode, output.decode(errors="replace"), errors.decode(errors="replace"), answers.met)


def filter_of(name):
    """One that asks about the calls of a name. It stays for as long as we do."""
    made = ctypes.c_void_p(libseccomp.seccomp_init(ALLOW))
    number = libseccomp.seccomp_syscall_resolve_name(name.encode())
    failed = (libseccomp.seccomp_attr_set(made, ACT_BADARCH, ALLOW) or libseccomp.seccomp_attr_set(made, CTL_NNP, 0) or
              libseccomp.seccomp_rule_add(made, NOTIFY, number, 0))
    if failed:
        raise OSError(-failed, f"no filter for {name}")
    return made


def taken_from(process, number):
    """A copy of the descriptor of that number of a process, as soon as it has one. It may be unable to tell of it: its
    calls wait for our answers."""
    of_process = os.pidfd_open(process)
    try:
        while True:
            taken = libc.syscall(PIDFD_GETFD, of_process, number, 0)
            if taken >= 0:
                return taken
            if ctypes.get_errno() != errno.EBADF:
                raise OSError(ctypes.get_errno(), "pidfd_getfd")
    finally:
        os.close(of_process)


class Answers:
    """What becomes of each call; `met` counts those that were disturbed."""

    def __init__(self, program, point, whose):
        self.program = program
        self.point = point
        self.whose = whose
        self.first = None
        self.has_begun = False
        self.count = collections.Counter()
        self.met = 0

    def give(self, questions):
        """Answers until none is left who could ask."""
        poll = select.poll()
        poll.register(questions, select.POLLIN)
        while not any(event & select.POLLHUP for _, event in poll.poll()):
            question = Question()
            if libseccomp.seccomp_notify_receive(questions, ctypes.byref(question)) != 0:
                continue  # who asked has been killed
            answer = self.to(question)
            if answer:
                libseccomp.seccomp_notify_respond(questions, ctypes.byref(answer))

    def to(self, question):
        if not self.is_disturbed(question.process):
            return Answer(question.id, 0, 0, GO_ON)
        self.met += 1
        if self.point.error is None:
            os.kill(question.process, signal.SIGKILL)
            return None
        return Answer(question.id, 0, -getattr(errno, self.point.error), 0)

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
