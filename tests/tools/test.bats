# script/test where tests hang, in a small tree of its own: everything has its end, and what hung has failed.

setup() {
    project=$(realpath "$BATS_TEST_DIRNAME/../..")
    tree=$BATS_TEST_TMPDIR/tree
    mkdir -p "$tree"/{script,build} "$tree"/tests/{hang,scenarios,support,faults}
    cp "$project"/script/{test,common.bash} "$tree/script/"
    cp "$project"/tests/scenarios/{support,session,old-agent}.bash "$tree/tests/scenarios/"
    cp "$project/tests/support/private-machine" "$tree/tests/support/"
    cp "$project"/tests/faults/{sweep,stories.bash} "$tree/tests/faults/"
    printf '#!/bin/sh\n' >"$tree/script/build"
    chmod +x "$tree/script/build"
    cd "$tree" || return
    long=1$$ # seconds, by which what hangs is known
}

# test_file NAME <<'END': a file of the suite "hang". Its tests begin with "story", or bats would take them for this file's.
test_file() { sed 's/^story /@test /' >"tests/hang/$1.bats"; }

# run_the_suite SECONDS: with so many for each test; the whole run may take ten times as long as a file may.
run_the_suite() {
    run env -u BATS_TEST_TIMEOUT -u PRIVATE_MACHINE_SECONDS QDN_TEST_SECONDS="$1" \
        timeout --kill-after=1 $((40 * $1)) script/test hang
    echo "$output"
}

# Nothing of what sleeps for so long is there any more; a process that was killed may take a moment to go.
expect_ended() {
    # shellcheck disable=SC2016 # for the inner shell
    timeout 10 bash -c 'while pgrep -f "^sleep $0\$" >/dev/null; do sleep 0.1; done' "$1"
}

@test "a session that hangs is ended with all that it has started, and the tests after it run" {
    test_file session <<END_OF_FILE
load ../scenarios/support
story "it hangs" {
    sleep $long &
    exec sleep ${long}1
}
story "the next one" { true; }
each_test_is_a_session
END_OF_FILE
    run_the_suite 1
    [ "$status" -eq 1 ]
    [ "${lines[-1]}" = "Total: 1 passed, 1 failed" ]
    expect_ended "$long"
    expect_ended "${long}1"
}

@test "a run that is disturbed and hangs is ended" {
    cat >tests/faults/disturb.py <<END_OF_FILE
import os
os.execvp("sleep", ["sleep", "$long"])
END_OF_FILE
    mkdir -p package build/release
    printf '#!/bin/sh\n' >package/lay-down
    cp package/lay-down build/release/qdn-configure.bin
    chmod +x package/lay-down build/release/qdn-configure.bin
    # shellcheck disable=SC2016 # for the file
    test_file sweep <<<'story "it hangs" { "$BATS_TEST_DIRNAME/../faults/sweep" clean EIO; }'
    run_the_suite 1
    [ "$status" -eq 1 ]
    [ "${lines[-1]}" = "Total: 0 passed, 1 failed" ]
    expect_ended "$long"
}

@test "the setup of a file that hangs is ended, though it ignores that it is to end, and other files count" {
    test_file setup <<END_OF_FILE
setup_file() {
    trap '' TERM
    sleep $long
}
story "it never runs" { true; }
END_OF_FILE
    test_file other <<<'story "it runs" { true; }'
    run_the_suite 1
    [ "$status" -eq 1 ]
    [[ $output == *"--- tests/hang/setup.bats (status 137)"* ]]
    [ "${lines[-1]}" = "Total: 1 passed, 1 failed" ]
    expect_ended "$long"
}
