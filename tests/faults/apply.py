"""Disturbs an -apply at one point after another: after at most one further run the host is as before or as after it.

apply.py STORY KIND [--sample COUNT] --conf PATH -- COMMAND ...

Killed is the process that applies, at each of its calls, and every process of the run that comes to one of the calls that
change something (a point "all"). Errors meet the process that applies.
"""
import os
import re
import shutil
import sys

import calls
import disturb
import holds
import intercept
import machine

BARE = "/run/faults/bare"  # the host's own directories, which the private machine covers
CHANGES = os.environ["PRIVATE_MACHINE_CHANGES"]
NEXT_RUN = ("-clean", "/nowhere")  # does nothing but what a former run has left to do
CHANGES_SOMETHING = re.compile(r"rename|link|symlink|unlink|mkdir|rmdir|mknod|open|write|p?write|f?truncate|f?chmod|[fl]?chown|"
                               r"[fl]?(set|remove)xattr|utimens|copy_file|sendfile|mount|clone|v?fork|kill|exit_group")
TOOL = "/usr/sbin/chkconfig"  # makes the run of the story "apply_failing" fail
FAILED = "/var/lib/qdn-configure/failed"  # what an attempt had made stays for its reader


def enter_copy():
    """A copy without overlays of overlays, on which nothing could be rehearsed."""
    here = os.getcwd()
    machine.enter_namespace()
    small = machine.plain_copies()
    for tree in machine.LARGE_TREES:
        copy, work = machine.copy_of(CHANGES + tree, tree), f"{machine.POINT}/work/{tree.replace('/', '-')}"
        os.makedirs(work)
        options = f"lowerdir={BARE}{tree},upperdir={copy},workdir={work}"
        machine.mount("overlay", tree, options + ("" if machine.is_everyone_mapped() else ",userxattr"))
    for tree, copy in small:
        machine.bind(copy, tree)
    os.chdir(here)


def tree():
    """What stands on this copy, but for what a failed attempt leaves to be read."""
    seen = machine.tree()
    left = FAILED if FAILED in seen else None
    return {path: what for path, what in seen.items()
            if not left or path != os.path.dirname(FAILED) and path != left and not path.startswith(left + "/")}


def difference(seen, expected):
    """Paths at which the host is not as expected; times of large files are not looked at."""
    for path in sorted(seen.keys() | expected.keys()):
        found, wanted = machine.value_in(seen, path), machine.value_in(expected, path)
        if found != wanted:
            yield f"{path}: {wanted} expected, {found} found"


def begun():
    return machine.on_a_copy(tree, enter_copy)


def undisturbed(command, *strace):
    """What the run leaves, its status and its calls."""
    def work():
        run, trace = calls.traced(command, *strace)
        machine.end_of_all_children()
        return tree(), run.status, trace
    return machine.on_a_copy(work, enter_copy)


def unspoilt(command):
    """What the run leaves when the tool that makes it fail does not come to do so."""
    def work():
        shutil.move(TOOL, machine.POINT + "/tool")
        run = calls.run(command)
        machine.end_of_all_children()
        shutil.move(machine.POINT + "/tool", TOOL)
        if run.status != 0:
            raise RuntimeError(f"without {TOOL} the run ended with {run.status}: {run.errors}")
        return tree()
    return machine.on_a_copy(work, enter_copy)


def points_of(command, kind):
    for point in calls.points(undisturbed(command)[2], kind):
        # A descriptor stays open whose close fails here, which no kernel does: whoever waits for the other end of a pipe
        # would wait for ever.
        if kind == "kill" or point.name != "close":
            yield point
    if kind == "kill":
        for point in calls.points(calls.most_of_a_process(undisturbed(command, "-f")[2]), kind):
            if CHANGES_SOMETHING.match(point.name):
                yield point._replace(mode="all")


def disturbed(command, point):
    def work():
        first = intercept.run(command, point, "all" if point.mode == "all" else "first")
        machine.end_of_all_children()
        left = tree()
        second = calls.run([command[0], *NEXT_RUN])
        return first, left, second, tree()
    return machine.on_a_copy(work, enter_copy)


def broken(point, outcome, before, after):
    """What does not hold of a disturbed run and the next one, of which `after` is what one that ends with 0 leaves."""
    first, left, second, final = outcome
    if not first.met and point.name not in holds.TIMED:
        yield f"it was not disturbed, and ended with {first.status}"
    if second.status != 0:
        yield f"the next run ended with {second.status}: {second.errors}"
    against = {"before": list(difference(final, before)), "after": list(difference(final, after))}
    if first.status == 0 and against["after"]:
        yield "it ended with 0, and the host is not as after it"
    if first.status == 1 and against["before"] and not first.errors.count("tries again"):
        yield "it ended with 1, and the host is not as before it"
    if all(against.values()):
        yield "the host is between"
        nearest = min(against, key=lambda state: len(against[state]))
        yield from (f"{nearest}: {line}" for line in against[nearest][:8])


def main():
    options = disturb.arguments()
    for directory in (machine.POINT, BARE):
        os.makedirs(directory)
    machine.check(machine.libc.mount(b"/", BARE.encode(), None, machine.MS_BIND, None))
    before = begun()
    after, status, _ = undisturbed(options.command)
    has_changed = any(difference(after, before))
    if (status == 0, has_changed) != ((False, False) if options.story == "apply_failing" else (True, True)):
        raise RuntimeError(f"the undisturbed run ended with {status}, and something changed: {has_changed}")
    if options.story == "apply_failing":
        after = unspoilt(options.command)
    plain = undisturbed([word for word in options.command if word not in ("-apply", "-yes")])[0]
    if options.story != "apply_failing" and any(difference(after, plain)):
        raise RuntimeError("it leaves something else than the command by itself: " + "\n".join(difference(after, plain)))
    points = list(points_of(options.command, options.kind))
    tried = disturb.evenly(points, options.sample)
    violations = 0
    for point in tried:
        try:
            outcome = disturbed(options.command, point)
        except RuntimeError as error:
            raise RuntimeError(f"{point}: {error}") from error
        lines = list(broken(point, outcome, before, after))
        if lines:
            violations += 1
            disturb.tell(options.story, point, [f"{outcome[0].status} {outcome[0].errors[-300:]}", *lines])
    print(f"{options.story} {options.kind}: {len(tried)} of {len(points)} points, {violations} violations")
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main())
