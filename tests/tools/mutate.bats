# The choice of mutants, and what becomes of them, with tests that are stand-ins.

root=$BATS_TEST_DIRNAME/../..

list() { "$root/script/mutate" --list --seed 7 --sample "$@" >"$BATS_TEST_TMPDIR/list"; }

# Runs the lines of standard input with the parts of script/mutate, a journal of their own and one mutant.
with_parts() {
    cat >"$BATS_TEST_TMPDIR/lines" <<END
import importlib.machinery, importlib.util, os, signal, types
here = "$BATS_TEST_TMPDIR"
loader = importlib.machinery.SourceFileLoader("mutate", "$root/script/mutate")
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
loader.exec_module(mutate)
trial = mutate.trial
mutate.JOURNAL, mutate.last_commit = here + "/journal", lambda: "0123456789"
mutant = mutate.mistakes.Mutant("run/Marks.cpp", 1, "constant", "true", "false", 0)
END
    cat >>"$BATS_TEST_TMPDIR/lines"
    python3 -B "$BATS_TEST_TMPDIR/lines"
}

@test "a seed chooses the same mutants again" {
    list 20
    cp "$BATS_TEST_TMPDIR/list" "$BATS_TEST_TMPDIR/first"
    list 20
    cmp "$BATS_TEST_TMPDIR/first" "$BATS_TEST_TMPDIR/list"
    [ "$(grep -c '^    - ' "$BATS_TEST_TMPDIR/list")" -eq 20 ]
}

@test "a sample is continued where it ended" {
    list 20
    tail -n 30 "$BATS_TEST_TMPDIR/list" >"$BATS_TEST_TMPDIR/second-half"
    list 10 --from 10
    tail -n +2 "$BATS_TEST_TMPDIR/list" | cmp "$BATS_TEST_TMPDIR/second-half" -
}

@test "a mutant keeps its place among the others whatever other files have" {
    list 0 --only run/TrustedFile.cpp
    tail -n +2 "$BATS_TEST_TMPDIR/list" >"$BATS_TEST_TMPDIR/alone"
    list 0
    grep -A2 '^run/TrustedFile.cpp:' --no-group-separator "$BATS_TEST_TMPDIR/list" | cmp "$BATS_TEST_TMPDIR/alone" -
}

@test "every mutant differs from the line as it is, and that line is in the file" {
    list 0 --only run/TrustedFile.cpp
    [ "$(grep -c '^    - ' "$BATS_TEST_TMPDIR/list")" -gt 20 ]
    while IFS= read -r before && IFS= read -r after; do
        [ "${before#    - }" != "${after#    + }" ]
        grep -qF -e "${before#    - }" "$root/run/TrustedFile.cpp"
    done < <(grep '^    [-+] ' "$BATS_TEST_TMPDIR/list")
}

@test "comments and contracts of the compiler are left alone" {
    list 0
    run grep -E '^    - (//|#|static_assert)' "$BATS_TEST_TMPDIR/list"
    [ "$status" -eq 1 ]
}

@test "every folder of the program and the scripts that ship have mutants" {
    list 0
    source "$root/script/common.bash"
    for folder in "${folders[@]}" packaging integration/qdn-env; do
        grep -q "^${folder}[/:]" "$BATS_TEST_TMPDIR/list" || { echo "none in $folder"; return 1; }
    done
}

@test "scripts are not tried where only the unit tests are" {
    list 300 --scripts --units-only
    [ "$(grep -cE '^[a-z/A-Z0-9_]+\.(cpp|h):[0-9]+: ' "$BATS_TEST_TMPDIR/list")" -eq "$(grep -c '^    - ' "$BATS_TEST_TMPDIR/list")" ]
    list 300
    [ "$(grep -c '^    - ' "$BATS_TEST_TMPDIR/list")" -eq 300 ]
    grep -qE '^(package|packaging|integration)/[^.]*:[0-9]+: ' "$BATS_TEST_TMPDIR/list"
}

@test "the scripts that ship are tried beside the sample" {
    list 20 --scripts
    cp "$BATS_TEST_TMPDIR/list" "$BATS_TEST_TMPDIR/beside"
    list 20
    head -n 61 "$BATS_TEST_TMPDIR/beside" | tail -n 60 >"$BATS_TEST_TMPDIR/sample"
    tail -n +2 "$BATS_TEST_TMPDIR/list" | cmp "$BATS_TEST_TMPDIR/sample" -
    list 0
    for file in integration/qdn-env "$root"/pack{age/{etc/rcscript.proto.*,lib/*},aging/{deb/p*,rpm/p*,scriptlet-functions}}; do
        file=${file#"$root/"}
        all=$(grep -c "^$file:" "$BATS_TEST_TMPDIR/list")
        [ "$(grep -c "^$file:" "$BATS_TEST_TMPDIR/beside")" -eq "$all" ] || { echo "$file"; return 1; }
    done
    [ "$(tail -n +62 "$BATS_TEST_TMPDIR/beside" | grep -cE '^[a-z/A-Z0-9]+\.(cpp|h):[0-9]+: ')" -eq 0 ]
}

@test "each kind of mistake is made as it should be" {
    with_parts <<'END'
import mistakes
def of(line, kinds=mistakes.CPP):
    return [(kind, after) for kind, mutate_line in kinds for after in mutate_line(line)]
def expect(line, *mutants, kinds=mistakes.CPP):
    assert of(line, kinds) == list(mutants), (line, of(line, kinds))
expect("    {A, B}, {C, D},", ("table row", "    {C, D},"), ("table row", "    {A, B}, "))
expect("    {A, B}, {C, D}};", ("table row", "    {C, D}};"), ("table row", "    {A, B}, };"))
expect('    L"a", L"b",', ("table row", '    L"b",'), ("table row", '    L"a", '))
expect('    Tell("a b", \'"\', "c\\n");', ("constant", '    Tell("a ", \'"\', "c\\n");'), ("deleted call", "    ;"))
expect("    Make(path, 0600);", ("constant", "    Make(path, 0400);"), ("deleted call", "    ;"),
       ("swapped arguments", "    Make(0600, path);"))
expect("Result Find(int way) {", ("early return", "Result Find(int way) { return {};"))
expect("void Place::Clear() const {", ("early return", "void Place::Clear() const { return;"))
expect("const String& Place::Name() const {")
expect("    for (const Row& row : kRows) {", ("never done", "    for (const Row& row : kRows) { continue;"))
expect("    if (const auto found = Find(); !found) {",
       ("negation", "    if (const auto found = Find(); found) {"), ("never done", "    if (const auto found = Find(); false) {"))
expect("    switch (kind) {")
expect("    while (true) {", ("negation", "    while (!(true)) {"), ("constant", "    while (false) {"),
       ("never done", "    while (false) {"))
def shell(line, *mutants):
    expect(line, *mutants, kinds=mistakes.SHELL)
shell("    prepare", ("deleted command", "    :"))
shell("    rm -f \"$file\"", ("deleted command", "    :"))
shell("    start) start_agent ;;", ("case arm", "    never-so) start_agent ;;"))
shell("    install | upgrade)", ("case arm", "    never-so)"))
for line in ("    case $1 in", "    esac", "    fi", "    done", "    tell \"a\" \\"):
    shell(line)
END
}

@test "headers have mutants, too" {
    list 0 --only run/Keys.h
    grep -q '^run/Keys.h:' "$BATS_TEST_TMPDIR/list"
}

@test "the list of equivalent mutants has nothing that is no mutant" {
    git clone -q "$root" "$BATS_TEST_TMPDIR/tree"
    printf '\nrun/Marks.cpp\nreturn one;\nreturn two;\nNobody can tell.\n' >>"$BATS_TEST_TMPDIR/tree/tests/mutants/equivalent"
    run "$BATS_TEST_TMPDIR/tree/script/mutate" --list
    [ "$status" -eq 1 ]
    [ "$output" = "tests/mutants/equivalent: no mutant any more: run/Marks.cpp: return one;: return two;" ]
}

@test "what the journal has is tried again where that tells something new" {
    with_parts <<'END'
def is_tried(line, **options):
    with open(mutate.JOURNAL, "w") as journal:
        print(f"{mutant.file} {mutate.digest(mutant)} {line}", file=journal)
    options = {"resume": True, "again": False, "units_only": False, "at_least": 0, **options}
    return mutate.Campaign([mutant], types.SimpleNamespace(**options)).next()
for line in ("noticed unit_run", "noticed unit_run fedcba9876", "uncompiled - fedcba9876"):
    assert is_tried(line) is None, line
for line in ("uncompiled -", "unbuilt - 0123456789"):
    assert is_tried(line) == (mutant, "-"), line
assert is_tried("survives -") == is_tried("survives - 0123456789") == (mutant, "-")
assert is_tried("survives -", units_only=True) is None
assert is_tried("noticed unit_run", again=True) == (mutant, "unit_run")
assert is_tried("noticed script/test-hosts rpm dpkg fedcba9876", again=True) == (mutant, "script/test-hosts rpm dpkg")
assert is_tried("noticed unit_run 0123456789", again=True) is None
assert is_tried("noticed unit_run", resume=False) == (mutant, "-")
END
}

@test "an outcome is noted with the commit, but not once the campaign is being ended" {
    with_parts <<'END'
options = types.SimpleNamespace(resume=True, again=False, units_only=False, at_least=0)
campaign = mutate.Campaign([], options)
campaign.note(mutant, "noticed", "unit_run")
trial.os = types.SimpleNamespace(_exit=lambda status: None)
trial.end_all(signal.SIGTERM, None)
campaign.note(mutant, "noticed", "unit_status")
expected = f"run/Marks.cpp {mutate.digest(mutant)} noticed unit_run 0123456789\n"
assert open(mutate.JOURNAL).read() == expected, open(mutate.JOURNAL).read()
assert campaign.tried() == 1
END
}

@test "only wrong code counts as not compiled" {
    with_parts <<'END'
os.environ["PATH"] = here + "/bin:" + os.environ["PATH"]
os.mkdir(here + "/bin")
tree = types.SimpleNamespace(build_path=here)
def outcome_of(says, status):
    with open(here + "/bin/ninja", "w") as ninja:
        print(f"#!/bin/sh\necho '{says}'\nexit {status}", file=ninja)
    os.chmod(here + "/bin/ninja", 0o755)
    return trial.Tree.build(tree, "unit_run")
assert outcome_of("run/Marks.cpp:3:7: warning: odd", 0) is None
assert outcome_of("run/Marks.cpp:3:7: error: odd", 1) == "uncompiled"
assert outcome_of("ld.lld: error: undefined symbol: Odd()", 1) == "uncompiled"
assert outcome_of("c++: fatal error: Killed signal terminated program cc1plus", 1) == "unbuilt"
assert outcome_of("ld.lld: error: failed to write output: No space left on device", 1) == "unbuilt"
END
}

@test "a test has to fail twice, and the one that noticed before is asked first" {
    with_parts <<'END'
SLOW = trial.SLOW
asked = []
def outcome_of(path, first, failures):
    """The outcome where only these tests fail, each as often as is said."""
    asked.clear()
    def show_to(test, seconds):
        asked.append(test)
        failures[test] = failures.get(test, 0) - 1
        if failures[test] < 0:
            return 0
        return "a b" if ".bats" in test else 1
    tree = types.SimpleNamespace(
        path=here, build=lambda *targets: None, unit_programs_for=lambda path: ["unit_run", "unit_app"],
        stories_for=lambda path: ["tests/a.bats", "tests/b.bats"], show_to=show_to)
    limits = types.SimpleNamespace(of=lambda test: 1, again=lambda test: 1)
    return trial.Trial(tree, limits, False, 1).outcome(path, first)
units = [f"{program} {chosen}" for chosen in ("-" + SLOW, SLOW) for program in ("unit_run", "unit_app")]
stories = ["tests/a.bats", "tests/b.bats"]
assert outcome_of("run/Marks.cpp", "-", {}) == ("survives", "-") and asked == units + stories
assert outcome_of("run/Marks.cpp", "-", {units[1]: 1, stories[0]: 1}) == ("survives", "-")
assert outcome_of("run/Marks.cpp", "-", {units[1]: 2}) == ("noticed", "unit_app") and asked == units[:2] + units[1:2]
assert outcome_of("run/Marks.cpp", "unit_app", {units[3]: 2}) == ("noticed", "unit_app")
assert asked == [units[1], units[3], units[3]]
assert outcome_of("run/Marks.cpp", "tests/b.bats", {stories[0]: 1, stories[0] + " a b": 1}) == ("noticed", "tests/a.bats")
assert asked == ["tests/b.bats", *units, "tests/a.bats", "tests/a.bats a b"]
assert outcome_of("run/Marks.cpp", "tests/b.bats", {stories[0]: 2}) == ("noticed", "tests/a.bats")
assert asked == ["tests/b.bats", *units, "tests/a.bats", "tests/a.bats a b", "tests/a.bats"]
with open(here + "/script", "w") as script:
    script.write("if true\n")
assert outcome_of("script", "-", {}) == ("uncompiled", "-") and asked == []
END
}

@test "a story is over when its first test has failed, or its time is up, and one of its tests can be asked alone" {
    with_parts <<'END'
def status_of(lines, seconds, chosen=""):
    with open(here + "/story.bats", "w") as story:
        print(lines, file=story)
    began = trial.time.time()
    status = trial.run_story(here + "/story.bats", seconds, chosen)
    assert trial.time.time() - began < 60
    return status
assert status_of('@test "a" { true; }\n@test "b" { true; }', 60) == 0
assert status_of('@test "a" { true; }\n@test "b" { false; }\n@test "c" { sleep 100; }', 60) == "b"
assert status_of('setup_file() { false; }\n@test "a" { true; }', 60) == "setup_file failed"
assert status_of('@test "a" { false; }\n@test "b, [c] (d)" { true; }\n@test "b" { false; }', 60, "b, [c] (d)") == 0
assert status_of('@test "a" { true; }\n@test "b, [c] (d)" { false; }', 60, "b, [c] (d)") == "b, [c] (d)"
assert not isinstance(status_of('@test "a" { false; }', 60, "setup_file failed"), str)
assert status_of('@test "a" { sleep 100; }', 1) is None
END
}
