"""Disturbs a run at one point after another and tells what did not hold.

disturb.py STORY KIND [--sample COUNT] --conf PATH -- COMMAND ...
"""
import argparse
import os
import sys

import calls
import holds
import intercept
import machine


def arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("story")
    parser.add_argument("kind")
    parser.add_argument("--sample", type=int)
    parser.add_argument("--conf")
    parser.add_argument("command", nargs="+")
    return parser.parse_args()


def inputs():
    """What an administrator gives again to the next run."""
    return {path: open(path, "rb").read() for path in ("/tmp/.qdn-agent-install-config.xml",) if os.path.exists(path)}


def give_again(again):
    for path, content in again.items():
        with open(path, "wb", opener=lambda name, flags: os.open(name, flags, 0o600)) as file:
            file.write(content)


def undisturbed(command, conf):
    """What the run should leave, and the calls that it makes."""
    def work():
        run, trace = calls.traced(command)
        if run.status != 0:
            raise RuntimeError(f"the undisturbed run failed: {run}")
        after = machine.tree()
        new, saved = (holds.content_at(after, path) for path in (conf, conf + ".old"))
        return holds.Reference(after, new, saved), trace
    return machine.on_a_copy(work)


def disturbed(command, point, again, next_runs):
    """A run that is disturbed at a point, and the next one: how each ended and what it left. What the next one makes
    of the machine depends on nothing but what the first one left: the same is looked at once."""
    def work():
        first = intercept.run(command, point)
        machine.end_of_all_children()
        left = machine.tree()
        key = machine.digest(left)
        if key in next_runs:
            return key, holds.Outcome(first, left, *next_runs[key])
        give_again(again)
        second = calls.run(command)
        machine.end_of_all_children()
        return key, holds.Outcome(first, left, second, machine.tree())
    key, outcome = machine.on_a_copy(work)
    next_runs[key] = outcome[2:]
    return outcome


def evenly(points, count):
    if not count or count >= len(points):
        return points
    return [points[index * len(points) // count] for index in range(count)]


def tell(story, point, broken):
    print(story, point.mode, point.name, point.error or "", f"{point.first} to {point.last}:", point.call[:180])
    print(*(f"    {line}" for line in broken), sep="\n", flush=True)


def main():
    options = arguments()
    os.makedirs(machine.POINT)
    reference, trace = undisturbed(options.command, options.conf)
    points = list(calls.points(trace, options.kind))
    tried = evenly(points, options.sample)
    checks = holds.Checks(reference, options.conf, options.kind)
    again = inputs()
    next_runs = {}
    violations = 0
    for point in tried:
        try:
            outcome = disturbed(options.command, point, again, next_runs)
        except RuntimeError as error:
            raise RuntimeError(f"{point}: {error}") from error
        broken = list(checks.broken(outcome, point))
        if broken:
            violations += 1
            tell(options.story, point, broken)
    print(f"{options.story} {options.kind}: {len(tried)} of {len(points)} points, {violations} violations")
    return 1 if violations else 0


if __name__ == "__main__":
    sys.exit(main())
