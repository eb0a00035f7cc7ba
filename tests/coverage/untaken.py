#!/usr/bin/env python3
"""Compares the branches that no test takes with those that are known, and counts lines that none runs:
untaken.py REPORT KNOWN

REPORT is what gcovr measured, as JSON, and KNOWN the list of those that may stay untaken: below a line "[kind] reason"
the lines that have such branches, each as "FILE: TEXT" with the text of the line. A text of the form /REGEX/, or a
file "*", stands for several. Prints, in the form of the list, the lines that are not in it, and those in it that have
no such branch any more; ends 0 when there are neither, and every line is run.
"""
import collections
import json
import re
import sys

Entry = collections.namedtuple("Entry", "kind file text")


def untaken(report):
    """(file, text) of each line with a branch that was not taken, how many of these there are, and how many lines were
    not run."""
    lines, number, not_run = set(), 0, 0
    for file in json.load(open(report))["files"]:
        source = open(file["file"]).read().split("\n")
        for line in file["lines"]:
            not_run += line["count"] == 0 and not line["gcovr/noncode"]
            count = sum(branch["count"] == 0 for branch in line["branches"])
            if count:
                number += count
                lines.add((file["file"], source[line["line_number"] - 1].strip()))
    return lines, number, not_run


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


def main():
    report, path = sys.argv[1:]
    lines, number, not_run = untaken(report)
    entries = list(known(path))
    unknown = sorted(line for line in lines if not any(covers(entry, *line) for entry in entries))
    gone = [entry for entry in entries if not any(covers(entry, *line) for line in lines)]
    for file, text in unknown:
        print(f"{file}: {text}")
    for entry in gone:
        print(f"[{entry.kind}] {entry.file}: {entry.text}: has no such branch any more")
    print(f"Lines not run: {not_run}; branches not taken: {number}, in {len(lines)} lines, of which {len(unknown)} are "
          f"not listed; {len(gone)} of the list are none any more")
    return 1 if unknown or gone or not_run else 0


if __name__ == "__main__":
    sys.exit(main())
