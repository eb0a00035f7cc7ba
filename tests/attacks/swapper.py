"""A hostile user who exchanges directories of his for links while root's commands run: swapper.py UID OUT ERR.

Each line of standard input is a round, whose fields stand between tabs: a pace, the places, and a command with its
arguments. For each place there is PLACE.link, and the user UID exchanges the two names, without a pause where the pace
is 0 and otherwise after up to so many microseconds. The command begins when he has exchanged every place once; what it
writes goes to OUT and ERR. The answer is a line of its status, of how many exchanges there were while it ran, and of how
many microseconds that took. Whatever else happens is an error, with which this ends.
"""
import ctypes
import errno
import mmap
import os
import random
import signal
import struct
import subprocess
import sys
import time

AT_FDCWD = -100
RENAME_EXCHANGE = 2
PR_SET_PDEATHSIG = 1
SECONDS = 60  # for a command, and many times what one takes

libc = ctypes.CDLL(None, use_errno=True)


class Lost(Exception):
    """The place is no longer the user's to exchange: the command has taken it, or what it is in, away from him."""


def exchange(place, target):
    """Exchanges the two names. What the command has removed of them the user makes again."""
    link = place + b".link"
    while libc.renameat2(AT_FDCWD, place, AT_FDCWD, link, RENAME_EXCHANGE) != 0:
        error = ctypes.get_errno()
        if error == errno.ENOENT:
            make_again(place, link, target)
        elif error in (errno.EACCES, errno.EPERM) and not owns_directory_of(place):
            raise Lost
        else:
            raise OSError(error, os.strerror(error), os.fsdecode(place))


def make_again(one, other, target):
    """Makes what is missing: a directory beside a link, a link beside a directory, nothing beside a file."""
    try:
        for name, present in ((one, other), (other, one)):
            if os.path.lexists(name):
                continue
            if os.path.isfile(present) and not os.path.islink(present):
                raise Lost
            if os.path.islink(present):
                os.mkdir(name, 0o755)
            else:
                os.symlink(target, name)
    except (FileNotFoundError, PermissionError):
        raise Lost from None  # there is nothing that it could be made in
    except FileExistsError:
        pass  # the command has made it meanwhile


def owns_directory_of(place):
    try:
        status = os.stat(os.path.dirname(place))
        return status.st_uid == os.getuid() or status.st_mode & 0o002
    except OSError:
        return False


class Counter:
    """Numbers that the user counts up and root reads; and whether he is to end."""

    def __init__(self, places):
        self.memory = mmap.mmap(-1, mmap.PAGESIZE)
        self.places = places

    def add(self, index, number):
        struct.pack_into("Q", self.memory, 8 * index, number)

    def all(self):
        return struct.unpack_from(f"{self.places}Q", self.memory)

    def tell_to_end(self):
        self.memory[-1] = 1

    def is_to_end(self):
        return self.memory[-1]


def attack(uid, pace, places, counter):
    """What the hostile user does until he is told to end. Never returns."""
    status = 1
    try:
        libc.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)
        if uid != os.getuid():
            os.setgroups([])
            os.setresgid(uid, uid, uid)
            os.setresuid(uid, uid, uid)
        targets = [os.readlink(place + b".link") if os.path.islink(place + b".link") else b"" for place in places]
        counts = dict.fromkeys(range(len(places)), 0)
        while counts and not counter.is_to_end():
            for index in list(counts):
                try:
                    exchange(places[index], targets[index])
                except Lost:
                    if not counts.pop(index):
                        raise RuntimeError(f"{places[index]} was never his") from None
                    continue
                counts[index] += 1
                counter.add(index, counts[index])
            if pace:
                time.sleep(random.random() * pace / 1e6)
        status = 0
    except BaseException as error:
        print(f"swapper: {error!r}", file=sys.stderr, flush=True)
    finally:
        os._exit(status)


def wait_until_each_was_exchanged(child, counter):
    limit = time.monotonic() + SECONDS
    while not all(counter.all()):
        if os.waitpid(child, os.WNOHANG) != (0, 0):
            sys.exit("swapper: it ended before it had exchanged every place")
        if time.monotonic() > limit:
            sys.exit(f"swapper: the exchanges so far are {counter.all()}")
        time.sleep(0.0002)


def run(command, out, err):
    """The command's status as a shell tells it."""
    with open(out, "wb") as output, open(err, "wb") as errors:
        process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=errors)
        try:
            status = process.wait(SECONDS)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
            return 124
    return status if status >= 0 else 128 - status


def play(uid, out, err, pace, places, command):
    counter = Counter(len(places))
    child = os.fork()
    if child == 0:
        attack(uid, pace, places, counter)
    wait_until_each_was_exchanged(child, counter)
    before, began = sum(counter.all()), time.monotonic()
    status = run(command, out, err)
    exchanges, took = sum(counter.all()) - before, time.monotonic() - began
    counter.tell_to_end()
    if os.waitpid(child, 0)[1] != 0:
        sys.exit("swapper: an exchange failed")
    return status, exchanges, int(took * 1e6)


def main():
    uid, out, err = int(sys.argv[1]), sys.argv[2], sys.argv[3]
    for line in sys.stdin:
        pace, places, *command = line.rstrip("\n").split("\t")
        print(*play(uid, out, err, int(pace), [os.fsencode(place) for place in places.split()], command), flush=True)


if __name__ == "__main__":
    main()
