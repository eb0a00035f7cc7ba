# What the table of the fuzzed targets tells, with stand-ins for the targets.

setup() {
    root=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
    cd "$BATS_TEST_TMPDIR" || exit
    mkdir -p script tests/support tests/fuzz/corpus/one tests/fuzz/corpus/two build/fuzz
    cp "$root/script/fuzz" "$root/script/common.bash" "$root/script/resumed.bash" script
    printf '#!/bin/sh\n' >script/build
    # shellcheck disable=SC2016 # for the stand-in
    printf '#!/bin/sh\nexec "$@"\n' >tests/support/private-machine
    cat >build/fuzz/fuzz-one <<'END'
#!/bin/sh
echo "${0##*-}" >>calls
[ ! -e "bad-${0##*-}" ] || { echo "ERROR: it broke"; : >"build/fuzz/findings/${0##*-}/crash"; exit 1; }
echo "stat::number_of_executed_units: 1000"
END
    cp build/fuzz/fuzz-one build/fuzz/fuzz-two
    chmod 0755 script/* tests/support/* build/fuzz/fuzz-*
}

# again ARGUMENT ...: the targets that were fuzzed, and the last line.
again() {
    rm -f calls
    run script/fuzz "$@"
    result="$(sort calls 2>/dev/null | tr '\n' ' '); ${lines[-1]}"
}

@test "every target is fuzzed, and its executions are counted" {
    again 5
    [ "$status" -eq 0 ]
    [ "$result" = "one two ; Total: 2000 executions of 2 targets, 0 of them with findings" ]
    again --at-least 2001 5
    [ "$status" -eq 1 ]
    again 5 two
    [ "$result" = "two ; Total: 1000 executions of 1 targets, 0 of them with findings" ]
}

@test "a finding is shown and kept until its target is fuzzed again by a call that resumes" {
    : >bad-two
    again 5
    [ "$status" -eq 1 ]
    [[ $output == *"FINDING: build/fuzz/findings/two"*"ERROR: it broke"* ]]
    [ "${lines[-1]}" = "Total: 1000 executions of 2 targets, 1 of them with findings" ]
    [ -e build/fuzz/findings/two/crash ]
    rm bad-two
    again --resume 5
    [ "$status" -eq 0 ]
    [ "$result" = "two ; Total: 2000 executions of 2 targets, 0 of them with findings; 1 targets by an earlier call" ]
    [ ! -e build/fuzz/findings/two/crash ]
    again --resume 5
    [ "$result" = "; Total: 2000 executions of 2 targets, 0 of them with findings; 2 targets by an earlier call" ]
}

@test "nothing counts that was fuzzed for another time, or with another program" {
    again 5
    again --resume 6
    [[ $result == "one two ; "* ]]
    echo "# another" >>build/fuzz/fuzz-one
    again --resume 6
    [[ $result == "one two ; "* ]]
    again 6
    [[ $result == "one two ; "* ]]
}
