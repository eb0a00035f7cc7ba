# script/prove, in a small tree of its own where each part is a stand-in.
# shellcheck disable=SC2016 # what a stand-in is to do is expanded when it is called

setup() {
    tree=$BATS_TEST_TMPDIR/tree
    mkdir -p "$tree"/{script,docs,build,tests/{builds,attacks}}
    cp "$BATS_TEST_DIRNAME/../../script/prove" "$tree/script/"
    cd "$tree" || return
    stand_in build 'echo "Built"'
    stand_in test 'echo "1..9"; echo "Total: 9 passed, 0 failed"'
    stand_in sanitize 'echo "Sanitizer reports: 2"; exit 1'
    stand_in check 'echo "All checks | passed."; echo'
    printf '@test "one" { echo "# 40 rounds" >&3; }\n@test "two" { echo "# 2 rounds" >&3; }\n' >tests/builds/counts.bats
    printf '@test "one" { true; }\n@test "two" { skip; }\n' >tests/attacks/skips.bats
    echo /build/ >.gitignore
    git init -q
    save
}

stand_in() {
    printf '#!/bin/bash\n%s\n' "$2" >"script/$1"
    chmod +x "script/$1"
}

save() { git add -A && git -c user.name=me -c user.email=me@example commit -q -m "A change"; }

# expect_row COMMAND OUTCOME RESULT
expect_row() {
    grep -qF "| \`$1\` | $2 | $3 |" docs/proof.md || { cat docs/proof.md; return 1; }
}

@test "the table has a row for each part, and those that were not run say so" {
    script/prove check
    expect_row script/check held 'All checks \| passed.'
    expect_row script/test "not run" ""
    grep -q ": of 24 parts, 1 held and 0 failed. This is what counts for commit $(git rev-parse --short=10 HEAD):" docs/proof.md
}

@test "what another go finds on the same commit joins the table, though the table has been committed meanwhile" {
    script/prove check
    save
    script/prove test
    expect_row script/check held 'All checks \| passed.'
    expect_row script/test held "Total: 9 passed, 0 failed"
}

@test "what another clone of the tree found counts, too" {
    script/prove check
    save
    git clone -q . ../clone
    cd ../clone
    script/prove test
    expect_row script/check held 'All checks \| passed.'
    expect_row script/test held "Total: 9 passed, 0 failed"
}

@test "what is written below the table stays" {
    script/prove check
    printf '\n## Mutants\n\nOne survived.\n' >>docs/proof.md
    script/prove test
    script/prove check
    [ "$(grep -c . docs/proof.md)" -eq 30 ]
    [ "$(tail -n 4 docs/proof.md)" = $'\n## Mutants\n\nOne survived.' ]
}

@test "two goes side by side both join the table" {
    stand_in test 'sleep 0.3; echo "Total: 9 passed, 0 failed"'
    save
    script/prove test &
    script/prove check
    wait $!
    expect_row script/check held 'All checks \| passed.'
    expect_row script/test held "Total: 9 passed, 0 failed"
}

@test "what was found counts until something changes that the part looks at" {
    script/prove check builds
    first=$(git rev-parse --short=10 HEAD)
    mkdir app ansible
    echo "a change" >ansible/role
    save
    script/prove test
    expect_row script/check "not run" ""
    expect_row script/test held "Total: 9 passed, 0 failed"
    expect_row "bats tests/builds" held "2 passed, 0 failed, 42 rounds"
    grep -q "bats tests/builds.* | $first |\$" docs/proof.md
    grep -q "script/test. .* | $(git rev-parse --short=10 HEAD) |\$" docs/proof.md
    echo "a change" >app/main.cpp
    save
    script/prove test
    expect_row "bats tests/builds" "not run" ""
}

@test "what was found counts no longer when its own script has changed" {
    script/prove sanitize || true
    stand_in sanitize 'echo "Sanitizer reports: 0"'
    save
    script/prove test
    expect_row script/sanitize "not run" ""
}

@test "what a part looks at is there" {
    cd "$BATS_TEST_DIRNAME/../.."
    for part in $(sed -n '/^parts=(/,/)/p' script/prove | tr -d '()' | sed 's/parts=//'); do
        while read -r path; do
            [[ $path == :* ]] || compgen -G "$path" >/dev/null || { echo "$part: $path"; return 1; }
        done < <(script/prove --looks-at "$part")
    done
}

@test "a part that fails is told with its status, and runs that did not fail stay" {
    script/prove test
    run script/prove sanitize check
    [ "$status" -eq 1 ]
    expect_row script/sanitize '**failed** (status 1)' "Sanitizer reports: 2"
    grep -q ": of 24 parts, 2 held and 1 failed" docs/proof.md
    expect_row script/check held 'All checks \| passed.'
    expect_row script/test held "Total: 9 passed, 0 failed"
}

@test "tests of bats are counted, and so is what they have counted" {
    script/prove builds
    expect_row "bats tests/builds" held "2 passed, 0 failed, 42 rounds"
}

@test "a test that was skipped has not held" {
    run script/prove attacks
    [ "$status" -eq 1 ]
    grep -qF '| `env QDN_ROUNDS=200 bats tests/attacks` | **failed** | 1 passed, 0 failed, 1 skipped' docs/proof.md
}

@test "attacks of which too few were made have not held" {
    printf '@test "one" { echo "# ${QDN_ROUNDS}00 rounds" >&3; echo "# 119 surroundings" >&3; echo "# 1 astray" >&3; }\n' >tests/attacks/skips.bats
    save
    run script/prove attacks
    [ "$status" -eq 1 ]
    expect_row "env QDN_ROUNDS=200 bats tests/attacks" '**failed**' "1 passed, 0 failed, 20000 rounds, 119 surroundings, 1 astray, fewer than 120 surroundings"
    sed -i 's/119/120/' tests/attacks/skips.bats
    save
    script/prove attacks
    expect_row "env QDN_ROUNDS=200 bats tests/attacks" held "1 passed, 0 failed, 20000 rounds, 120 surroundings, 1 astray"
}

@test "tests of which some did not run have not held" {
    stand_in check 'echo "1..3"; echo "ok 1 a"; echo "ok 2 b"'
    save
    run script/prove check
    [ "$status" -eq 1 ]
    expect_row script/check '**failed**' "2 passed, 0 failed"
}

@test "what was found while the tree was changed is no result" {
    stand_in check 'echo "All checks passed."; echo change >>script/test'
    save
    run script/prove check
    [ "$status" -eq 1 ]
    expect_row script/check '**failed** (the tree was changed meanwhile)' "All checks passed."
}

@test "a tree that is not committed, and a part that there is not, are refused" {
    run script/prove everything
    [ "$status" -eq 2 ]
    [ "${lines[0]}" = "script/prove [--into FILE] [PART ...]" ]
    echo change >>script/test
    run script/prove check
    [ "$status" -eq 1 ]
    [ "$output" = "script/prove: commit first" ]
    [ ! -e docs/proof.md ]
}
