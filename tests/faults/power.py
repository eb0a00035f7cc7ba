"""Cuts the power after one step of a run after another and tells what did not hold.

power.py STORY power --conf PATH -- COMMAND ...
"""
import hashlib
import os
import re
import signal
import sys

import calls
import disturb
import holds
import machine
import power_disks
import power_stops

HALF_MADE = re.compile(r"/\.[^/]+\.unfinished(/|$)")
# What the mark of a run that has not come to its end says.
MARKS = {hashlib.sha1(words).hexdigest() for words in (b"saving\n", b"first configuration\n", b"upgrade\n")}


class Checks(holds.Checks):
    """No file of the agent's may be empty or cut off, either."""

    def __init__(self, reference, conf):
        super().__init__(reference, conf, "kill")
        self.of_the_stores = {seen.content for path, seen in self.laid_down.items()
                              if seen and seen.content and holds.DATA.search(path)}

    def was_disturbed(self, first):
        return True

    def of_the_end(self, first, point):
        return ()

    def of_what_is_left(self, outcome, point):
        yield from super().of_what_is_left(outcome, point)
        for path, seen in outcome.left.items():
            if seen and seen.mode[0] == "-" and path.startswith("/opt/") and not HALF_MADE.search(path):
                whole = (holds.content_of(machine.before(path)), holds.content_of(self.should_be(path)))
                marks = MARKS if path.endswith("/etc/.unfinished") else ()
                if seen.content not in (*whole, *self.of_the_stores, *marks):
                    yield f"{path} is neither the old file nor the new one, whole: {seen}"


def ways(names):
    """Which disks had got all changes of names when the power was cut; the others what had been flushed on them."""
    yield ()
    if len(names) > 1:
        yield from ((name,) for name in names)
    yield tuple(names)


def record(images, command, committed, prepare=lambda: None):
    """A run, and what the disks held after each of its steps: steps, changes, status and standard error."""
    def work():
        signal.alarm(10 * machine.SECONDS)
        prepare()
        steps = []
        recording = power_disks.Recording(images)

        def at_stop(step):
            for name in committed:
                power_disks.commit(name)
            steps.append(step)
            recording.take()
        status, errors = power_stops.run(command, at_stop)
        at_stop(f"the end, with status {status}")
        return steps, recording.changes, status, errors
    return on_disks(images, work)


def on_disks(images, work):
    """What `work` returns on a machine that starts with such disks."""
    return machine.on_a_copy(work, enter=lambda: power_disks.attach(images))


def undisturbed(images, command, conf):
    def work():
        run = calls.run(command)
        if run.status != 0:
            raise RuntimeError(f"the undisturbed run failed: {run}")
        after = power_disks.tree()
        return holds.Reference(after, *(holds.content_at(after, path) for path in (conf, conf + ".old")))
    return on_disks(images, work)


def after_the_cut(images, command, again, known):
    """What stands on the disks, and what the next run makes of it; None when that is known."""
    def work():
        left = power_disks.tree()
        mark = hashlib.sha1(repr(sorted(left.items())).encode()).digest()
        if mark in known:
            return mark, left, None, None
        disturb.give_again(again)
        second = calls.run(command)
        machine.end_of_all_children()
        return mark, left, second, power_disks.tree()
    mark, *found = on_disks(images, work)
    known.add(mark)
    return found


def expect_loss(images):
    """A program that flushes nothing loses its file here, and one that does has the old or the new one: else nothing
    would be seen of what this program loses."""
    control = "/opt/control"

    def prepare():
        with open(control, "w") as file:
            file.write("old")
            file.flush()
            os.fsync(file.fileno())

    every = tuple(images)
    for flush, committed, expected in (("", every, ""), ("", (), "old"), ("sync new;", every, "new"),
                                       ("sync new;", (), "old")):
        command = ["sh", "-c", f"cd /opt; printf new >new; {flush} mv new {control}"]
        _, changes, _, _ = record(images, command, committed, prepare)
        *_, last = power_disks.replay(images, changes)
        found = on_disks(last, lambda: open(control).read())
        if found != expected:
            raise RuntimeError(f"with '{flush}' and {committed} a cut leaves '{found}': nothing can be seen here")


def cuts(images, command):
    """Every cut of the run: which disks had been flushed by somebody else, the step before it, what the run had told,
    and the disks, or None where nothing has changed on them since the cut before."""
    for committed in ways(list(images)):
        steps, changes, status, errors = record(images, command, committed)
        if status != 0:
            raise RuntimeError(f"the run ended with {status}: {errors}")
        for step, change, then in zip(steps, changes, power_disks.replay(images, changes)):
            yield committed, step, errors, then if any(change.values()) else None


def tell(story, committed, step, broken):
    print(story, "cut after:", step, *(f"(with all of the {name} disk)" for name in committed))
    print(*(f"    {line}" for line in broken), sep="\n", flush=True)


def main():
    options = disturb.arguments()
    os.makedirs(machine.POINT)
    images = power_disks.prepare()
    expect_loss(images)
    checks = Checks(undisturbed(images, options.command, options.conf), options.conf)
    again = disturb.inputs()
    known = set()
    points = violations = 0
    for committed, step, errors, then in cuts(images, options.command):
        points += 1
        left, second, after = after_the_cut(then, options.command, again, known) if then else (None, None, None)
        if second is None:
            continue
        outcome = holds.Outcome(calls.Run(-signal.SIGKILL, "", errors), left, second, after)
        broken = list(checks.broken(outcome, ("power", "cut", step)))
        if broken:
            violations += 1
            tell(options.story, committed, step, broken)
    print(f"{options.story} {options.kind}: {points} of {points} points, {violations} violations")
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main())
