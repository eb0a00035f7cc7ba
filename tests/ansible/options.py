#!/usr/bin/env python3
"""Compares what the collection offers with what the program reads: settings, choices, documents, and the role's variables.

    options.py COLLECTION PROJECT

Prints each difference and ends with 1 when there is any.
"""
import importlib.util
import re
import sys
from pathlib import Path

import yaml

collection, project = (Path(argument) for argument in sys.argv[1:])
found = []


def expect(text, left, right):
    """Two equal sets of names, or of rows."""
    left, right = set(left), set(right)
    if left != right:
        found.append(f"{text}: only here {sorted(left - right, key=str)}, only there {sorted(right - left, key=str)}")


def load(name):
    spec = importlib.util.spec_from_file_location(name, collection / "plugins/module_utils" / f"{name}.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module


def constants(text):
    return dict(re.findall(r'constexpr const wchar_t\* (k\w+) = L"(\w+)";', text))


def table():
    """The rows of the program's table: part, parent, name, kind of value."""
    text = (project / "settings/XmlFormat.h").read_text()
    names = constants(text)
    rows = re.findall(r'(?:Part|Setting)\(k(Element|Attribute), (\w+|L"\w*"), (\w+|L"\w+"), XmlValue::(\w+)\)', text)

    def name(word):
        return word[2:-1] if word.startswith("L") else names[word]

    return [(part, name(parent), name(item), value) for part, parent, item, value in rows]


settings = load("settings")
document = yaml.safe_load(re.search(r"DOCUMENTATION = r'''(.*?)'''",
                                    (collection / "plugins/modules/configure.py").read_text(), re.S).group(1))
role = yaml.safe_load((collection / "roles/agent/meta/argument_specs.yml").read_text())["argument_specs"]["main"]["options"]
task = yaml.safe_load((collection / "roles/agent/tasks/configure.yml").read_text())[0]["zorvane.kell_agent.configure"]
rows = [row for row in table() if row[3] != "None"]
if len(rows) < 30:
    found.append(f"the program's table was not understood: {len(rows)} rows")

# The install directory goes with the command; extra settings are a list of their own.
read = {(part, parent, name) for part, parent, name, _ in rows
        if name != "InstallDir" and parent != "Setting"}
offered = {("Attribute" if setting.attribute else "Element", setting.place, setting.name)
           for setting in settings.OPTIONS.values()}
expect("settings of the module and of the program", offered, read)
expect("parts of an extra setting", settings.EXTRA_PARTS.values(), [row[2] for row in rows if row[1] == "Setting"])

# Yes or no, numbers and words, by the kind of value that the program takes.
kinds = {"YesNo": "bool", "ExactYesNo": "bool", "Upgrade": "bool", "Port": "int", "Kilobytes": "int", "RunLevels": "levels"}
expected = {name: kinds[value] for _, _, name, value in rows if value in kinds}
expect("settings that are not texts", ((s.name, s.kind) for s in settings.OPTIONS.values() if s.kind in kinds.values()),
       expected.items())

# The words that a setting can have stand in the schema.
schema = (project / "docs/qdn-agent-install-config.xsd").read_text()
for option, setting in settings.OPTIONS.items():
    for word in setting.choices or []:
        pattern = "".join(f"[{c.upper()}{c.lower()}]" if c.isalpha() else c for c in word)
        if word not in schema and word.lower() not in schema and pattern not in schema:
            found.append(f"{option}: {word} is no word of the schema")

spec = settings.argument_spec()
own = {"state", "directory", "wait"}
expect("options of the module and of its document", document["options"], set(spec) | own)
for option in spec:
    described, specified = document["options"][option], spec[option]
    for field in ("type", "choices", "elements"):
        if described.get(field) != specified.get(field):
            found.append(f"{option}: {field} is {specified.get(field)}, described as {described.get(field)}")
    in_role = role["agent_settings"]["options"].get(option, {})
    for field in ("type", "choices", "elements"):
        if in_role.get(field) != specified.get(field):
            found.append(f"{option}: {field} is {specified.get(field)}, in the role {in_role.get(field)}")
expect("options of the role's settings", role["agent_settings"]["options"], spec)
expect("options that the role hands over", task, set(spec) | own)
for option in spec:
    if f"agent_settings.{option} " not in str(task.get(option)):
        found.append(f"{option}: the role hands over {task.get(option)}")
expect("defaults of the role and its variables",
       yaml.safe_load((collection / "roles/agent/defaults/main.yml").read_text()), role)

print("\n".join(found))
sys.exit(bool(found))
