# script/setup, with stand-ins for the tools that would change this machine.
# shellcheck disable=SC2016 # what a stand-in is to do is expanded when it is called

setup() {
    stand_ins=$BATS_TEST_TMPDIR/bin
    mkdir "$stand_ins"
    # Everything is installed but what the file "missing" names.
    : >"$BATS_TEST_TMPDIR/missing"
    stand_in dpkg-query 'grep -qx "${!#}" "$DIR/missing" && exit 1; printf installed'
    stand_in apt-get 'echo "apt-get $*" >>"$DIR/calls"'
    stand_in sudo 'echo "sudo" >>"$DIR/calls"; exec "$@"'
    stand_in id 'echo "${WHO:-0}"'
}

stand_in() {
    printf '#!/bin/bash\nDIR=%s\n%s\n' "$BATS_TEST_TMPDIR" "$2" >"$stand_ins/$1"
    chmod +x "$stand_ins/$1"
}

run_setup() {
    PATH=$stand_ins:/usr/bin:/bin run "$BATS_TEST_DIRNAME/../../script/setup" "$@"
}

calls() {
    sed 's/-q -y -o [^ ]* -o [^ ]* -o [^ ]* //' "$BATS_TEST_TMPDIR/calls"
}

@test "with everything installed it says nothing, and calls neither apt-get nor sudo" {
    for purpose in build test packages repository hosts fleet check measure bench cross selinux all; do
        WHO=1000 run_setup --for "$purpose"
        [ "$status" -eq 0 ]
        [ "$output" = "" ]
    done
    run_setup
    [ "$status" -eq 0 ]
    [ "$output" = "" ]
    [ ! -e "$BATS_TEST_TMPDIR/calls" ]
}

@test "only what is missing, and only what the purpose needs, is installed" {
    printf '%s\n' cmake shellcheck >"$BATS_TEST_TMPDIR/missing"
    run_setup --for build
    [ "$status" -eq 0 ]
    [ "$output" = "Installing: cmake" ]
    [ "$(calls)" = "apt-get update
apt-get install --no-install-recommends cmake" ]
}

@test "an ordinary user calls apt-get through sudo" {
    echo bats >"$BATS_TEST_TMPDIR/missing"
    WHO=1000 run_setup --for test
    [ "$status" -eq 0 ]
    [ "$(calls)" = "sudo
apt-get update
sudo
apt-get install --no-install-recommends bats" ]
}

@test "another purpose is refused" {
    run_setup --for fun
    [ "$status" -eq 2 ]
    [ "$output" = "Usage: script/setup [--for build|test|packages|repository|hosts|fleet|check|measure|bench|cross|selinux|all]" ]
    [ ! -e "$BATS_TEST_TMPDIR/calls" ]
}
