# The choice of mutants: what script/mutate would try.

root=$BATS_TEST_DIRNAME/../..

list() { "$root/script/mutate" --list --seed 7 --sample "$@" >"$BATS_TEST_TMPDIR/list"; }

@test "a seed chooses the same mutants again" {
    list 20
    cp "$BATS_TEST_TMPDIR/list" "$BATS_TEST_TMPDIR/first"
    list 20
    cmp "$BATS_TEST_TMPDIR/first" "$BATS_TEST_TMPDIR/list"
    [ "$(grep -c '^    - ' "$BATS_TEST_TMPDIR/list")" -eq 20 ]
}

@test "a sample is continued where it ended" {
    list 20
    tail -n 30 "$BATS_TEST_TMPDIR/list" >"$BATS_TEST_TMPDIR/second-half"
    list 10 --from 10
    tail -n +2 "$BATS_TEST_TMPDIR/list" | cmp "$BATS_TEST_TMPDIR/second-half" -
}

@test "a mutant keeps its place among the others whatever other files have" {
    list 0 --only run/TrustedFile.cpp
    tail -n +2 "$BATS_TEST_TMPDIR/list" >"$BATS_TEST_TMPDIR/alone"
    list 0
    grep -A2 '^run/TrustedFile.cpp:' --no-group-separator "$BATS_TEST_TMPDIR/list" | cmp "$BATS_TEST_TMPDIR/alone" -
}

@test "every mutant differs from the line as it is, and that line is in the file" {
    list 0 --only run/TrustedFile.cpp
    [ "$(grep -c '^    - ' "$BATS_TEST_TMPDIR/list")" -gt 20 ]
    while IFS= read -r before && IFS= read -r after; do
        [ "${before#    - }" != "${after#    + }" ]
        grep -qF -e "${before#    - }" "$root/run/TrustedFile.cpp"
    done < <(grep '^    [-+] ' "$BATS_TEST_TMPDIR/list")
}

@test "comments and contracts of the compiler are left alone" {
    list 0
    run grep -E '^    - (//|#|static_assert)' "$BATS_TEST_TMPDIR/list"
    [ "$status" -eq 1 ]
}

@test "every folder of the program and the scripts that ship have mutants" {
    list 0
    source "$root/script/common.bash"
    for folder in "${folders[@]}" packaging integration/qdn-env; do
        grep -q "^${folder}[/:]" "$BATS_TEST_TMPDIR/list" || { echo "none in $folder"; return 1; }
    done
}
