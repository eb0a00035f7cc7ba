# script/demo: that it shows what it promises, and that a command which fails ends it.

setup() { cd "$BATS_TEST_DIRNAME/../.." || exit; }

# demonstrate EXPRESSION: what it shows on the private machine, changed by an expression of sed.
demonstrate() {
    run tests/support/private-machine bash /dev/fd/9 --on-the-private-machine \
        9< <(sed -e '/^cd /d' -e "s,build/release,build/${QDN_BUILD:-release}," -e "$1" script/demo)
}

@test "it shows the whole life of an agent" {
    demonstrate ""
    [ "$status" -eq 0 ]
    for shown in "# .* -preview -configure -noimode" "# .* -apply -yes -configure -noimode" "Zorvane Agent is running (pid [0-9]*)\." \
        "# .* -status" "\(In order\|Running\) (status 0)\." "# .* -apply -yes -clean .*" ".* is gone\."; do
        grep -qx "$shown" <<<"$output" || { echo "not shown: $shown" && return 1; }
    done
}

@test "a command that fails ends it, be it a preview" {
    demonstrate 's,<InstallDir>.*<,<InstallDir>/usr<,'
    [ "$status" -eq 1 ]
    [[ $output == *"ERROR: Install directory /usr is a directory of the host."* ]]
    [[ $output != *"=== The configured agent on disk"* ]]
    [[ $output != *"=== The configuration"* || $output == *"ERROR: A preview is not possible here: "* ]]
}
