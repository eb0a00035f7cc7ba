"""What must hold after a disturbed run, and after the next one."""
import collections
import hashlib
import re

import machine

Reference = collections.namedtuple("Reference", "after conf saved_conf")
Outcome = collections.namedtuple("Outcome", "first left second after")

# How often these are called depends on how the output of the host's tools arrives, on where the system puts the heap, and
# on how many processes there are to look at: in another run the last ones do not occur. Such a run must be like an
# undisturbed one.
TIMED = ("brk", "ioctl", "openat", "poll", "read", "rt_sigprocmask", "wait4", "waitid")
# The calls of which signal(7) says that a signal can interrupt them. To the others EINTR is an error like any other: no
# kernel gives it, but a file system in user space might.
INTERRUPTED = ("dup2", "dup3", "fcntl", "flock", "fsync", "getrandom", "openat", "poll", "read", "wait4", "waitid",
               "write")
OURS = ("/opt/", "/tmp/", "/var/tmp/", "/run/qdn-configure.lock")  # the rest is the host's
AGENTS = re.compile(r"/qdn-[\w.-]+$|zorvane(\.service)?$")
SERVICE = "/etc/init.d/zorvane"  # what a link of a run level may also lead to
HALF_MADE = re.compile(r"/\.[^/]+\.unfinished(/|$)|/\.qdn-configure\.\w{6}(/|$)|^/tmp/\.{1,2}zorvane-agent-installer\.|"
                       r"^(/run|/var/lock|/etc)/qdn-configure\.lock$")
# One that the system did not lock stays: another run may hold it.
LOCK = re.compile(r"^(/var/lock|/etc)/qdn-configure\.lock$")
DATA = re.compile(r"/var/(queue|tasks|packages|swd)/")
# The identifier of the stories' agents as this version writes it.
IDENTIFIER = hashlib.sha1(b"{0A1B2C3D-0000-1111-2222-333344445555}\nnull").hexdigest()
# What a run that has not come to its end leaves for the next one.
MARKS = re.compile(r"/etc/\.(unfinished|unmoved|moved)$")
# Of a pattern, the directory that its files are in.
KEPT = re.compile(r"^WARNING! ([^\s*?\[]+?)(?:/[^\s/]*[*?\[]\S*)? (?:is kept|is not edited|could not be removed): ", re.MULTILINE)

REFUSAL = re.compile(r"solutions that depend on|is (already )?running|Another run")  # told on standard output

# What a run that ends with 0 has done. Of the rest it is said that it never fails a run: links to programs, modes, and
# removals. But the next run must have done that, too.
ESSENTIAL = (
    r"/etc/client\.conf$", r"/etc/client\.conf\.old$", r"/etc/host\.GUID$", r"/bin/qdn-env$", r"/bin/rcscript$",
    r"^/etc/init\.d/zorvane$", r"^/etc/rc[0-6]\.d/S\d\dzorvane$", r"/var$", r"/var/(queue|tasks|packages|swd)$",
)


class Checks:
    """Finds what is broken in an outcome, line by line."""

    def __init__(self, reference, conf, kind):
        self.reference = reference
        self.conf = conf
        self.kind = kind
        self.is_upgrade = reference.conf is not None and reference.saved_conf is not None
        self.laid_down = machine.laid_down()
        self.data = {seen.content for path, seen in self.laid_down.items() if DATA.search(path) and seen.content}
        self.data &= self.contents(reference.after)
        self.before_all = self.laid_down.keys() | {path for path in reference.after if machine.before(path)}
        self.known_contents = self.contents(reference.after) | {seen.content for seen in self.laid_down.values()}

    def broken(self, outcome, point):
        # An upgrade tells by name what it could not take away from the old agent's directory, and goes by the new
        # agent from then on: that is left to whoever reads it. After a clean the next run must be able to do it.
        self.kept = KEPT.findall(outcome.first.errors) if self.reference.conf else []
        self.disturbed = self.was_disturbed(outcome.first)
        if not self.disturbed and point.name not in TIMED:
            yield f"it was not disturbed, and ended with {outcome.first.status}"
        yield from self.of_the_end(outcome.first, point)
        yield from self.of_what_is_left(outcome, point)
        yield from self.of_the_next_run(outcome, point)

    def was_disturbed(self, first):
        if self.kind == "kill":
            return first.status in (-9, 137)
        return first.met > 0

    def is_kept(self, path):
        """It lies in a directory that is told to be kept, leads to one, or is data that should have come from one."""
        return any((path + "/").startswith(kept.rstrip("/") + "/") or kept.startswith(path + "/") or
                   DATA.search(path + "/") and DATA.search(kept + "/") for kept in self.kept)

    def of_the_end(self, first, point):
        if self.kind == "kill" and self.disturbed:
            return
        if first.status not in (0, 1) or (first.status == 1 and not self.disturbed):
            yield f"it ended with {first.status}"
        elif first.status == 1 and not (first.errors or REFUSAL.search(first.output)) and point.name != "write":
            yield "it failed without a word"
        elif first.status == 1 and self.is_interruption(point):
            yield f"an interruption made it fail: {first.errors}"

    def of_what_is_left(self, outcome, point):
        left = outcome.left
        yield from self.of_configuration(left)
        yield from self.of_data(left)
        for path in left:
            if not self.may_be_left(path, left[path]):
                yield f"{path} is neither old nor new: {left[path]}"
        is_stopped = self.kind == "kill" and self.disturbed
        if outcome.first.status == 0 and not is_stopped:
            yield from (f"the mark of an unfinished run is left: {path}" for path in left
                        if path.endswith("/.unfinished") and left[path])
            whole = not self.disturbed or self.is_interruption(point)
            yield from (f"undone with status 0: {line}" for line in self.undone(left, whole))

    def may_be_left(self, path, seen):
        """The host's own is as it was or as it should be; the agent's may be gone, be where it was or will be, and what
        is half made is hidden."""
        if seen in (machine.before(path), self.should_be(path)) or HALF_MADE.search(path) or MARKS.search(path):
            return True
        if path.startswith(OURS):
            return seen is None or seen.content in self.known_contents
        if AGENTS.search(path):
            return seen is None or seen.content in self.known_contents | {SERVICE}
        return False

    def of_configuration(self, left):
        found = content_at(left, self.conf)
        if found not in (None, content_of(machine.before(self.conf)), self.reference.conf):
            yield "client.conf is neither the old nor the new one"
        if self.is_upgrade:
            if found != self.reference.conf and self.reference.saved_conf not in self.contents(left):
                yield "the old configuration's values are nowhere"

    def of_data(self, left):
        for content in self.data - self.contents(left):
            yield f"data is lost: {[path for path, seen in self.laid_down.items() if seen.content == content]}"

    def contents(self, tree):
        paths = self.laid_down.keys() | tree.keys()
        return {content_at(tree, path) for path in paths}

    def is_interruption(self, point):
        """Nothing comes of one: the call is made again."""
        return self.kind == "EINTR" and point.name in INTERRUPTED

    def undone(self, left, whole):
        for path in sorted(self.reference.after.keys() | left.keys()):
            expected, found = self.should_be(path), machine.value_in(left, path)
            if self.is_kept(path):
                continue
            if whole and expected != found:
                yield f"{path}: {expected} expected, {found} found"
            elif expected and any(re.search(essential, path) for essential in ESSENTIAL):
                if found is None or content_of(expected) != content_of(found):
                    yield f"{path}: {expected} expected, {found} found"

    def of_the_next_run(self, outcome, point):
        if outcome.second.status != 0 and not self.was_done(outcome):
            yield f"the next run ended with {outcome.second.status}: {outcome.second.errors}{outcome.second.output}"
        for path in sorted(self.reference.after.keys() | outcome.after.keys()):
            expected, found = self.should_be(path), machine.value_in(outcome.after, path)
            may_differ = (point.name == "flock" and LOCK.search(path) or self.is_kept(path) or
                          self.is_saved_again(path, found) or
                          self.is_old_identifier(outcome, path, expected, found) or
                          self.is_in_this_form(outcome, path, found) or
                          point.mode != "once" and self.is_bare(path, outcome.after) or
                          point.mode == "lasting" and self.is_forgiven(path, expected))
            if expected != found and not may_differ:
                yield f"after the next run: {path}: {expected} expected, {found} found"

    def was_done(self, outcome):
        """Where nobody knows of the new agent, a run after one that had done everything finds nothing to upgrade."""
        return "No configuration file found" in outcome.second.errors and not any(self.undone(outcome.after, True))

    def is_saved_again(self, path, found):
        """A run that finds the new configuration saves that one."""
        return path == self.conf + ".old" and content_of(found) == self.reference.conf

    def is_old_identifier(self, outcome, path, expected, found):
        """One that was to go, of a run that ended between client.conf's coming into place and its going: the next run
        takes it for the agent's own."""
        is_between = outcome.first.status != 0 and content_at(outcome.left, self.conf) == self.reference.conf
        return is_between and path.endswith("/host.GUID") and expected is None and found and machine.before(path)

    def is_in_this_form(self, outcome, path, found):
        """The file of version 5.6 stays as it is; a run that finds the new agent gives it this version's form."""
        is_upgraded = content_at(outcome.left, self.conf) == self.reference.conf
        return is_upgraded and path.endswith("/host.GUID") and found is not None and found.content == IDENTIFIER

    def is_bare(self, path, after):
        """When a clean is stopped behind its last file, client.conf, its directories stay, empty: without that file the
        next clean finds no agent, and must then change nothing."""
        if self.reference.conf is not None or not self.conf.startswith(path + "/"):
            return False
        return all(self.conf.startswith(other + "/") for other in after if other.startswith(path + "/"))

    def is_forgiven(self, path, expected):
        """A file of the old agent's that an upgrade could not remove, however often it tried: clean-up must not stop an
        upgrade, and the next run finds the new agent and no more of the old one. After a clean nothing is forgiven."""
        return self.is_upgrade and expected is None and path in self.before_all

    def should_be(self, path):
        return machine.value_in(self.reference.after, path)


def content_of(seen):
    return seen.content if seen else None


def content_at(tree, path):
    return content_of(machine.value_in(tree, path))
