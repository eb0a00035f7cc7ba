# docs/architecture.md shows the floors and the steps that the sources have.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    document=$project/docs/architecture.md
    load pages
}

# The indented lines under a heading.
drawing() {
    sed -n "/^## $1\$/,/^## /s/^    //p" "$document"
}

@test "its floors are those that script/check-includes holds includes to, highest first" {
    sed -n '/^floors=(/,/)$/p' "$project/script/check-includes" | grep -oE '[a-z]+(/[a-z]+)?' | grep -vx floors |
        tac >"$BATS_TEST_TMPDIR/floors"
    [ -s "$BATS_TEST_TMPDIR/floors" ]
    drawing Floors | awk '/^[a-z]/ { print $1 }' | diff -u "$BATS_TEST_TMPDIR/floors" -
}

@test "its road of one run has the steps of the configure sequence, in their order" {
    {
        sed -n '/ ConfigureCommand::Configure() {/,/^}/p' "$project/app/ConfigureSequence.cpp" |
            grep -oE '[A-Z][A-Za-z]*\([^)]*\);' | sed 's/(.*//' | sed '/^SetUpNewAgent$/q'
        sed -n '/kSteps\[\]/,/};/p' "$project/integration/SetupSequence.cpp" | grep -oE '[A-Z][A-Za-z]+,' | tr -d ,
        sed -n '/ ConfigureCommand::Configure() {/,/^}/p' "$project/app/ConfigureSequence.cpp" |
            grep -oE '[A-Z][A-Za-z]*\([^)]*\);' | sed 's/(.*//' | sed '1,/^SetUpNewAgent$/d'
    } >"$BATS_TEST_TMPDIR/steps"
    grep -qx SetInstallPermissions "$BATS_TEST_TMPDIR/steps"
    drawing "The road of one run" | awk '{ print $1 }' | diff -u "$BATS_TEST_TMPDIR/steps" -
}

# Words in backticks, and first words of drawings, that are paths.
@test "every file that a document for developers names is there" {
    local path count=0
    for path in $({ grep -ohE '`[^` ]+`' "$document" "$project/CONTRIBUTING.md" | tr -d '`' && drawing "One value's road" |
        awk '{ print $1 }'; } | grep -E '^[a-z_]+/[A-Za-z/_-]+\.[a-z0-9]+$' | grep -v '^build/' | sort -u); do
        [ -e "$project/$path" ] || { echo "$path is not there" && return 1; }
        count=$((count + 1))
    done
    [ "$count" -gt 10 ]
}

@test "every link of a document leads to a file" {
    local file link
    for file in README.md CONTRIBUTING.md docs/architecture.md; do
        for link in $(grep -oE '\]\([^):]+\)' "$project/$file" | tr -d '])('); do
            [ -e "$project/$(dirname "$file")/$link" ] || { echo "$file: $link is not there" && return 1; }
        done
    done
}
