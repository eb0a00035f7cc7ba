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

# steps_of FUNCTION DEPTH: the steps that a function of the sequence calls, and below one that is a sequence itself its
# own; each with two blanks for a level.
steps_of() {
    local step
    sed -n "/ \(ConfigureCommand::\)\?$1(.*{\$/,/^}/p" "$project/app/ConfigureSequence.cpp" | sed 1d |
        grep -oP '(?<![.:>\w])[A-Z][A-Za-z]+(?=\()' | grep -vxE 'Report|Failure' | while read -r step; do
        printf '%*s%s\n' $(($2 * 4)) "" "$step"
        case $step in
            LookBeforeChange | ChangeHost) steps_of "$step" $(($2 + 1)) ;;
            RunSetupSequence)
                sed -n '/kSteps\[\]/,/};/p' "$project/integration/SetupSequence.cpp" |
                    grep -oP '(?<=, )[A-Z][A-Za-z]+(?=})' | sed "s/^/$(printf '%*s' $(($2 * 4 + 4)) "")/"
                ;;
        esac
    done
}

@test "its road of one run has the steps of the configure sequence, in their order" {
    steps_of Configure 0 >"$BATS_TEST_TMPDIR/steps"
    grep -qx ' *SetInstallPermissions' "$BATS_TEST_TMPDIR/steps"
    drawing "The road of one run" | sed -E 's/^( *[A-Za-z]+).*/\1/' | diff -u "$BATS_TEST_TMPDIR/steps" -
}

@test "its road of a package has the functions that the scriptlets call" {
    local name
    sed -n 's/^\([a-z_]*\)() {$/\1/p' "$project/packaging/scriptlet-functions" | sort | while read -r name; do
        if grep -qE "^[^#]*\b$name\b" "$project"/packaging/{rpm,deb}/p*; then echo "$name"; fi
    done >"$BATS_TEST_TMPDIR/functions"
    [ "$(wc -l <"$BATS_TEST_TMPDIR/functions")" -gt 4 ]
    drawing "The road of a package" | sed 's/ .*//' | sort | diff -u "$BATS_TEST_TMPDIR/functions" -
}

# Words in backticks, and first words of drawings, that are paths.
@test "every file that a document for developers names is there" {
    local path count=0
    for path in $({ grep -ohE '`[^` ]+`' "$document" "$project/CONTRIBUTING.md" | tr -d '`'
        for road in "The road of a preview" "One value's road"; do drawing "$road" | tr ' ' '\n'; done; } | grep -E '^[a-z_]+/[A-Za-z/_-]+\.[a-z0-9]+$' | grep -v '^build/' | sort -u); do
        [ -e "$project/$path" ] || { echo "$path is not there" && return 1; }
        count=$((count + 1))
    done
    [ "$count" -gt 10 ]
}

@test "every link of a document leads to a file" {
    local file link
    cd "$project"
    for file in *.md docs/*.md ansible/*.md; do
        for link in $(grep -oE '\]\([^):]+\)' "$file" | tr -d '])('); do
            [ -e "$(dirname "$file")/$link" ] || { echo "$file: $link is not there" && return 1; }
        done
    done
}

@test "README.md leads to every document for people" {
    local file
    cd "$project"
    for file in [A-Z]*[A-Z].md LICENSE docs/*.md ansible/README.md; do
        [ "$file" = README.md ] || grep -qF "]($file)" README.md || { echo "$file is not told of" && return 1; }
    done
}

@test "the pictures in README.md are what a terminal shows of the program" {
    local drawn=$BATS_TEST_TMPDIR/docs
    mkdir "$drawn"
    "$project/script/picture" "$drawn"
    [ "$(cd "$drawn" && echo *)" = "apply.svg preview.svg status.svg" ]
    grep -oE '^!\[.+\]\(docs/.*\)$' "$project/README.md" | sed 's,.*(docs/\(.*\))$,\1,' | sort | diff -u <(ls "$drawn") -
    for picture in "$project"/docs/*.svg; do diff -u "$picture" "$drawn"; done
}
