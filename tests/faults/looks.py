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
OWN = ["-f", "-b", "execve"]  # what a process becomes by execve is let alone


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


def run_on_a_copy(command, strace):
    def work():
        run = calls.run(command, strace)
        machine.end_of_all_children()
        return run, host()
    return machine.on_a_copy(work, apply.enter_copy)


def names_of(trace):
    """The calls, each as often as the process makes it that makes it most often: strace counts for each by itself."""
    counts = {}
    for line in trace:
        process, _, call = line.partition(" ")
        for name in calls.names_of([call.strip()]):
            of_process = counts.setdefault(name, {})
            of_process[process] = of_process.get(process, 0) + 1
    return [name for name, of_process in counts.items() for _ in range(max(of_process.values()))]


def points_of(trace, kind):
    # A close that strace makes fail leaves the descriptor open, which the kernel never does: whoever waits for the other
    # end of a pipe would wait for ever. No poll fails again and again either; a rehearsal would be given up after ten
    # minutes.
    for point in calls.points(names_of(trace), kind):
        if kind == "kill" or point[1] != "close" and point[:2] != ("lasting", "poll"):
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
    says_so = SAYS_SO.search(run.output + "\n" + run.errors) or point[1] == "write"
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
    whole, left = run_on_a_copy(options.command, [*OWN, "-e", "trace=all"])
    if list(difference(left, before)):
        raise RuntimeError("undisturbed it changes " + "\n".join(difference(left, before)))
    points = list(points_of(whole.trace, options.kind))
    tried = disturb.evenly(points, options.sample)
    violations = 0
    for point in tried:
        try:
            outcome = run_on_a_copy(options.command, [*OWN, *calls.options(point)])
        except RuntimeError as error:
            raise RuntimeError(f"{point}: {error}") from error
        lines = list(broken(outcome, before, whole, point, options.kind))
        if lines:
            violations += 1
            print(options.story, *point, *[line[:180] for line in outcome[0].trace if "INJECTED" in line][:1])
            print(*(f"    {line}" for line in lines), sep="\n", flush=True)
    print(f"{options.story} {options.kind}: {len(tried)} of {len(points)} points, {violations} violations")
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main())
