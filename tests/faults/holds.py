"""What must hold after a disturbed run, and after the next one."""
import collections
import re

import machine

Reference = collections.namedtuple("Reference", "after conf saved_conf")
Outcome = collections.namedtuple("Outcome", "first left second after")

# As many as the output of a command takes: a faster one is not disturbed.
TIMED = ("poll", "read", "rt_sigprocmask", "wait4")
INTERRUPTED = ("flock", "fsync", "openat", "poll", "read", "wait4", "write")  # calls that a signal can interrupt
OURS = ("/opt/", "/tmp/", "/run/lock/")  # the rest is the host's
AGENTS = re.compile(r"/qdn-[\w.-]+$|zorvane(\.service)?$")
SERVICE = "/etc/init.d/zorvane"  # what a link of a run level may also lead to
HALF_MADE = re.compile(r"/\.[^/]+\.unfinished$|/\.qdn-configure\.\w{6}(/|$)")
DATA = re.compile(r"/var/(queue|tasks|packages|swd)/")

# What a run that ends with 0 has done. The rest may be ignored when it fails: removals, links to programs, modes.
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

    def broken(self, outcome, point):
        self.keeps_data = " is kept: " in outcome.first.errors + outcome.second.errors
        return [*self.of_the_end(outcome.first, point), *self.of_what_is_left(outcome, point),
                *self.of_the_next_run(outcome)]

    def is_kept(self, path):
        """Data that could not be moved stays with its directory, as one of the runs has told."""
        return self.keeps_data and (DATA.search(path + "/") or path.startswith(machine.OLD_AGENT))

    def of_the_end(self, first, point):
        if self.kind == "kill":
            if first.status not in (-9, 137) and point[1] not in TIMED:
                yield f"it was not killed, but ended with {first.status}"
        elif first.status not in (0, 1):
            yield f"it ended with {first.status}"
        elif first.status == 1 and not first.errors and point[1] != "write":
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
        if self.kind != "kill" and outcome.first.status == 0:
            yield from (f"undone with status 0: {line}" for line in self.undone(left, self.is_interruption(point)))

    def may_be_left(self, path, seen):
        """The host's own is as it was or as it should be; the agent's may be gone, and what is half made hidden."""
        if path.startswith(OURS) or seen in (machine.before(path), self.should_be(path)):
            return True
        if AGENTS.search(path):
            return seen is None or seen.content in (SERVICE, content_of(self.should_be(path)))  # modes come last
        return self.kind == "kill" and HALF_MADE.search(path)

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
        return self.kind == "EINTR" and point[1] in INTERRUPTED

    def undone(self, left, whole):
        for path in sorted(self.reference.after.keys() | left.keys()):
            expected, found = self.should_be(path), machine.value_in(left, path)
            if self.is_kept(path) or not whole and expected is None:  # removals may fail
                continue
            if whole and expected != found:
                yield f"{path}: {expected} expected, {found} found"
            elif any(re.search(essential, path) for essential in ESSENTIAL):
                if content_of(expected) != content_of(found) or (expected is None) != (found is None):
                    yield f"{path}: {expected} expected, {found} found"

    def of_the_next_run(self, outcome):
        if outcome.second.status != 0:
            yield f"the next run ended with {outcome.second.status}: {outcome.second.errors}{outcome.second.output}"
        for path in sorted(self.reference.after.keys() | outcome.after.keys()):
            expected, found = self.should_be(path), machine.value_in(outcome.after, path)
            may_differ = (self.is_kept(path) or self.is_saved_again(path, found) or self.is_bare(path, outcome.after)
                          or self.is_old_identifier(path, expected, found))
            if expected != found and not may_differ:
                yield f"after the next run: {path}: {expected} expected, {found} found"

    def is_saved_again(self, path, found):
        """A run that finds the new configuration saves that one."""
        return path == self.conf + ".old" and content_of(found) == self.reference.conf

    def is_old_identifier(self, path, expected, found):
        """One that was to go stays until client.conf is in place, and then with the agent that the next run finds."""
        return path.endswith("/host.GUID") and expected is None and found and machine.before(path)

    def is_bare(self, path, after):
        """After a clean that was killed behind its last file the directories of client.conf stay, empty."""
        if self.reference.conf is not None or not self.conf.startswith(path + "/"):
            return False
        return all(self.conf.startswith(other + "/") for other in after if other.startswith(path + "/"))

    def should_be(self, path):
        return machine.value_in(self.reference.after, path)


def content_of(seen):
    return seen.content if seen else None


def content_at(tree, path):
    return content_of(machine.value_in(tree, path))
