"""Disturbs a run that only looks, a -preview or -status, at one point after another: the host is as it was to the byte, and
what the run shows is whole, or it says what went wrong.

looks.py STORY KIND [--sample COUNT] --conf PATH -- COMMAND ...

Disturbed is every process of the program's own, also the one that rehearses, but none of the host's tools.
"""
import os
import re
import sys

import apply
import calls
import disturb
import holds
import intercept
import machine

# How a run says that it could not do all: a preview by what it would warn of or fail with, -status in a column.
SAYS_SO = re.compile(r"^ERROR: .|^WARNING! .|^  Differences (not looked for|a configuration would fail): .|"
                     r"^ +its client\.conf cannot be read: .", re.MULTILINE)
UNKNOWN = re.compile(r"^  [A-Z][a-z ]{11}not known|  unknown version in /")
FACT = re.compile(r"^  (Agent|Server|Identifier|At boot|Process) .*")
# What a line leaves out that cannot be found: the release of a version; that a file which may be there is not.
LEFT_OUT = re.compile(r"(?<=\d) \([\w.]+\)(?= in )| \(not there yet\)$")
CHANGE = re.compile(r"^  (create|change|replace|remove|move) [^/]* (/\S+).*")
HEADINGS = ("Keys of client.conf",)


def host():
    """What stands on this copy, with the time of each file's last change."""
    seen = machine.tree()
    return {path: stamped(path, look) for path, look in seen.items()}


def stamped(path, look):
    return look and (look, None if look.mode[0] == "d" else os.lstat(path).st_mtime_ns)


def difference(seen, expected):
    for path in sorted(seen.keys() | expected.keys()):
        found = seen.get(path)
        wanted = expected.get(path) if path in expected or path.startswith(machine.SMALL) else stamped(path, machine.before(path))
        if found != wanted:
            yield f"{path}: {wanted} expected, {found} found"


def on_a_copy(run, *arguments):
    """What a run gives on a copy of the machine, and that copy behind it."""
    def work():
        outcome = run(*arguments)
        machine.end_of_all_children()
        return outcome, host()
    return machine.on_a_copy(work, apply.enter_copy)


def undisturbed(command):
    """The run and its calls, and the machine behind it; what a process becomes by execve is let alone."""
    return on_a_copy(calls.traced, command, "-f", "-b", "execve")


def points_of(trace, kind):
    # A descriptor stays open whose close fails here, which no kernel does: whoever waits for the other end of a pipe would
    # wait for ever. No poll fails again and again either; a rehearsal would be given up after ten minutes.
    for point in calls.points(calls.most_of_a_process(trace), kind):
        if kind == "kill" or point.name != "close" and (point.mode, point.name) != ("lasting", "poll"):
            yield point


def changes_of(run):
    """What a preview shows to become of each path, of those changes that a run cannot be content without. Of modes it can."""
    found = (CHANGE.match(line) for line in run.output.splitlines())
    return {match[2]: match[1] for match in found
            if match and any(re.search(essential, match[2]) for essential in holds.ESSENTIAL)}


def wrong_facts(run, whole):
    """Lines of -status that tell something else about the agent, and not that they do not know."""
    facts = {match[1]: match[0] for match in map(FACT.match, whole.output.splitlines()) if match}
    for match in filter(None, map(FACT.match, run.output.splitlines())):
        told = facts.get(match[1], "")
        if match[0] not in (told, LEFT_OUT.sub("", told)) and not UNKNOWN.search(match[0]):
            yield match[0]


def broken(outcome, before, whole, point, kind):
    run, left = outcome
    yield from difference(left, before)
    if kind == "kill" and run.status in (-9, 137):
        return
    if (run.status, run.output, run.errors) == (whole.status, whole.output, whole.errors):
        return
    says_so = SAYS_SO.search(run.output + "\n" + run.errors) or point.name == "write"
    if run.status != whole.status and (run.status not in (1, 3) or not says_so):
        yield f"it ended with {run.status} and does not say why: {run.errors}{run.output[-300:]}"
    if run.status == 0 and not says_so:
        known, shown = changes_of(whole), changes_of(run)
        yield from (f"it ended with 0 and without a word shows {shown.get(path)} instead of {known[path]}" for path in known
                    if known[path] != shown.get(path))
        yield from (f"it ended with 0 and without a word does not show: {heading}" for heading in HEADINGS
                    if heading in whole.output and heading not in run.output)
    yield from (f"wrong: {line}" for line in wrong_facts(run, whole))


def main():
    options = disturb.arguments()
    for directory in (machine.POINT, apply.BARE):
        os.makedirs(directory)
    machine.check(machine.libc.mount(b"/", apply.BARE.encode(), None, machine.MS_BIND, None))
    before = machine.on_a_copy(host, apply.enter_copy)
    (whole, trace), left = undisturbed(options.command)
    if list(difference(left, before)):
        raise RuntimeError("undisturbed it changes " + "\n".join(difference(left, before)))
    points = list(points_of(trace, options.kind))
    tried = disturb.evenly(points, options.sample)
    violations = 0
    for point in tried:
        try:
            outcome = on_a_copy(intercept.run, options.command, point, "own")
        except RuntimeError as error:
            raise RuntimeError(f"{point}: {error}") from error
        lines = list(broken(outcome, before, whole, point, options.kind))
        if lines:
            violations += 1
            disturb.tell(options.story, point, lines)
    print(f"{options.story} {options.kind}: {len(tried)} of {len(points)} points, {violations} violations")
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main())
