# CONTRIBUTING.md leads to the right places, and the change that it walks through can be made as it stands.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    document=$project/CONTRIBUTING.md
}

@test "each place that a change is said to belong in is there, with its test" {
    local name file count=0
    while read -r name file; do
        [ -f "$project/$file" ] || { echo "$file is not there" && return 1; }
        grep -qw "$name" "$project/$file" || { echo "$file has no $name" && return 1; }
        count=$((count + 1))
    done < <(grep '^| a' "$document" | grep -oE '`[A-Za-z]+`( or one of its neighbours)? in `[a-z]+/[A-Za-z0-9./]+`' |
        sed 's/ or one of its neighbours//' | tr -d '`' | sed 's/ in / /')
    [ "$count" -ge 8 ]
    for file in $(grep '^| a' "$document" | grep -oE '`tests/unit/[^`]*`' | tr -d '`'); do
        [ -f "$project/$file" ] || { echo "$file is not there" && return 1; }
    done
}

# The lines of the walk-through's changes, without their indentation: " " as it is, "-" goes, "+" comes.
changes_under() {
    awk -v heading="$1" '/^##/ { inside = index($0, heading) } inside' "$document" | sed -n 's/^    \([ +-]    .*\)$/\1/p'
}

# apply FILE: makes those of the changes that belong there. A line comes after the one before it.
apply() {
    changes_under "One change" | awk '
        FNR == NR { sign = substr($0, 1, 1); line = substr($0, 2)
                    if (sign == "+") after[anchor] = line; else { anchor = line; if (sign == "-") gone[line] }
                    next }
        !($0 in gone) { print }
        $0 in after { print after[$0]; made++ }
        END { exit made == 0 }' - "$project/$1"
}

@test "the change that it walks through fits the sources, and compiles" {
    local file source=$BATS_TEST_TMPDIR/source
    [ "$(changes_under "One change" | grep -c '^+')" -eq 3 ]
    for file in agents/AgentVersion.cpp tests/unit/agents/AgentVersionTest.cpp; do
        apply "$file" >"$source.cpp"
        diff "$project/$file" "$source.cpp" | grep '^[<>]' >>"$BATS_TEST_TMPDIR/made"
        g++ -std=c++20 -fsyntax-only -I"$project" "$source.cpp"
    done
    changes_under "One change" | grep '^[+-]' | sed 's/^+/> /; s/^-/< /' | sort |
        diff -u - <(sort "$BATS_TEST_TMPDIR/made")
}
