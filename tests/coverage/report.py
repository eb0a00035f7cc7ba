#!/usr/bin/env python3
"""Tells what the tests have run of the program, and compares the lines that none runs, and those with a branch that
none takes, with the ones that are known: report.py LINES BRANCHES KNOWN FOLDER ...

LINES and BRANCHES are what llvm-cov exports as lcov and as JSON; only files in the FOLDERs count. A branch is one
outcome, true or false, of one condition. KNOWN lists the lines that may stay so, below a line "[kind] reason" each as
"FILE: TEXT" with the text of the line. A text of the form /REGEX/, or a file "*", stands for several.

Prints a table with a line a FOLDER; the lines that are not run, and those with a branch that is not taken, that KNOWN
does not list; and what KNOWN lists although it lacks nothing any more. Ends 0 when there are none of the three.
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

    def texts(places):
        """Each (file, text) with a number of its line; brackets alone say nothing."""
        found = {(file, source[file][number - 1].strip()): number for file, number in places}
        return {text: number for text, number in found.items() if re.search(r"\w", text[1])}

    not_run = texts((file, number) for file in lines for number, count in lines[file].items() if count == 0)
    untaken = texts((file, place[0]) for file in branches for place, count in branches[file].items() if count == 0)
    entries = list(known(path))
    unknown = [{text: number for text, number in found.items() if not any(covers(entry, *text) for entry in entries)}
               for found in (not_run, untaken)]
    gone = [entry for entry in entries if not any(covers(entry, *text) for text in (*not_run, *untaken))]
    for (file, text), number in unknown[0].items():
        print(f"not run: {file}:{number}: {text}")
    for file, text in sorted(unknown[1]):
        print(f"{file}: {text}")
    for entry in gone:
        print(f"[{entry.kind}] {entry.file}: {entry.text}: lacks nothing any more")
    print(f"Lines not run: {len(not_run)}, of which {len(unknown[0])} are not listed; with branches not taken: {len(untaken)}, "
          f"of which {len(unknown[1])} are not listed; {len(gone)} of the list lack nothing any more")
    return 1 if any(unknown) or gone else 0


if __name__ == "__main__":
    sys.exit(main())
