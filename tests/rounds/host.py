"""Everything on the host that is not the agent's: names, kinds, modes, owners, groups, contents and where links lead."""
import hashlib
import os
import re
import stat
import subprocess

# What a run may make, change and remove. All else is the host's.
AGENTS = re.compile(r"/etc/init\.d/zorvane|/etc/rc[0-6]\.d/[SK]\d\dzorvane|/usr/bin/qdn-[a-z]+|/run/qdn-configure\.lock|"
                    r"/tmp/\.qdn-agent-install-config\.xml")
# What a killed run may leave behind, and the next one removes.
LEFT_BEHIND = re.compile(r".*/\.(zorvane|qdn-[a-z]+|[SK]\d\dzorvane|client\.conf(\.old)?|host\.GUID|rcscript)\.unfinished|"
                         r"/tmp/\.zorvane-agent-installer\.\w{6}(/.*)?|/tmp/\.\.zorvane-agent-installer\.\w{6}\.unfinished")
# What a run makes before its first change, and while it makes a file, has changed nothing yet.
NOTHING_YET = re.compile(r"/run/qdn-configure\.lock|.*/\.[^/]+\.unfinished|/tmp/\.zorvane-agent-installer\.\w{6}(/.*)?")
COPIED = ("/etc", "/usr", "/var")  # of these, what this machine has written lies in a place of its own
OWN = ("/opt", "/root", "/tmp", "/var/tmp", "/dev/shm", "/run")
PLACES = ("/opt/life/one", "/opt/life/two", "/opt/life/three")
NOT_LOOKED_AT = ("/run/session", "/run/private-machine", "/run/lock", "/run/admin", "/opt/life/filling", *PLACES)
NEIGHBOURS = {
    "/opt/life/neighbour/etc/client.conf": 0o640, "/opt/other/bin/qdn-monitor": 0o755, "/opt/zorvane/other/notes": 0o600,
    "/etc/init.d/zorvane-other": 0o755, "/etc/rc3.d/S99zorvane-other": 0o755, "/etc/zorvane/other.conf": 0o644,
    "/usr/bin/other-qdn-monitor": 0o755, "/usr/lib/systemd/system/other.service": 0o644, "/var/other/queue/one.kse": 0o660,
    "/var/log/qdn-other.log": 0o644, "/root/client.conf": 0o600, "/tmp/notes": 0o666, "/var/tmp/.other.unfinished": 0o644,
}

hashes = {}


def hash_of(path, seen):
    """What has the same inode, size and times has not been written to; no program can set the time of a change."""
    known = (seen.st_dev, seen.st_ino, seen.st_size, seen.st_mtime_ns, seen.st_ctime_ns)
    if known not in hashes:
        with open(path, "rb") as file:
            hashes[known] = hashlib.sha256(file.read()).hexdigest()
    return hashes[known]


def look_at(path):
    """What is shown of it and compared; None where nothing is."""
    try:
        seen = os.lstat(path)
    except (FileNotFoundError, NotADirectoryError):
        return None
    told = f"{stat.filemode(seen.st_mode)} {seen.st_uid}:{seen.st_gid}"
    if stat.S_ISLNK(seen.st_mode):
        return f"{told} -> {os.readlink(path)}"
    if stat.S_ISREG(seen.st_mode):
        return f"{told} {hash_of(path, seen)}"
    return told


def is_root_of_the_machine():
    """False on an ordinary user's private machine, where there is nobody but root."""
    with open("/proc/self/uid_map", encoding="ascii") as file:
        return file.read().split()[2] == "4294967295"


def names_below(top, left_out):
    for directory, directories, files in os.walk(top):
        directories[:] = [name for name in directories if os.path.join(directory, name) not in left_out]
        yield from (os.path.join(directory, name) for name in directories)
        yield from (os.path.join(directory, name) for name in files if os.path.join(directory, name) not in left_out)


class Host:
    def __init__(self, project):
        self.changes = os.environ["PRIVATE_MACHINE_CHANGES"]
        self.left_out = {project, *NOT_LOOKED_AT}
        self.directories = self.all_directories()
        self.before = {}

    @staticmethod
    def all_directories():
        """To compare a directory with, that has been copied because something below it was written."""
        found = subprocess.run(["find", *COPIED, "-xdev", "-type", "d", "-print0"], stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, check=False).stdout
        return {os.fsdecode(path): look_at(os.fsdecode(path)) for path in found.split(b"\0") if path}

    def settle(self):
        """The host has neighbours of the agent, whose names are like those of its files."""
        for path, mode in NEIGHBOURS.items():
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, "w", encoding="utf-8") as file:
                file.write(f"not the agent's: {path}\n")
            os.chmod(path, mode)
            if is_root_of_the_machine():
                os.chown(path, 1234, 4321)
        if not os.path.lexists("/etc/rc5.d/S01other"):
            os.symlink("../init.d/zorvane-other", "/etc/rc5.d/S01other")
        self.before = self.manifest()

    def manifest(self):
        names = set()
        for top in COPIED:
            left_out = {self.changes + path for path in self.left_out}
            names.update(path[len(self.changes):] for path in names_below(self.changes + top, left_out))
        for top in OWN:
            names.update(names_below(top, self.left_out))
        return {path: look_at(path) for path in names if not AGENTS.fullmatch(path) and not LEFT_BEHIND.fullmatch(path)}

    def differences(self):
        """What is not as it was when the host was settled."""
        now = self.manifest()
        for path in sorted(self.before.keys() | now.keys()):
            was = self.before.get(path, self.directories.get(path, "as it was installed"))
            found = now[path] if path in now else look_at(path)
            if was != found:
                yield f"the host's {path} was {was} and is {found}"

    @staticmethod
    def left_behind():
        """What a killed run has left outside of its directories."""
        return [path for path in Host.agents_names() if LEFT_BEHIND.fullmatch(path)]

    @staticmethod
    def agents_names():
        for top in ("/etc/init.d", *(f"/etc/rc{level}.d" for level in range(7)), "/usr/bin", "/tmp", "/run"):
            for name in os.listdir(top):
                path = f"{top}/{name}"
                if AGENTS.fullmatch(path) or LEFT_BEHIND.fullmatch(path):
                    yield path

    @staticmethod
    def agents():
        """What there is of the agent, and of packages that have been laid down: the same after a run that has changed
        nothing."""
        names = [path for top in PLACES for path in names_below(top, ())]
        return {path: look_at(path) for path in (*names, *Host.agents_names()) if not NOTHING_YET.fullmatch(path)}

    @staticmethod
    def clear():
        """Removes what a life may leave of its agent."""
        for path in list(Host.agents_names()):
            os.unlink(path)
