"""The INI files of the benchmarks, and the same work done with configparser.

  ini.py make-carry KEYS LINES OLD NEW    an old client.conf and a template of so many lines each
  ini.py make-set LINES VALUES FILE       a file of so many lines, and 30 values to set in it, three of them new
  ini.py carry KEYS OLD NEW               carries the values of OLD into NEW
  ini.py set VALUES FILE                  sets the VALUES: section, key and value, with tabs between them
  ini.py entries FILE                     lists sections, keys and values, whatever the file's style
"""

import configparser
import sys

OLD_DIR = "/opt/old"
NEW_DIR = "/opt/new"
# The template has all keys but these, which a carrier has to add.
ABSENT = {"Client Transport/httppost_var_name", "SWD/swd_lowpriority", "Client Details/Description"}


def read_keys(path):
    """Rows of old section, old key in lower case, new section, new key, and whether the value is a path."""
    rows = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            old, new, is_path = line.rstrip("\n").split("\t")
            old_section, old_key = old.split("/")
            rows.append((old_section, old_key.lower(), *new.split("/"), is_path == "1"))
    return rows


def write_sections(path, sections, lines, filler="option_"):
    """Spreads each section's entries evenly between filler entries, comments and empty lines."""
    share = lines // len(sections)
    with open(path, "w", encoding="utf-8") as file:
        for section, entries in sections.items():
            file.write(f"[{section}]\n")
            step = (share - 1) // len(entries)
            entries = iter(entries)
            for number in range(share - 1):
                entry = next(entries, None) if number % step == step // 2 else None
                if entry is not None:
                    file.write(f"{entry[0]}={entry[1]}\n")
                elif number % 20 == 7:
                    file.write("\n")
                elif number % 5 == 1:
                    file.write(f"# what the option behind line {number} is good for\n")
                else:
                    file.write(f"{filler}{number:07}=the value of line {number}\n")


def make_carry(keys, lines, old, new):
    """Each old value tells its row; half of the paths lie in the old install directory."""
    old_sections = {"Configuration": [("installdir", OLD_DIR)]}
    new_sections = {"Configuration": [("installdir", NEW_DIR)]}
    for number, (old_section, old_key, new_section, new_key, is_path) in enumerate(read_keys(keys)):
        value = f"value {number} = K\u00f6ln"
        if is_path:
            value = f"{OLD_DIR if number % 2 else '/srv'}/data {number}"
        old_sections.setdefault(old_section, []).append((old_key, value))
        entry = (new_key, f"template {number}")
        present = new_sections.setdefault(new_section, [])
        if f"{new_section}/{new_key}" not in ABSENT and new_key not in dict(present):
            present.append(entry)
    write_sections(old, old_sections, int(lines))
    write_sections(new, new_sections, int(lines))


def make_set(lines, values, path):
    """Names that all of the tools take: without blanks and underscores."""
    sections = {f"Section-{number}": [] for number in range(10)}
    with open(values, "w", encoding="utf-8") as file:
        for number in range(30):
            section = f"Section-{number % 10}"
            file.write(f"{section}\tkey-{number}\tthe value that is set as number {number}\n")
            if number % 10 != 9:
                sections[section].append((f"key-{number}", "template"))
    sections["Section-9"].append(("last", "template"))
    write_sections(path, sections, int(lines), filler="option-")


def read_ini(path, fold_case=False):
    ini = configparser.ConfigParser(
        interpolation=None, strict=False, delimiters=("=",), comment_prefixes=("#", ";"), empty_lines_in_values=False
    )
    ini.optionxform = str.lower if fold_case else str
    with open(path, encoding="utf-8") as file:
        ini.read_file(line.lstrip() for line in file)
    return ini


def write_ini(ini, path):
    with open(path, "w", encoding="utf-8") as file:
        ini.write(file, space_around_delimiters=False)


def rebased(value, old_dir):
    if value == old_dir or value.startswith(old_dir + "/"):
        return NEW_DIR + value[len(old_dir) :]
    return value


def carry(keys, old, new):
    old_ini = read_ini(old, fold_case=True)
    new_ini = read_ini(new)
    old_dir = old_ini.get("Configuration", "installdir")
    for old_section, old_key, new_section, new_key, is_path in read_keys(keys):
        value = old_ini.get(old_section, old_key, fallback=None)
        if value is None:
            continue
        if not new_ini.has_section(new_section):
            new_ini.add_section(new_section)
        new_ini.set(new_section, new_key, rebased(value, old_dir) if is_path else value)
    write_ini(new_ini, new)


def set_values(values, path):
    ini = read_ini(path)
    with open(values, encoding="utf-8") as file:
        for line in file:
            ini.set(*line.rstrip("\n").split("\t"))
    write_ini(ini, path)


def entries(path):
    ini = read_ini(path)
    for section in ini.sections():
        for key, value in sorted(ini.items(section)):
            print(section, key, value, sep="\t")


if __name__ == "__main__":
    WORKS = {"make-carry": make_carry, "make-set": make_set, "carry": carry, "set": set_values, "entries": entries}
    WORKS[sys.argv[1]](*sys.argv[2:])
