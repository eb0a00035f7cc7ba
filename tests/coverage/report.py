#!/usr/bin/env python3
"""Tells what the tests have run of the program, and compares the lines that none runs, and the branches that none takes,
with the ones that are known: report.py LINES BRANCHES KNOWN FOLDER ...

LINES and BRANCHES are what llvm-cov exports as lcov and as JSON; only files in the FOLDERs count. A branch is one
outcome, true or false, of one condition. KNOWN lists what may stay so, below a line "[kind] reason" each: "FILE: TEXT is
never run" with the text of a line, or "FILE: TEXT is never true", or "false", with the text of a condition, to which
" in " and the text of its line are added where it stands at several places. What follows "FILE: " may be /REGEX/, for
several.

Prints a table with a line a FOLDER; what KNOWN does not list; and what KNOWN lists although it lacks nothing any more.
Ends 0 when there is none of either.
"""
import collections
import json
import os
import re
import sys

Entry = collections.namedtuple("Entry", "kind file text")


def folder_of(file):
    return file.split("/")[0]


def measured_lines(path, folders):
    """Of each file, how often each line was run."""
    lines = collections.defaultdict(dict)
    for row in open(path):
        kind, _, value = row.rstrip("\n").partition(":")
        if kind == "SF":
            file = os.path.relpath(value)
        elif kind == "DA" and folder_of(file) in folders:
            number, count = value.split(",")[:2]
            lines[file][int(number)] = int(count)
    return lines


def measured_branches(path, folders):
    """Of each file, how often each outcome of a condition was seen, by its place and outcome. The functions that are
    made from one template count as one."""
    branches = collections.defaultdict(collections.Counter)
    for entry in json.load(open(path))["data"][0]["files"]:
        file = os.path.relpath(entry["filename"])
        if folder_of(file) not in folders:
            continue
        for line, column, last_line, last_column, if_true, if_false, *_ in entry["branches"]:
            for outcome, count in ((True, if_true), (False, if_false)):
                branches[file][line, column, last_line, last_column, outcome] += count
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


def text_of(source, line, column, last_line, last_column):
    """What stands there, in one line."""
    rows = source[line - 1:last_line]
    rows[-1] = rows[-1][:last_column - 1]
    rows[0] = rows[0][column - 1:]
    return " ".join(row.strip() for row in rows)


def never_taken(counts, source):
    """The branches of a file that none takes: line, condition and outcome. A condition whose text stands at several places is
    told with its line."""
    places = {tuple(place) for *place, _ in counts}
    often = collections.Counter(text_of(source, *place) for place in places)
    for (*place, outcome), count in counts.items():
        if count == 0:
            text = text_of(source, *place)
            yield place[0], text if often[text] == 1 else f"{text} in {source[place[0] - 1].strip()}", outcome


def share(counts):
    """How many are not 0. The share is cut, not rounded: one that is rounded up to 100 % would hide a line."""
    seen = sum(count > 0 for count in counts)
    return f"{seen:6} of {len(counts):6}  {10000 * seen // max(len(counts), 1) / 100:6.2f} %"


def print_table(folders, lines, branches):
    print("folder             lines run                   branches taken")
    for folder in [*folders, "all"]:
        files = [file for file in lines if folder in ("all", folder_of(file))]
        cells = [share([count for file in files for count in of[file].values()]) for of in (lines, branches)]
        print(f"{folder:12} {cells[0]}   {cells[1]}")


def main():
    line_report, branch_report, path, *folders = sys.argv[1:]
    lines, branches = measured_lines(line_report, folders), measured_branches(branch_report, folders)
    print_table(folders, lines, branches)
    source = {file: open(file).read().split("\n") for file in lines}

    # Brackets alone say nothing.
    not_run = {(file, source[file][number - 1].strip() + " is never run"): number
               for file in lines for number, count in lines[file].items()
               if count == 0 and re.search(r"\w", source[file][number - 1])}
    untaken = {(file, f"{name} is never {str(outcome).lower()}"): line
               for file in branches for line, name, outcome in never_taken(branches[file], source[file])}
    entries = list(known(path))
    found = not_run | untaken
    unknown = [(file, number, text) for (file, text), number in found.items()
               if not any(covers(entry, file, text) for entry in entries)]
    gone = [entry for entry in entries if not any(covers(entry, *text) for text in found)]
    for file, number, text in sorted(unknown):
        print(f"{file}:{number}: {text}")
    for entry in gone:
        print(f"[{entry.kind}] {entry.file}: {entry.text}: lacks nothing any more")
    print(f"Lines not run: {len(not_run)}, branches not taken: {len(untaken)}; {len(unknown)} of these are not listed, "
          f"{len(gone)} of the list lack nothing any more")
    return 1 if unknown or gone else 0


if __name__ == "__main__":
    sys.exit(main())
