"""The disk that the agents of a life are on: an image with a file system that is full early and can lose its power."""
import filecmp
import os
import shutil
import subprocess

MEGABYTES = 48
# Nothing gets to the disk by chance, nor by care of the file system's.
OPTIONS = "loop,noauto_da_alloc,commit=600,noinit_itable"


class Disk:
    def __init__(self, place, desk):
        self.place = place
        self.image = desk + "/image"
        self.cuts = 0
        self.has_power_to_cut = True

    def insert(self):
        """A new one. Without loop devices it is in memory, and its power is never cut."""
        os.makedirs(self.place, exist_ok=True)
        with open(self.image, "wb") as image:
            image.truncate(MEGABYTES << 20)
        subprocess.run(["mkfs.ext4", "-q", "-F", "-b", "1024", "-m", "0", "-N", "4096", "-J", "size=4", "-E",
                        "lazy_itable_init=0,lazy_journal_init=0", self.image], check=True)
        self.has_power_to_cut = self.mount()
        if not self.has_power_to_cut:
            subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={MEGABYTES}m", "tmpfs", self.place], check=True)
        shutil.rmtree(self.place + "/lost+found", ignore_errors=True)
        self.flush()

    def mount(self):
        return subprocess.run(["mount", "-o", OPTIONS, self.image, self.place], stderr=subprocess.DEVNULL,
                              check=False).returncode == 0

    def remove(self):
        subprocess.run(["umount", "-l", self.place], check=True)

    def flush(self):
        subprocess.run(["sync", "-f", self.place], check=True)

    def cut_the_power(self):
        """What has not got to the disk is gone."""
        then = self.image + ".then"
        shutil.copyfile(self.image, then)
        while not filecmp.cmp(self.image, then, shallow=False):  # something is still being written to it
            shutil.copyfile(self.image, then)
        self.remove()
        os.rename(then, self.image)
        if not self.mount():
            raise RuntimeError("the disk cannot be mounted after a power cut")
        self.cuts += 1

    def fill(self, left):
        """Leaves room for so many bytes."""
        room = shutil.disk_usage(self.place).free - left
        try:
            with open(self.filling(), "wb") as filling:
                for _ in range(room >> 10):
                    filling.write(bytes(1024))
        except OSError:
            pass

    def empty(self):
        os.unlink(self.filling())

    def filling(self):
        return self.place + "/filling"
