"""The small mistakes that script/mutate makes in a tree, and their order."""
import collections
import hashlib
import os
import re

# before and after: the whole line. occurrence: how many mutants with the same file, before and after come earlier in it.
Mutant = collections.namedtuple("Mutant", "file line kind before after occurrence")

SHIPPED_SCRIPTS = ["integration/qdn-env", "package/etc/rcscript.proto.linux", "package/etc/rcscript.proto.suse",
                   "package/etc/rcscript.proto.unix", "package/lib/service-functions", "packaging/scriptlet-functions",
                   "packaging/deb/postinst", "packaging/deb/preinst", "packaging/deb/prerm", "packaging/rpm/post",
                   "packaging/rpm/pre", "packaging/rpm/preun", "packaging/rpm/posttrans"]


# --- Each kind of mistake finds its places in a line of code and gives the line with the mistake.

def replace_each(pattern, replacement):
    """A mistake at each match of the pattern; the replacement is a function of the match."""
    def mutate(line):
        for match in re.finditer(pattern, line):
            changed = replacement(match)
            if changed is not None and changed != match.group(0):
                yield line[:match.start()] + changed + line[match.end():]
    return mutate


def early_return(line):
    """Behind the first line of a function that returns a value or nothing, but no constructor."""
    match = re.match(r"^\s*(?:(?:static|inline|constexpr|virtual|friend) )*(?!return\b|else\b|explicit\b)(\w[^()=]*[^()=&]) "
                     r"(?!if\b|for\b|while\b|switch\b)[\w:]+\(.*\)(?: const| noexcept| override)* \{$", line)
    if match:
        yield line + (" return;" if match.group(1) == "void" else " return {};")


LITERAL = r'(?:L?"(?:[^"\\]|\\.)*")'
ROW = r"(?:\{[^{}]*\}|" + LITERAL + ")"


def table_row(line):
    """Each row of a line that has nothing but rows, and perhaps the end of the table."""
    if re.fullmatch(rf"\s+(?:{ROW}, *)*{ROW}(?:,|\}};)", line):
        yield from replace_each(ROW + r"(?:, *|(?=\};))", lambda m: "")(line)


COMPARISONS = {"==": "!=", "!=": "==", "<=": "<", ">=": ">", "<": "<=", ">": ">="}

CPP = [
    ("comparison", replace_each(r"(?<= )(==|!=|<=|>=|<|>)(?= )", lambda m: COMPARISONS[m.group(1)])),
    ("negation", replace_each(r"(?<=[( ])!(?=[\w(])", lambda m: "")),
    ("negation", replace_each(r"\b(if|while) \((?!const |auto |int |!)([^;{}]+)\)(?= [\w{])",
                              lambda m: f"{m.group(1)} (!({m.group(2)}))")),
    ("condition", replace_each(r"(?<= )(&&|\|\|)(?= )", lambda m: "||" if m.group(1) == "&&" else "&&")),
    ("boundary", replace_each(r"(?<=[ (\[,])(0|[1-9]\d*)(?=[ ),;\]U])", lambda m: str(int(m.group(1)) + 1))),
    ("constant", replace_each(r"\b(true|false)\b", lambda m: "false" if m.group(1) == "true" else "true")),
    ("constant", replace_each(r"(?<!\d)'(?:[^'\\]|\\.)+'|(?<!R)" + LITERAL,
                              lambda m: re.sub(r'^(L?"[^"\\]+)[^"\\]"$', r'\1"', m.group(0)))),
    ("constant", replace_each(r"\b0([0-7]{3})\b", lambda m: "0" + str(int(m.group(1)[0]) ^ 2) + m.group(1)[1:])),
    ("arithmetic", replace_each(r"(?<=\w )([+-])(?= \w)", lambda m: "-" if m.group(1) == "+" else "+")),
    ("deleted call", replace_each(r"^(\s+)(?!return\b|throw\b)[\w:.>()-]+\([^{}]*\);$", lambda m: m.group(1) + ";")),
    ("deleted assignment", replace_each(r"^(\s+)m_\w+ \S?= [^{}]*;$", lambda m: m.group(1) + ";")),
    ("swapped arguments", replace_each(r"\b(\w+)\((\w+(?:\(\))?), (\w+(?:\(\))?)\)",
                                       lambda m: f"{m.group(1)}({m.group(3)}, {m.group(2)})")),
    ("never done", replace_each(r"^(\s+)(if|while) \((?:(.*; )|(?!const |auto )).*\{$",
                                lambda m: f"{m.group(1)}{m.group(2)} ({m.group(3) or ''}false) {{")),
    ("never done", replace_each(r"^\s+for \(.*\{$", lambda m: m.group(0) + " continue;")),
    ("early return", early_return),
    ("returned value", replace_each(r"\breturn Result\((\w+)\);", lambda m: "return Result();")),
    ("table row", table_row),
]

SHELL = [
    ("deleted command", replace_each(r"^(\s*)(?!(?:case|do|done|else|esac|fi|then)\b)[a-z_]+(?: [^|&;(){}]*)?(?<!\\)$",
                                     lambda m: m.group(1) + ":")),
    ("case arm", replace_each(r"^(\s+)[^()]+\)(?= .*;;$|$)", lambda m: m.group(1) + "never-so)")),
    ("condition", replace_each(r"(?<= )(&&|\|\|)(?= )", lambda m: "||" if m.group(1) == "&&" else "&&")),
    ("negation", replace_each(r"\b(if|while) (?!!)", lambda m: m.group(0) + "! ")),
    ("negation", replace_each(r"(?<= \[ )(-[a-z]) ", lambda m: f"! {m.group(1)} ")),
    ("comparison", replace_each(r"(?<= )(!=|=)(?= )", lambda m: "=" if m.group(1) == "!=" else "!=")),
    ("constant", replace_each(r"\b(exit|return) (\d)", lambda m: f"{m.group(1)} {1 - min(int(m.group(2)), 1)}")),
]


def is_code(line, is_cpp):
    """False for comments, directives and contracts that the compiler checks."""
    text = line.strip()
    if not is_cpp:
        return bool(text) and not text.startswith("#")
    return bool(text) and not text.startswith(("//", "#", "static_assert", "namespace", "using ", "template"))


def is_compiled(path):
    return path.endswith((".cpp", ".h"))


def mutants_of(tree, path):
    is_cpp = is_compiled(path)
    seen = collections.Counter()
    for number, line in enumerate(open(os.path.join(tree, path)).read().split("\n"), 1):
        if not is_code(line, is_cpp):
            continue
        code, comment, remark = line.partition("  // ") if is_cpp else (line, "", "")
        for kind, mutate in CPP if is_cpp else SHELL:
            for changed in mutate(code):
                after = changed + comment + remark
                text = line.strip(), after.strip()
                yield Mutant(path, number, kind, line, after, seen[text])
                seen[text] += 1


def sources(tree):
    """The program's sources and the scripts that ship."""
    for line in open(os.path.join(tree, "script/common.bash")):
        if line.startswith("folders=("):
            for folder in line[len("folders=("):].rstrip(")\n").split():
                for where, _, names in os.walk(os.path.join(tree, folder)):
                    yield from (os.path.relpath(os.path.join(where, name), tree) for name in names if is_compiled(name))
    yield from SHIPPED_SCRIPTS


def in_order(seed, mutants):
    """A random order in which a mutant keeps its place among the others when other lines change."""
    def place(mutant):
        what = [str(seed), mutant.file, mutant.before.strip(), mutant.after.strip(), str(mutant.occurrence)]
        return hashlib.sha256("\0".join(what).encode()).digest()
    return sorted(mutants, key=place)
