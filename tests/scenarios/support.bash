# Makes every test of a file a session on a private machine. A file begins with `load support` and ends with
# `each_test_is_a_session`; what a session can say is in session.bash.

# A character of a test file, written as \u, is the same on every host.
export LC_ALL=C.UTF-8

# Wraps the tests of the file: bats runs the wrapper, and the body runs inside, by itself, as root.
each_test_is_a_session() {
    local name
    for name in $(compgen -A function test_); do
        eval "$(declare -f "$name" | sed "1s/^test_/session_/; s/^ *bats_test_begin .*//")"
        eval "$(declare -f "$name" | grep -m1 'bats_test_begin' |
            sed "s/^/$name() {\n/; s/\$/\nrun_session session_${name#test_}\n}/")"
    done
}

# Runs one function of the file on a private machine of its own; one that says `under_dash_and_bash`, on one for each.
run_session() {
    local shell shells=('')
    ! declare -f "$1" | grep -q '^ *under_dash_and_bash;\{0,1\}$' || shells=(dash bash)
    for shell in "${shells[@]}"; do run_session_under "$shell" "$1" || { echo "${shell:+with $shell as /bin/sh}" && return 1; }; done
}

# The session has nothing of the caller's environment but what says which build is tested, how, and for how long.
run_session_under() {
    local scenarios
    scenarios=$(realpath "$(dirname "${BASH_SOURCE[0]}")")
    env -i PATH="$PATH" LANG=C.UTF-8 QDN_BUILD="${QDN_BUILD:-release}" PRIVATE_MACHINE_SECONDS="${PRIVATE_MACHINE_SECONDS:-}" \
        QDN_ROUNDS="${QDN_ROUNDS:-}" QDN_ALL_PATHS="${QDN_ALL_PATHS:-}" QDN_ALL_DISKS="${QDN_ALL_DISKS:-}" SESSION_SHELL="$1" \
        ASAN_OPTIONS="${ASAN_OPTIONS:-}" UBSAN_OPTIONS="${UBSAN_OPTIONS:-}" "$scenarios/../support/private-machine" \
        bash "$scenarios/session.bash" "$2" 9< <(declare -f) </dev/null
}

# as_in_the_document DOCUMENT: standard input as a document shows it, which leaves out lines at "..." and has one
# process id for all.
as_in_the_document() {
    awk 'FNR == NR { wanted[FNR] = $0; count = FNR; next }
        at == 0 { at = 1 }
        wanted[at] == "..." { if ($0 != wanted[at + 1]) next; print "..."; at++ }
        { print; at++ }' "$1" - | sed -e 's/(pid [0-9]*)/(pid 165)/' -e '/^$/N;/\n$/D'
}
