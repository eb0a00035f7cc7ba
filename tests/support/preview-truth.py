#!/usr/bin/env python3
"""Compares what a preview says with what the run then does.

  preview-truth.py snapshot FILE          notes what is on this machine
  preview-truth.py same BEFORE AFTER      both are the same: times and inodes, mounts, processes and their sockets
  preview-truth.py predict BEFORE DOCUMENT AFTER
                                          the document of a preview, applied to BEFORE, gives AFTER

Prints each difference; ends 0 when there is none.
"""
import hashlib
import json
import os
import pickle
import re
import stat
import sys

PLACES = ("/etc", "/opt", "/tmp", "/root", "/run", "/usr/bin", "/usr/sbin", "/usr/local", "/var/lib", "/var/log",
          "/var/tmp")
# The test's own notes, the project, and what a host's other users write meanwhile.
LEFT_OUT = ("/run/session", "/run/private-machine", "/run/lock", "/run/qdn-configure.lock", "/var/lib/apt",
            "/var/lib/dpkg", "/var/lib/postgresql",
            os.path.realpath(os.path.join(os.path.dirname(__file__), "../..")))
LONGEST = 1 << 18
# Of what the host itself has there, nothing but the stamp is noted: it tells of any change.
LARGE = ("/usr/", "/var/lib/")


def began():
    """When this machine came into being, in seconds since the epoch."""
    with open("/proc/stat", encoding="utf-8") as file:
        booted = next(int(line.split()[1]) for line in file if line.startswith("btime "))
    with open("/proc/1/stat", encoding="utf-8") as file:
        ticks = int(file.read().rpartition(")")[2].split()[19])
    return booted + ticks / os.sysconf("SC_CLK_TCK")


BEGAN = began()


def entry_of(path):
    info = os.lstat(path)
    kind = stat.S_IFMT(info.st_mode)
    names = {stat.S_IFREG: "file", stat.S_IFDIR: "directory", stat.S_IFLNK: "link"}
    entry = {"type": names.get(kind, "other"), "mode": f"{stat.S_IMODE(info.st_mode):04o}", "uid": info.st_uid,
             "gid": info.st_gid, "target": os.readlink(path) if kind == stat.S_IFLNK else None,
             "stamp": None if kind == stat.S_IFDIR else (info.st_ino, info.st_mtime_ns, info.st_ctime_ns)}
    if kind == stat.S_IFREG:
        entry["sha256"] = None
        is_hosts = path.startswith(LARGE) and info.st_ctime < BEGAN
        if info.st_size <= LONGEST and not is_hosts:  # the tests make no file as long as that
            with open(path, "rb") as file:
                entry["bytes"] = file.read()
            entry["sha256"] = hashlib.sha256(entry["bytes"]).hexdigest()
    return entry


def snapshot():
    tree = {}

    def walk(path):
        if path in LEFT_OUT:
            return
        try:
            tree[path] = entry_of(path)
            if tree[path]["type"] == "directory":
                for name in os.listdir(path):
                    walk(path + "/" + name)
        except OSError:
            tree.pop(path, None)  # an ordinary user's root may not look everywhere

    for place in PLACES:
        if os.path.isdir(place):
            walk(place)
    with open("/proc/self/mountinfo", encoding="utf-8", errors="surrogateescape") as file:
        mounts = [re.sub(r" - .*", "", line) for line in file]
    return {"tree": tree, "mounts": mounts, "processes": processes()}


def processes():
    """The processes of this machine and the sockets that they hold open, but for this one and those it is run by."""
    own, pid = set(), os.getpid()
    while pid > 0:
        own.add(pid)
        with open(f"/proc/{pid}/stat", encoding="utf-8", errors="replace") as file:
            pid = int(file.read().rpartition(")")[2].split()[1])
    found = set()
    for pid in (int(name) for name in os.listdir("/proc") if name.isdigit()):
        if pid in own:
            continue
        try:
            with open(f"/proc/{pid}/comm", encoding="utf-8", errors="replace") as file:
                name = file.read().strip()
            links = [os.readlink(f"/proc/{pid}/fd/{fd}") for fd in os.listdir(f"/proc/{pid}/fd")]
        except OSError:
            continue  # it has ended
        found.add((pid, name, tuple(sorted(link for link in links if link.startswith("socket:")))))
    return found


def patched(before, diff):
    """The bytes that a unified difference makes of others."""
    old = before.splitlines(keepends=True)
    new, at, body = [], 0, diff.encode().splitlines(keepends=True)
    for number, line in enumerate(body):
        if line.startswith(b"@@ "):
            start, count = re.match(rb"@@ -(\d+)(?:,(\d+))? ", line).groups()
            start = int(start) - (count != b"0")
            new += old[at:start]
            at = start
        elif number < 2:
            continue
        elif line.startswith(b"\\"):
            new[-1:] = [new[-1].removesuffix(b"\n")] if body[number - 1][:1] != b"-" else new[-1:]
        elif line.startswith(b"+"):
            new.append(line[1:])
        elif line.startswith(b"-"):
            at += 1
        else:
            new.append(old[at])
            at += 1
    return b"".join(new + old[at:])


def path_of(change, name):
    coded = change.get(name + "_base64")
    if coded is None:
        return change[name]
    import base64
    return os.fsdecode(base64.b64decode(coded))


def is_below(path, top):
    return path == top or path.startswith(top + "/")


def applied(tree, document):
    """The tree after all changes: removals, then moves at once, then the rest; and what does not fit together."""
    faults = []
    tree = dict(tree)
    changes = document["changes"]
    moved = {}
    for change in changes:
        if change["action"] == "move":
            top, to = path_of(change, "path"), path_of(change, "to")
            moved[top] = (to, change)
    # What moves is taken out, the deepest first; then what is removed goes.
    taken = {}
    for change in changes:
        if change["action"] == "remove":
            path = path_of(change, "path")
            if path not in tree:
                faults.append(f"to be removed, and not there: {path}")
    for top in sorted(moved, key=len, reverse=True):
        taken[top] = {path[len(top):]: tree.pop(path) for path in [p for p in tree if is_below(p, top)]}
        if not taken[top]:
            faults.append(f"to be moved, and not there: {top}")
    for change in changes:
        if change["action"] != "remove":
            continue
        path = path_of(change, "path")
        gone = [p for p in tree if is_below(p, path)]
        inside = [(top, below) for top, entries in taken.items() for below in entries
                  if is_below(top + below, path) and not is_below(top, path)]
        for p in gone:
            del tree[p]
        for top, below in inside:
            del taken[top][below]
        if change["type"] == "directory" and not inside and change["entries"] != len(gone) - 1:
            faults.append(f"{path} has {len(gone) - 1} entries, not {change['entries']}")
    for top, (to, _) in moved.items():
        for below, entry in taken[top].items():
            tree[to + below] = entry
    for change in changes:
        if change["action"] in ("remove", "move"):
            continue
        path, after = path_of(change, "path"), change["after"]
        was = tree.get(path)
        entry = dict(was) if was else {}
        entry.update(type=change["type"], mode=after["mode"], uid=after["uid"], gid=after["gid"],
                     target=path_of(after, "target") if after["target"] is not None else None, stamp=None)
        if change["type"] == "file":
            if change["action"] != "change":
                entry["sha256"] = after["sha256"]
            if change["diff"] is not None:
                data = patched(was["bytes"] if was and was["type"] == "file" else b"", change["diff"])
                if hashlib.sha256(data).hexdigest() != after["sha256"]:
                    faults.append(f"the difference of {path} does not give its sha256")
        else:
            entry.pop("sha256", None)
        if change["before"] is not None and was:
            before = change["before"]
            for key in ("mode", "uid", "gid"):
                if before[key] != was[key]:
                    faults.append(f"{path}: {key} was {was[key]}, not {before[key]}")
        elif (change["before"] is None) != (was is None):
            faults.append(f"{path} is said to be {change['action']}d, and was {'there' if was else 'not there'}")
        tree[path] = entry
    return tree, faults


def differences(expected, found, keys):
    for path in sorted(expected.keys() | found.keys()):
        left, right = expected.get(path), found.get(path)
        if left is None or right is None:
            yield f"{'not foretold' if left is None else 'has not come'}: {path}"
            continue
        for key in keys:
            if left.get(key) != right.get(key):
                yield f"{path}: {key} {left.get(key)!r}, found {right.get(key)!r}"


def load(name):
    with open(name, "rb") as file:
        return pickle.load(file)


def main():
    command, *names = sys.argv[1:]
    if command == "snapshot":
        with open(names[0], "wb") as file:
            pickle.dump(snapshot(), file)
        return
    if command == "same":
        before, after = map(load, names)
        faults = list(differences(before["tree"], after["tree"], ("type", "mode", "uid", "gid", "target", "sha256", "stamp")))
        faults += ["the mounts differ"] * (before["mounts"] != after["mounts"])
        faults += [f"process {process} has {'gone' if process in before['processes'] else 'come'}"
                   for process in sorted(before["processes"] ^ after["processes"])]
    else:
        with open(names[1], encoding="utf-8") as file:
            document = json.load(file)
        tree, faults = applied(load(names[0])["tree"], document)
        faults += differences(tree, load(names[2])["tree"], ("type", "mode", "uid", "gid", "target", "sha256"))
    print("\n".join(faults))
    sys.exit(1 if faults else 0)


main()
