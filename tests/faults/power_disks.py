"""Disks of ext4 in files, and what they hold block by block: after a power cut there is that and nothing else."""
import contextlib
import os
import subprocess

import machine

# What lies on which disk. The host has /opt on a disk of its own, so that nothing keeps the order between both.
TREES = {"system": ("/etc",), "agent": ("/opt", "/tmp", "/var/tmp"), "elsewhere": ("/opt/elsewhere",)}
PROGRAMS = "/usr/bin"  # is large: what changes in it is on the system's disk
FIRST = "/run/faults/disks"  # the disks as every run begins with them
MEGABYTE = 1024 * 1024
CHUNK = MEGABYTE // 16

# Nothing is written by chance, nor by care of the file system's: it has none for who renames what was not flushed.
OPTIONS = "loop,noauto_da_alloc,commit=600,noinit_itable"


def command(*words):
    done = subprocess.run(words, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(words)}: {done.stderr.strip()}")
    return done.stdout


def names():
    return [name for name, trees in TREES.items() if os.path.isdir(trees[0])]


def image_of(name):
    return f"{machine.POINT}/{name}.image"


def on_disk(name, tree):
    return f"{machine.POINT}/{name}{tree}"


def prepare():
    """Makes the disks of the machine as it stands; returns their images."""
    machine.on_a_copy(make_and_fill, enter=machine.enter_namespace)
    images = {name: open(f"{FIRST}/{name}", "rb").read() for name in names()}
    first = machine.on_a_copy(stamped_tree, enter=lambda: attach(images))
    AT_FIRST.update((path, stamped) for path, stamped in first.items() if path.startswith("/etc/"))
    return images


def make_and_fill():
    os.makedirs(FIRST, exist_ok=True)
    for name in names():
        used = sum(int(command("du", "-xsk", tree).split()[0]) for tree in TREES[name])
        command("truncate", "-s", f"{used // 600 + 10}M", image_of(name))
        command("mkfs.ext4", "-q", "-F", "-b", "1024", "-m", "0", "-J", "size=4", "-N", "8192",
                "-E", "lazy_itable_init=0,lazy_journal_init=0", image_of(name))
        mount_disk(name)
        for tree in TREES[name]:
            os.makedirs(on_disk(name, tree))
            command("cp", "-ax", f"{tree}/.", on_disk(name, tree))
    leave_out_what_is_on_another_disk()
    for directory in ("programs", "work"):
        os.makedirs(f"{machine.POINT}/system/{directory}")
    for name in names():
        open(pulse_of(name), "w").close()
        command("umount", f"{machine.POINT}/{name}")
        command("mv", image_of(name), f"{FIRST}/{name}")


def leave_out_what_is_on_another_disk():
    if "elsewhere" in names():
        command("find", on_disk("agent", "/opt/elsewhere"), "-mindepth", "1", "-delete")


def mount_disk(name):
    directory = f"{machine.POINT}/{name}"
    os.makedirs(directory, exist_ok=True)
    command("mount", "-o", OPTIONS, image_of(name), directory)


def write_image(name, content):
    with open(image_of(name), "wb", buffering=0) as file:
        file.truncate(len(content))
        for offset in range(0, len(content), CHUNK):
            chunk = content[offset:offset + CHUNK]
            if chunk.count(0) != len(chunk):
                os.pwrite(file.fileno(), chunk, offset)


def attach(images):
    """Puts this process on a machine with such disks."""
    here = os.getcwd()
    machine.enter_namespace()
    for name, content in images.items():
        write_image(name, content)
        mount_disk(name)
        for tree in TREES[name]:
            machine.bind(on_disk(name, tree), tree)
    upper, work = (f"{machine.POINT}/system/{directory}" for directory in ("programs", "work"))
    machine.mount("overlay", PROGRAMS, f"lowerdir={PROGRAMS},upperdir={upper},workdir={work}")
    machine.cover_run()
    with contextlib.suppress(FileNotFoundError):  # the project may be below /tmp
        os.chdir(here)


def tree():
    """What stands on the disks, by path; what stood there at first and no longer does, as nothing."""
    return {path: seen for path, (_, seen) in stamped_tree().items()}


def stamped_tree():
    programs = f"{machine.POINT}/system/programs"
    paths = {PROGRAMS + path[len(programs):] for path in machine.paths_below(programs)}
    for trees in TREES.values():
        for directory in trees:
            paths.update(machine.paths_below(directory))
    return {path: look_at(path) for path in paths | AT_FIRST.keys()}


AT_FIRST = {}  # what stood in /etc, by path: a stamp that changes with the file, and what was seen of it


def look_at(path):
    stamp = stamp_of(path)
    known, seen = AT_FIRST.get(path, (None, None))
    return stamp, seen if stamp and stamp == known else machine.look_at(path)


def stamp_of(path):
    try:
        info = os.lstat(path)
    except (FileNotFoundError, NotADirectoryError):
        return None
    return info.st_ino, info.st_ctime_ns, info.st_size


def pulse_of(name):
    return f"{machine.POINT}/{name}/pulse"


def commit(name):
    """Lets a disk have every change of names so far, but of no file the content: that is what happens when somebody
    else flushes something, or when some seconds pass."""
    file = os.open(pulse_of(name), os.O_WRONLY)
    os.utime(file)
    os.fsync(file)
    os.close(file)


class Recording:
    """What the disks held at one time after another, as what has changed since the one before."""

    def __init__(self, images):
        self.images = {name: bytearray(image) for name, image in images.items()}
        self.changes = []

    def take(self):
        self.changes.append({name: list(self.changed(name)) for name in self.images})

    def changed(self, name):
        image = self.images[name]
        with open(image_of(name), "rb", buffering=0) as file:
            for offset in range(0, len(image), CHUNK):
                chunk = file.read(CHUNK)
                if chunk != image[offset:offset + CHUNK]:
                    image[offset:offset + CHUNK] = chunk
                    yield offset, chunk


def replay(images, changes):
    """The images at each of the times that were recorded."""
    images = {name: bytearray(image) for name, image in images.items()}
    for change in changes:
        for name, chunks in change.items():
            for offset, chunk in chunks:
                images[name][offset:offset + len(chunk)] = chunk
        yield images
