# What README.md shows of the dialogue is what the program shows.
load ../scenarios/support
load terminal

# What is to be typed in README.md's section on the terminal, and what comes then: the block that begins with a line
# like this one, without its indentation.
block() {
    sed -n '/^## At the terminal$/,/^## Install/p' "$project/README.md" |
        awk -v first="$1" 'index($0, "    " first) == 1 { inside = 1 } /^[^ ]/ { inside = 0 } inside' |
        sed 's/^    //'
}

# Without blanks at the ends of lines and empty lines at the end, which a document does not keep.
as_in_a_document() { printf '%s\n' "$(sed 's/[ \r]*$//')"; }

@test "the terminal shows the dialogue, of which README.md shows a part" {
    given_the_package
    local dialogue=$project/tests/terminal/dialogue.txt
    at_the_terminal -iconfigure <<END
type_along $dialogue
END
    expect_status 0
    as_in_a_document <"$desk/screen" >"$desk/shown"
    expect_file "$desk/shown" <"$dialogue"
    block "# $agent/bin/qdn-configure.bin -iconfigure" | sed 1d | as_in_a_document >"$desk/document"
    as_in_the_document "$desk/document" <"$desk/shown" >"$desk/shown-part"
    expect_file "$desk/shown-part" <"$desk/document"
}

@test "the script of answers in README.md configures the agent" {
    given_the_package
    block printf >"$desk/script"
    sh "$desk/script" >"$desk/out" 2>"$desk/err"
    expect_no_errors
    [ "$(tail -n 2 "$desk/out")" = "Configuration complete." ]
    expect_value "Kell Servers" server-1 kell.example.com:8083
    expect_value Configuration runlevels_start "3 5"
    [ "$(stat -c %A "$agent/bin/qdn-monitor")" = -r-xr--r-- ]
}

each_test_is_a_session
