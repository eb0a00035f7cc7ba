# Every command of the documents is run: here, or by the test or CI named here.
load ../scenarios/support

documents() {
    echo "$project"/{README,CONTRIBUTING,SECURITY,docs/architecture,docs/performance,docs/platforms,docs/fleet,ansible/README}.md
}

# What is to be entered, one command a line: in backticks or indented, and beginning with something that is run. What
# is said of it may follow behind some blanks.
commands() {
    # shellcheck disable=SC2046 # several files
    {
        grep -ohE '`[^`]+`' $(documents) | tr -d '`'
        sed -n 's/^    //p' $(documents) | sed -e 's/^# //' -e 's/   .*//'
    } | grep -E '^(script/[a-z]|\.ci/|packaging/build|tests/support/private|build/dev/|bats |ninja |man |clang-format|sh |/opt[^ ]*\.bin |printf )' |
        grep -v '^[a-z]*/$' | sed 's/ *|$//' | sort -u
}

# A command, and who runs it: CI, another test, this file; or a person, where it takes long and is none of CI's.
known() {
    cat <<'END'
.ci/run|person
/opt/zorvane/kell/ksagent/bin/qdn-configure.bin -apply -yes -configure -noimode|tests/scenarios/apply.bats
/opt/zorvane/kell/ksagent/bin/qdn-configure.bin -configure -noimode|here
/opt/zorvane/kell/ksagent/bin/qdn-configure.bin -iconfigure|tests/terminal/readme.bats
/opt/zorvane/kell/ksagent/bin/qdn-configure.bin -preview -clean /opt/zorvane/kell/ksagent|here
/opt/zorvane/kell/ksagent/bin/qdn-configure.bin -status|here
bats tests/builds|script/prove
bats tests/builds/arm64.bats|script/prove
bats tests/builds/reproducible.bats|script/prove
bats tests/builds/verification.bats|script/prove
bats tests/packaging/build-packages.bats|script/test
bats tests/packaging/contents.bats|script/test
bats tests/packaging/hardening.bats|script/test
bats tests/scenarios/attributes.bats|script/test
bats tests/scenarios/failing-runs.bats|script/test
bats tests/scenarios/refusals.bats|here
build/dev/tests/unit/agents/carry/unit_agents_carry --gtest_filter='-*WhateverFails*'|script/test
build/dev/tests/unit/settings/unit_settings --gtest_filter='*PathMacros*'|script/test
clang-format -i|script/check
man ./docs/qdn-configure.8|tests/docs/pages.bats
ninja -C build/dev|script/build
ninja -C build/dev unit_agents && build/dev/tests/unit/agents/unit_agents --gtest_filter='AgentForVersion*'|script/test
packaging/build-packages|script/test-hosts
packaging/build-packages && sha256sum build/packages/*|tests/builds/verification.bats
packaging/build-packages --for arm64|person
packaging/build-repository|person
packaging/build-repository KEY|person
printf '%s\n' https://kell.example.com:8083 '' no 'rc3;rc5' '' '' '' '' '' '' '' '' '' no|tests/terminal/readme.bats
script/bench|tests/tools/bench.bats
script/bench --size 1000000 remove|person
script/bench calls|person
script/bench protection|person
script/bench release|person
script/bench carry xml|person
script/bench pieces|person
script/bench xml|person
script/build|script/test
script/build dev|script/test
script/build arm64|person
script/check|.ci/run
script/check --quick|.ci/run
script/check-includes|script/check
script/coverage|person
script/cross-root arm64|script/build
script/demo|.ci/run
script/fuzz|person
script/measure|person
script/measure --depth|person
script/measure --fetch-peers|person
script/mutate|person
script/mutate --seed 1 --sample 820 --scripts --again|person
script/mutate --seed 1 --sample 820 --scripts --resume|person
script/mutate --units-only|person
script/picture|tests/docs/architecture.bats
script/prove|person
script/prove --looks-at fuzz|tests/tools/prove.bats
script/prove test check|person
script/sanitize|person
script/sanitize --memory|script/prove
script/setup|.ci/run
script/test|.ci/run
script/test scenarios|here
script/test unit|here
script/test-arm64|script/prove
script/test-arm64 --unit s390x|script/prove
script/test-rounds|person
script/test-selinux|script/prove
script/test-faults|person
script/test-faults --all|person
script/test-faults --power|person
script/test-fleet|script/prove
script/test-fleet --repositories|script/prove
script/test-fleet 5|.ci/run
script/test-fleet 100|person
script/test-hosts|.ci/run
script/test-hosts apt dnf|script/prove
script/test-hosts cloud-init|script/prove
script/test-hosts release-rpm release-dpkg|script/prove
script/test-hosts rpm dpkg|script/prove
script/test-hosts systemd|person
script/test-hosts sysvinit systemd systemd-native|script/prove
script/test-preview|person
tests/support/private-machine bash|here
END
}

@test "every command of the documents is known here, and every one that is known is in a document" {
    diff -u --label "commands of the documents" --label "commands known here" \
        <(commands) <(known | sed 's/|[^|]*$//' | sort -u)
}

# The word by which a script shows that it runs a command.
sign_of() {
    case $1 in
        "script/build"*) echo 'script/build ' ;;
        */bin/qdn-configure.bin* | printf*) echo README.md ;;
        */unit_*) echo "'unit_\*'" ;;
        ninja*) echo 'cmake --build' ;;
        man*) echo 'man "' ;;
        *) echo "${1%% *}" ;;
    esac
}

@test "who is said to run a command calls it" {
    known | grep -v '|\(here\|person\)$' >"$desk/known"
    while IFS= read -r line; do
        runner=$project/${line##*|}
        [ -f "$runner" ] || fail "$runner is missing"
        [[ $line != bats* ]] || [ -e "$project/$(cut -d ' ' -f 2 <<<"${line%|*}")" ] || fail "${line%|*}: not there"
        grep -q -e "$(sign_of "${line%|*}")" "$runner" || fail "$runner does not call ${line%|*}"
    done <"$desk/known"
}

@test "what only people run is there and can be run" {
    known | sed -n 's/|person$//p' >"$desk/scripts"
    while read -r script _; do
        [ -x "$project/$script" ]
        if [[ $(head -n 1 "$project/$script") == *python3 ]]; then
            python3 -c 'import ast, sys; ast.parse(open(sys.argv[1]).read())' "$project/$script"
        else
            bash -n "$project/$script"
        fi
    done <"$desk/scripts"
}

# The unit tests of a folder, SUITE.NAME each.
tests_of() {
    grep -rhoE '^TEST(_F)?\([A-Za-z0-9_]+, *[A-Za-z0-9_]+' "$project/tests/unit/$1" | sed -E 's/^TEST(_F)?\(//; s/, */./'
}

@test "every filter of unit tests lets some of them through" {
    commands | sed -n "s,.*/unit_\([a-z]*\) --gtest_filter='\(.*\)'$,\1 \2,p" >"$desk/filters"
    [ -s "$desk/filters" ]
    while read -r folder filter; do
        tests_of "$folder" >"$desk/tests"
        grep -qx "${filter//\*/.*}" "$desk/tests" || fail "no test of $folder is named $filter"
    done <"$desk/filters"
}

@test "CONTRIBUTING.md describes every script, and README.md every folder" {
    for script in "$project"/script/* "$project/packaging/build-packages"; do
        [[ $script != *.bash ]] || continue
        grep -qF "\`${script#"$project"/}" "$project/CONTRIBUTING.md" || fail "$script is not told of"
    done
    for folder in "$project"/*/; do
        [ "$folder" = "$project/build/" ] || grep -q "^| .*\`$(basename "$folder")/\`" "$project/README.md" || fail "$folder is not told of"
    done
    for folder in "$project"/tests/*/; do
        grep -q "^| \`tests/\`.*\`$(basename "$folder")/\`" "$project/README.md" || fail "$folder is not told of"
    done
}

@test "the suites and stories that CONTRIBUTING.md runs are there" {
    [ "$(cd "$project" && bats --count tests/scenarios/refusals.bats)" -gt 0 ]
    [ -d "$project/tests/unit" ]
    [ -n "$(find "$project/tests/scenarios" -name '*.bats')" ]
}

# What README.md shows from a line on, without indentation, up to the next text.
block() {
    awk -v first="    $1" 'index($0, first) == 1 { inside = 1 } /^[^ ]/ { inside = 0 } inside' "$project/README.md" |
        sed 's/^    //'
}

@test "the XML file in README.md configures the agent, and the terminal shows what README.md shows" {
    under_dash_and_bash
    given_the_package
    rm /etc/redhat-release
    block "<KSAgentConfiguration>" | given_xml /tmp
    block "# $agent/bin/qdn-configure.bin -configure" | sed 1d | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}' >"$desk/document"
    qdn_configure -configure -noimode
    expect_status 0
    as_in_the_document "$desk/document" <"$desk/out" | sed '$d' | same "what the terminal shows" "$desk/document"
    "$agent/bin/rcscript" stop
}

@test "a state looks as README.md shows it" {
    under_dash_and_bash
    given_the_package
    given_plain_xml
    sed -i 's,<KSName>.*</KSName>,<KSName>https://kell.example.com:8083</KSName><Guid>0a1b2c3d-0000-1111-2222-333344445555</Guid>,' "/tmp/$xml"
    qdn_configure -configure -noimode
    expect_status 0
    "$agent/bin/rcscript" start >"$desk/started"
    chmod 0666 "$agent/etc/client.conf"
    rm /usr/bin/qdn-monitor
    block "# $agent/bin/qdn-configure.bin -status" | sed 1d | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}' >"$desk/document"
    qdn_configure -status
    expect_status 1
    "$agent/bin/rcscript" stop >"$desk/stopped"
    as_in_the_document "$desk/document" <"$desk/out" | same "what the terminal shows" "$desk/document"
}

@test "a preview looks as README.md shows it" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode
    expect_status 0
    block "# $agent/bin/qdn-configure.bin -preview" | sed 1d | sed -e :a -e '/^\n*$/{$d;N;ba' -e '}' >"$desk/document"
    qdn_configure -preview -clean "$agent"
    expect_status 0
    as_in_the_document "$desk/document" <"$desk/out" | same "what the terminal shows" "$desk/document"
}

@test "the synopsis in README.md is that of the manual page" {
    block "qdn-configure.bin -configure " | sed '/^$/d' | tr -s ' ' | sed 's/^qdn-configure.bin/qdn-configure/' >"$desk/readme"
    MANWIDTH=1000 man "$project/docs/qdn-configure.8" | col -bx | sed -n '/^SYNOPSIS/,/^DESCRIPTION/s/^ *\(qdn-configure .*\)/\1/p' |
        sed -e 's/Agent-Base-Dir\|\<file\>\|\<seconds\>\|\<command\>\|\<options\>/<&>/g' -e '/-help\|-version/d' -e 's/ *$//' | same "the synopsis" "$desk/readme"
}

each_test_is_a_session
