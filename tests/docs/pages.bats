# Every manual page is well made: without a warning of the two formatters, and readable on a terminal of 80 columns.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    load pages
}

@test "no page has a fault that mandoc warns of" {
    [ -n "$(pages_of_project)" ]
    pages_of_project | xargs mandoc -T lint -W warning
}

@test "no page has a fault that groff warns of" {
    local page
    for page in $(pages_of_project); do
        run groff -mandoc -Tutf8 -ww -z "$page"
        [ "$status" -eq 0 ]
        [ "$output" = "" ]
    done
}

@test "every page fits 80 columns" {
    local page
    for page in $(pages_of_project); do
        MANWIDTH=80 LC_ALL=C.UTF-8 man "$page" | LC_ALL=C.UTF-8 col -bx >"$BATS_TEST_TMPDIR/text"
        [ "$(LC_ALL=C.UTF-8 wc -L <"$BATS_TEST_TMPDIR/text")" -le 80 ]
        [ "$(wc -l <"$BATS_TEST_TMPDIR/text")" -gt 20 ]
    done
}

@test "every page says which version it is of" {
    local version page
    version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$project/CMakeLists.txt")
    for page in $(pages_of_project); do grep -qxF ".Os \"qdn-configure $version\"" "$page"; done
}

@test "every page has the date of the release" {
    local page date
    date=$(sed -n 's/^## \[[0-9.]*\] - //p' "$project/CHANGELOG.md" | head -n 1)
    for page in $(pages_of_project); do
        [ "$(date -d "$(sed -n 's/^\.Dd //p' "$page")" +%F)" = "$date" ]
    done
}
