#!/usr/bin/env python3
"""Compares the refusals, warnings and errors that the sources can write with those that a manual page explains.

  tests/docs/messages.py PAGE DIRECTORY ...

Prints each message that no item of the page's DIAGNOSTICS explains, each item that no source writes, each item without a
cause or a remedy, and each item of a section for messages that are written in another way; ends 0 when there are none. A value in a message is "..."; an item that ends in it explains
all messages that begin as it does, unless it consists of values only.

A message is an expression with a literal that begins with "WARNING!" or "ERROR:", what is given to Messages::Warn,
Console::Err or RefuseRunningAgent, a constant that is given to Messages::Tell, or what a step fails with: what Failure
begins with, or the first argument of Fail, FailAt or FailBecause.
A constant is looked up. What stands for an empty text is a message as well. What is written after "WARNING!" is a
warning; after "ERROR:" or below such a line, and what a step fails with, is an error; the rest that goes to standard error
is a mistake on the command line, and what goes to standard output a refusal.
"""
import os
import re
import sys

LITERAL = re.compile(r'L?"((?:[^"\\]|\\.)*)"')
CALL = re.compile(r"(?<![\w.])(Messages::Warn|Warn|Console::Err|Fail|FailAt|FailBecause|FailAbout|RefuseRunningAgent)\s*\("
                  r"|\b(Failure)\{|(?<![\w.])(Messages::Tell)\((?=(?:String\()?k[A-Z])")
FALLBACK = re.compile(r'IsEmpty\(\)\s*\?[^"?:]*(?:::[^"?:]*)*"([A-Z][^"]+\.)"')
# What fails here gives the reason of the warning that a record is not converted.
REASONS = "agents/carry/StoreRecords.cpp"
# What is left of a message that consists of values.
VALUES_ONLY = {"", "WARNING!"}
# The step that asks says more than what the questionnaire fails with.
REPLACED = {"Error reading from standard input"}
# Where the page explains what these write; what the others are given says itself what it is.
SECTIONS = {"Messages::Tell": "Refusals", "RefuseRunningAgent": "Refusals", "Fail": "Errors", "FailAt": "Errors",
            "FailBecause": "Errors", "FailAbout": "Errors", "Failure": "Errors"}
# What a run begins with.
BANNER = {"Zorvane Agent for UNIX and Linux Configuration utility"}


def code_of(folders):
    for folder in folders:
        for place, _, names in os.walk(folder):
            for name in sorted(names):
                if name.endswith((".cpp", ".h")):
                    with open(os.path.join(place, name), encoding="utf-8") as file:
                        text = file.read()
                    if os.path.join(place, name).endswith(REASONS):
                        text = re.sub(r"\bFail(At|Because)?\(", "Reason(", text)
                    text = re.sub(r'("(?:[^"\\\n]|\\.)*")|//[^\n]*', lambda found: found.group(1) or "", text)
                    yield re.sub(r'(?<!\\)"\s*L?"', "", text)  # adjacent literals are one


def arguments(text, start):
    """The arguments of a call whose parenthesis opened before `start`."""
    found, depth, begin, quoted = [], 0, start, False
    at = start
    while at < len(text):
        sign = text[at]
        if quoted:
            at += sign == "\\"
            quoted = sign != '"' or text[at - 1] == "\\"
        elif sign == '"':
            quoted = True
        elif sign in "([{":
            depth += 1
        elif sign in ")]}":
            if depth == 0:
                break
            depth -= 1
        elif sign == "," and depth == 0:
            found.append(text[begin:at])
            begin = at + 1
        at += 1
    return found + [text[begin:at]]


def message_of(expression, constants):
    """The text of an expression; None when it has none of its own."""
    expression = re.sub(r"\.Arg\((?:[^()]|\([^()]*\))*\)", "", expression)
    expression = re.sub(r"\b(?:\w+::)*k[A-Z]\w*\b", lambda found: constants.get(found.group().split("::")[-1], "x"), expression)
    message, at = "", 0
    for literal in LITERAL.finditer(expression):
        if re.search(r"\w", expression[at:literal.start()].replace("String(", "")):
            message += "..."
        message += literal.group(1)
        at = literal.end()
    if at == 0:
        return None
    if re.search(r"\w", expression[at:]):
        message += "..."
    return re.sub(r"%\d", "...", message).replace('\\"', '"')


def normal(message):
    """The first line, without "ERROR:" and the values and punctuation at its ends."""
    first = message.removeprefix("ERROR: ").lstrip("\\n").split("\\n")[0]
    return re.sub(r"^[.: ]+|[.: ]+$", "", first.removeprefix("ERROR: "))


def section_of(writer, message):
    """The subsection that explains a message, given to a function."""
    if re.match(r"(\\n| )*WARNING!", message):
        return "Warnings"
    if writer in SECTIONS:
        return SECTIONS[writer]
    return "Errors" if message.startswith(("ERROR:", "  ")) else "Mistakes on the command line"


def messages_of(folders):
    """(text, subsection that explains it) of each message."""
    codes = list(code_of(folders))
    constants = {}
    for code in codes:
        for name, value in re.findall(r'\b(k[A-Z]\w*)\s*(?:\[\])?\s*=\s*(L?"(?:[^"\\]|\\.)*")\s*;', code):
            constants[name] = value
    for code in codes:
        for call in CALL.finditer(code):
            message = message_of(arguments(code, call.end())[0], constants)
            if message is not None:
                yield message, section_of(call.group(1) or call.group(2) or call.group(3), message)
        yield from ((message, "Errors") for message in FALLBACK.findall(code))
        for statement in re.split(r"[;{}]", CALL.sub("", code)):
            start = re.search(r'(?:String\()?L?"(?:WARNING!|ERROR:)', statement)
            if start:
                message = message_of(arguments(statement, start.start())[0], constants)
                yield message, section_of("Console::Err", message)


def items_of(page):
    """(text, subsection, what is said of it) of each item of DIAGNOSTICS; items one below the other are explained together."""
    with open(page, encoding="utf-8") as file:
        section = file.read().partition(".Sh DIAGNOSTICS\n")[2].partition("\n.Sh ")[0]
    for part in re.split(r"^\.Ss ", section, flags=re.M)[1:]:
        title, waiting = part.partition("\n")[0], []
        for item in re.split(r"^\.It ", part, flags=re.M)[1:]:
            head, _, text = item.partition("\n")
            text = text.partition("\n.El")[0]
            waiting.append(re.sub(r'^Li "|"$', "", head).replace('""', '"'))
            if text.strip():
                yield from ((head, title, text) for head in waiting)
                waiting = []


def main():
    page, *folders = sys.argv[1:]
    messages = {}
    for text, section in messages_of(folders):
        messages.setdefault(normal(text), set()).add(section)
    for text in REPLACED | BANNER | {""}:
        messages.pop(text, None)
    items = {item: (section, text) for item, section, text in items_of(page)}
    covered_by = {item: {text for text in messages
                         if text == normal(item) or (item.endswith("...") and normal(item) not in VALUES_ONLY
                                                       and text.startswith(normal(item)))}
                  for item in items}
    faults = [f"not in the page: {text}" for text in messages.keys() - set().union(*covered_by.values())]
    faults += [f"written by no source: {item}" for item in items if not covered_by[item]]
    faults += [f"without a cause or a remedy: {item}" for item, (_, text) in items.items()
               if not re.search(r"^[A-Z.].*\n(.*\n)*\.Em Remedy :\n\w", text)]
    for item, (section, _) in items.items():
        written = set().union(*(messages[text] for text in covered_by[item]))
        if covered_by[item] and section not in written:
            faults.append(f"stands under {section}, not {' or '.join(sorted(written))}: {item}")
    print("\n".join([f"messages: {len(messages)}, items: {len(items)}"] + sorted(faults)))
    sys.exit(1 if faults or not messages else 0)


if __name__ == "__main__":
    main()
