#!/usr/bin/env python3
"""Tells what the tests have run of the program, and compares the branches that none takes with those that are known:
report.py LINES BRANCHES KNOWN FOLDER ...

LINES and BRANCHES are what llvm-cov exports as lcov and as JSON. A branch is one outcome, true or false, of one
condition. KNOWN lists those that may stay untaken: below a line "[kind] reason" the lines that have such branches, each
as "FILE: TEXT" with the text of the line. A text of the form /REGEX/, or a file "*", stands for several.

Prints a table with a line a FOLDER, the lines that no test runs, in the form of the list the lines with a branch that
none takes and that are not in it, and those in it that have no such branch any more. Ends 0 when there are none of the three.
"""
import collections
import json
import os
import re
import sys

Entry = collections.namedtuple("Entry", "kind file text")


def measured_lines(path):
    """Of each file, how often each line was run."""
    lines = collections.defaultdict(dict)
    for row in open(path):
        kind, _, value = row.rstrip("\n").partition(":")
        if kind == "SF":
            file = os.path.relpath(value)
        elif kind == "DA":
            number, count = value.split(",")[:2]
            lines[file][int(number)] = int(count)
    return lines


def measured_branches(path):
    """Of each file, how often each outcome of a condition was seen, by its place and outcome. The functions that are
    made from one template count as one."""
    branches = collections.defaultdict(collections.Counter)
    for file in json.load(open(path))["data"][0]["files"]:
        for line, column, last_line, last_column, if_true, if_false, *_ in file["branches"]:
            for outcome, count in ((True, if_true), (False, if_false)):
                branches[os.path.relpath(file["filename"])][line, column, last_line, last_column, outcome] += count
    return branches


def known(path):
    kind = None
    for line in open(path):
        line = line.strip()
        if line.startswith("["):
            kind = line[1:line.index("]")]
            if not line[line.index("]") + 1:].strip():
                sys.exit(f"{path}: the kind {kind} has no reason")
        elif line and not line.startswith("#"):
            file, text = line.split(": ", 1)
            yield Entry(kind, file, text)


def covers(entry, file, text):
    if entry.file not in (file, "*"):
        return False
    if len(entry.text) > 2 and entry.text.startswith("/") and entry.text.endswith("/"):
        return re.search(entry.text[1:-1], text) is not None
    return entry.text == text


def share(counts):
    """How many are not 0. The share is cut, not rounded: one that is rounded up to 100 % would hide a line."""
    seen = sum(count > 0 for count in counts)
    return f"{seen:6} of {len(counts):6}  {10000 * seen // max(len(counts), 1) / 100:6.2f} %"


def print_table(folders, lines, branches):
    print("folder             lines run                   branches taken")
    for folder in [*folders, "all"]:
        files = [file for file in lines if folder in ("all", file.split("/")[0])]
        cells = [share([count for file in files for count in of[file].values()]) for of in (lines, branches)]
        print(f"{folder:12} {cells[0]}   {cells[1]}")


def main():
    lines, branches, path = measured_lines(sys.argv[1]), measured_branches(sys.argv[2]), sys.argv[3]
    print_table(sys.argv[4:], lines, branches)
    source = {file: open(file).read().split("\n") for file in lines}
    not_run = [(file, number) for file in lines for number, count in lines[file].items() if count == 0]
    for file, number in not_run:
        print(f"not run: {file}:{number}: {source[file][number - 1].strip()}")

    untaken = [(file, place[0]) for file in branches for place, count in branches[file].items() if count == 0]
    texts = {(file, source[file][number - 1].strip()) for file, number in untaken}
    entries = list(known(path))
    unknown = sorted(text for text in texts if not any(covers(entry, *text) for entry in entries))
    gone = [entry for entry in entries if not any(covers(entry, *text) for text in texts)]
    for file, text in unknown:
        print(f"{file}: {text}")
    for entry in gone:
        print(f"[{entry.kind}] {entry.file}: {entry.text}: has no such branch any more")
    print(f"Lines not run: {len(not_run)}; branches not taken: {len(untaken)}, in {len(texts)} lines, of which {len(unknown)} "
          f"are not listed; {len(gone)} of the list are none any more")
    return 1 if unknown or gone or not_run else 0


if __name__ == "__main__":
    sys.exit(main())
