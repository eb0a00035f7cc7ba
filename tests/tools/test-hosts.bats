# How script/test-hosts counts what bats told of a host.

setup() {
    # shellcheck source=/dev/null
    source <(sed -n '/^rows_of() {/,/^}/p' "$BATS_TEST_DIRNAME/../../script/test-hosts")
    results=$BATS_TEST_TMPDIR
}

# expect_rows TOLD <<END
expect_rows() {
    echo "$1" >"$results/rpm"
    rows_of rpm | sed 's/  */ /g; s/ $//' >"$results/rows"
    diff -u "$results/rows" -
}

@test "a test that passed has passed, one that failed or was skipped has failed" {
    expect_rows "1..5
ok 1 the agent is installed in 1500ms
not ok 2 it is upgraded in 20ms
# why
ok 3 it is erased in 5ms # skip
ok 4 it is purged in 7ms # skip there is no dpkg in 5ms
ok 5 a word such as # skip is none in 30ms" <<END
rpm the agent is installed passed 1.5
rpm it is upgraded FAILED 0.0
rpm it is erased FAILED 0.0
rpm it is purged FAILED 0.0
rpm a word such as # skip is none passed 0.0
END
}

@test "a host that ended before its last test has failed" {
    expect_rows "1..2
ok 1 the agent is installed in 1500ms" <<END
rpm the agent is installed passed 1.5
rpm all of its tests FAILED
END
    expect_rows "no root" <<END
rpm all of its tests FAILED
END
}
