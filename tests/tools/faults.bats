# The table of disturbed runs and how it is continued, with stand-ins for the stories.

setup() {
    root=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
    cd "$BATS_TEST_TMPDIR" || exit
    mkdir -p script tests/faults tests/scenarios tests/support package build/release
    cp "$root/script/test-faults" "$root/script/common.bash" "$root/script/resumed.bash" script
    printf '#!/bin/sh\n' | tee script/setup >script/build
    printf 'given_one() {\n}\ngiven_two() {\n}\n' >tests/faults/stories.bash
    : | tee build/release/qdn-configure.bin >tests/scenarios/session.bash
    : >bad
    # shellcheck disable=SC2016 # as it stands
    printf '#!/bin/sh\necho "$*" >>calls\ngrep -qx "$*" bad && v=1 || v=0\necho "$1 $2: 3 of 5 points, $v violations"\nexit "$v"\n' \
        >tests/faults/sweep
    chmod 0755 script/* tests/faults/sweep
}

# again OPTION ...: how many stories that tries, and the last line.
again() {
    rm -f calls
    run script/test-faults "$@"
    result="$(wc -l <calls 2>/dev/null || echo none); ${lines[-1]}"
}

held="Total: 36 of 60 points of 2 stories, all held"

@test "every story is disturbed in every way, and again by every call" {
    again
    [ "$status" -eq 0 ]
    [ "$result" = "12; $held" ]
    [ "$(sort calls | head -n 3 | tr '\n' ,)" = "one EACCES --sample 200,one EINTR --sample 200,one EIO --sample 200," ]
    grep -qx 'two kill' calls
    again
    [ "$result" = "12; $held" ]
}

@test "a call that resumes tries what has not held yet" {
    echo 'two EIO --sample 200' >bad
    again
    [ "$status" -eq 1 ]
    [ "$result" = "12; Total: 36 of 60 points of 2 stories, not all held" ]
    again --resume
    [ "$status" -eq 1 ]
    [ "$result" = "1; Total: 36 of 60 points of 2 stories, not all held; 11 of 12 rows by an earlier call" ]
    : >bad
    echo 'two kill: 0 of 5 points, broken off' >build/faults/two.kill
    again --resume
    [ "$status" -eq 0 ]
    [ "$result" = "2; $held; 10 of 12 rows by an earlier call" ]
    again --resume
    [ "$status" -eq 0 ]
    [ "$result" = "none; $held; 12 of 12 rows by an earlier call" ]
}

@test "nothing counts that was found on another program, with other stories or other points" {
    for change in "tee -a build/release/qdn-configure.bin" "tee -a tests/faults/stories.bash" "tee package/new"; do
        again --resume
        $change <<<"# new"
        again --resume
        [ "$result" = "12; $held" ]
    done
    again --resume --sample 20
    [ "$result" = "12; $held" ]
    again --resume --sample 20
    [ "$result" = "none; $held; 12 of 12 rows by an earlier call" ]
    again --resume
    [ "$result" = "12; $held" ]
}
