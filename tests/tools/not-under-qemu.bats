# What script/test-arm64 leaves out of the unit tests is told by names, and a test can be renamed.

# Every unit test that there is, one a line; all programs tell theirs on one private machine.
list_tests() {
    local build=build/${QDN_BUILD:-dev}
    [ -d "$build/tests/unit" ] || build=build/dev # the program was built without them
    # shellcheck disable=SC2016 # for the inner shell
    find "$build/tests" -type f -name 'unit_*' -executable -exec tests/support/private-machine bash -ec '
        for program; do "$program" --gtest_list_tests; done' list {} + |
        awk '/^[^ ]/ { suite = $1 } /^ / { print suite $1 }'
}

# The lines of a list that no test is named by.
stale_lines() {
    python3 -c '
import fnmatch, sys
tests = open(sys.argv[1]).read().split()
for line in open(sys.argv[2]).read().splitlines():
    if line and line[0] != "#" and not fnmatch.filter(tests, line): print(line)' "$BATS_FILE_TMPDIR/tests" "$1"
}

setup_file() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    list_tests >"$BATS_FILE_TMPDIR/tests"
    [ "$(wc -l <"$BATS_FILE_TMPDIR/tests")" -gt 1000 ]
}

setup() { cd "$BATS_TEST_DIRNAME/../.." || exit; }

@test "every line of what is left out under qemu names a unit test" {
    run stale_lines tests/unit/not-under-qemu
    echo "$output"
    [ "$status" -eq 0 ]
    [ "$output" = "" ]
}

@test "a line that names no test any more is found out" {
    { cat tests/unit/not-under-qemu && printf '%s\n' 'DirRemove.FollowsALink' 'AgentStarted.*' 'Faults.*'; } >"$BATS_TEST_TMPDIR/list"
    [ "$(stale_lines "$BATS_TEST_TMPDIR/list")" = "DirRemove.FollowsALink
AgentStarted.*" ]
}
