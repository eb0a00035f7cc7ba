# What the document shows of the dialogue is what the program shows.
load ../scenarios/support
load terminal

document() { cat "$project/docs/interactive.md"; }

# What stands between the marks of a console, which begins with the command.
transcript() { document | sed -n '/^```console$/,/^```$/p' | sed '1d;$d'; }

@test "the transcript in the document is what the terminal shows" {
    given_the_package
    transcript | sed 1d >"$desk/transcript"
    at_the_terminal -iconfigure <<END
type_along $desk/transcript
END
    expect_status 0
    { echo "# $agent/bin/qdn-configure.bin -iconfigure"; sed 's/ *\r$//' "$desk/screen"; } >"$desk/shown"
    transcript | expect_file "$desk/shown"
}

@test "the script of answers in the document configures the agent" {
    given_the_package
    document | sed -n 's/^    //p' >"$desk/script"
    sh "$desk/script" >"$desk/out" 2>"$desk/err"
    expect_no_errors
    [ "$(tail -n 2 "$desk/out")" = "Configuration complete." ]
    expect_value "Kell Servers" server-1 kell.example.com:8083
    expect_value Configuration runlevels_start "3 5"
    [ "$(stat -c %A "$agent/bin/qdn-monitor")" = -r-xr--r-- ]
}

each_test_is_a_session
