"""A fresh copy of the prepared machine for each point, and what stands on it."""
import collections
import ctypes
import functools
import hashlib
import os
import pickle
import shutil
import signal
import stat
import subprocess
import traceback

LARGE_TREES = ("/etc", "/usr", "/var")
SMALL = ("/opt", "/tmp", "/var/tmp")
OTHER_DISK = "/opt/elsewhere"  # if something is mounted there
RUN = "/run"
POINT = "/run/faults/point"
SECONDS = 60  # that a point may take

Seen = collections.namedtuple("Seen", "mode user group content")
LARGE = 256 * 1024  # the content of a file beyond that is told by size and time

libc = ctypes.CDLL(None, use_errno=True)
CLONE_NEWNS = 0x00020000
MS_BIND = 0x1000
MS_REC = 0x4000
PR_SET_CHILD_SUBREAPER = 36


def check(status):
    if status != 0:
        error = ctypes.get_errno()
        raise OSError(error, os.strerror(error))


def mount(kind, target, options=""):
    check(libc.mount(kind.encode(), target.encode(), kind.encode(), 0, options.encode()))


def bind(source, target):
    check(libc.mount(source.encode(), target.encode(), None, MS_BIND | MS_REC, None))


def is_everyone_mapped():
    return open("/proc/self/uid_map").read().split()[2] == "4294967295"


def enter_namespace():
    """What this process mounts goes with it, and it has room at POINT."""
    check(libc.unshare(CLONE_NEWNS))
    mount("tmpfs", POINT)


def cover(tree, lower):
    """Puts a copy over a directory, of which `lower` is an open descriptor; what changes goes below POINT."""
    upper, work = (f"{POINT}/{kind}/{tree.replace('/', '-')}" for kind in ("changes", "work"))
    os.makedirs(upper)
    os.makedirs(work)
    shutil.copymode(tree, upper)
    options = f"lowerdir=/proc/self/fd/{lower},upperdir={upper},workdir={work}"
    mount("overlay", tree, options + ("" if is_everyone_mapped() else ",userxattr"))


def copy_of(source, tree):
    """A plain copy of a directory, to put over a tree: what is in it can be renamed as on a disk."""
    copy = f"{POINT}/changes/{tree.replace('/', '-')}"
    os.makedirs(copy)
    subprocess.run(["cp", "-a", "-x", "--", f"{source}/.", copy], check=True)
    shutil.copystat(source, copy)
    return copy


def plain_copies():
    """The small directories, each with a copy to put over it; another disk stays one."""
    trees = SMALL + ((OTHER_DISK,) if os.path.ismount(OTHER_DISK) else ())
    return [(tree, copy_of(tree, tree)) for tree in trees]


def cover_run():
    """Puts a copy over /run, where the lock of a run is; POINT, which lies there, stays what it is."""
    point, lower = (os.open(path, os.O_PATH | os.O_DIRECTORY) for path in (POINT, RUN))
    cover(RUN, lower)
    bind(f"/proc/self/fd/{point}", POINT)
    os.close(point)
    os.close(lower)


def enter_copy():
    """Puts this process on a copy of its own, which goes with it."""
    here = os.getcwd()
    enter_namespace()
    copies = plain_copies()
    for tree in LARGE_TREES:
        lower = os.open(tree, os.O_PATH | os.O_DIRECTORY)
        cover(tree, lower)
        os.close(lower)
    for tree, copy in copies:
        bind(copy, tree)
    cover_run()
    os.chdir(here)


def end_of_all_children():
    """Waits for what a killed run left behind as well."""
    try:
        while True:
            os.wait()
    except ChildProcessError:
        pass


def on_a_copy(work, enter=enter_copy):
    """What `work` returns in a process of its own on a copy of the machine."""
    reading, writing = os.pipe()
    child = os.fork()
    if child == 0:
        os.close(reading)
        try:
            signal.alarm(SECONDS)
            libc.prctl(PR_SET_CHILD_SUBREAPER, 1)
            enter()
            result = work()
        except BaseException:
            result = RuntimeError(traceback.format_exc())
        with os.fdopen(writing, "wb") as pipe:
            pickle.dump(result, pipe)
        os._exit(0)
    os.close(writing)
    with os.fdopen(reading, "rb") as pipe:
        told = pipe.read()
    _, status = os.waitpid(child, 0)
    if not told:
        raise RuntimeError(f"a point ended with {status}, after {SECONDS} seconds if that is {signal.SIGALRM}")
    result = pickle.loads(told)
    if isinstance(result, RuntimeError):
        raise result
    return result


def look_at(path):
    """Kind, mode, owner and content of what a path names; None for nothing."""
    try:
        info = os.lstat(path)
    except (FileNotFoundError, NotADirectoryError):
        return None
    kind = stat.S_IFMT(info.st_mode)
    content = ""
    if kind == stat.S_IFLNK:
        content = os.readlink(path)
    elif kind == stat.S_IFREG and info.st_size > LARGE:
        content = f"{info.st_size} {info.st_mtime_ns}"
    elif kind == stat.S_IFREG:
        with open(path, "rb") as file:
            content = hashlib.sha1(file.read()).hexdigest()
    return Seen(stat.filemode(info.st_mode), info.st_uid, info.st_gid, content)


def paths_below(top):
    for directory, directories, files in os.walk(top):
        for name in directories + files:
            yield os.path.join(directory, name)


def tree():
    """What stands on this copy, by path; of the large trees only what may have changed."""
    paths = {path for directory in SMALL for path in paths_below(directory)}
    for overlaid in LARGE_TREES + (RUN,):
        upper = f"{POINT}/changes/{overlaid.replace('/', '-')}"
        paths.update(overlaid + path[len(upper):] for path in paths_below(upper))
    return {path: look_at(path) for path in paths}


def digest(seen):
    """Tells one tree from another."""
    return hashlib.sha1(repr(sorted(seen.items())).encode()).digest()


@functools.cache
def before(path):
    """What stood there on the machine that every copy begins with."""
    return look_at(path)


def value_in(seen, path):
    """What a tree has at a path; of the large ones it tells only of what may have changed."""
    if path in seen or path.startswith(SMALL):
        return seen.get(path)
    return before(path)


def laid_down():
    """All that stands in the small directories of the machine that every copy begins with."""
    return {path: before(path) for directory in SMALL for path in paths_below(directory)}
