# What makes a session of each test of a story, tests/scenarios/support.bash.

# run_stories: runs the stories of standard input; they begin with "story", or bats would take them for this file's.
run_stories() {
    { echo "load $BATS_TEST_DIRNAME/../scenarios/support" && sed 's/^story /@test /' && echo each_test_is_a_session; } \
        >"$BATS_TEST_TMPDIR/stories.bats"
    run bats "$BATS_TEST_TMPDIR/stories.bats"
    echo "$output"
}

@test "a story that says so is told under dash and then under bash, and which of them it failed under" {
    run_stories <<'END'
story "neither" {
    under_dash_and_bash
    [ "$(readlink -f /bin/sh)" = /usr/bin/dash ]
}
story "not even the first" {
    under_dash_and_bash
    [ "$(readlink -f /bin/sh)" = /usr/bin/bash ]
}
story "both" { under_dash_and_bash; }
story "once" { [ -z "$SESSION_SHELL" ]; }
END
    [ "$status" -eq 1 ]
    [ "$(grep -E '^(not )?ok' <<<"$output")" = "not ok 1 neither
not ok 2 not even the first
ok 3 both
ok 4 once" ]
    [ "$(grep '/bin/sh$' <<<"$output")" = "# with bash as /bin/sh
# with dash as /bin/sh" ]
}
