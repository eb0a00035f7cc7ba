# A preview of the dialogue, and its application, as a person has them at a terminal.
load ../scenarios/support
load terminal

@test "the questions are asked on the terminal, then the preview is shown, and nothing is changed" {
    given_the_package
    at_the_terminal -preview -iconfigure <<'END'
answer "Name or IP" https://kell.example:8083
no_directory "been installed to" /nowhere
accept "been installed to" /opt/zorvane/kell/ksagent
answer "unprivileged users" n
accept_until "Agent started"
answer "Agent started" y
END
    expect_status 0
    expect_same_terminal
    expect_untouched
    sed 's/\r$//' "$desk/screen" | sed 's/\x1b\[[0-9]*m//g' >"$desk/plain"
    [ "$(grep -c '^Using interactive configuration' "$desk/plain")" -eq 1 ]
    [ "$(grep -n '^Do you want the Agent started' "$desk/plain" | cut -d : -f 1)" -lt "$(grep -n '^Settings$' "$desk/plain" | cut -d : -f 1)" ]
    grep -qx '  AllowNonRoot  *no  *answer (default: yes)' "$desk/plain"
    grep -qx '  KSName  *kell.example:8083  *answer' "$desk/plain"
    grep -qx '  create   -r-xr--r-- 0:0  /etc/init.d/zorvane' "$desk/plain"
    tail -n 1 "$desk/plain" | grep -q 'The agent would be started\. The command would succeed (status 0)\.$'
    expect_on_screen $'\033[1mChanges\033[0m'
    TERM=dumb at_the_terminal -preview -clean /nowhere <<<""
    if grep -q $'\033' "$desk/screen"; then fail "colours on a terminal that has none"; fi
    if pgrep qdn-; then fail "something runs"; fi
}

@test "without an XML file and an agent, a preview of -configure asks, too" {
    given_the_package
    at_the_terminal -preview -exit-code -configure <<'END'
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 2
    expect_untouched
    expect_on_screen "Configuration complete."
}

@test "a preview that is interrupted at a question leaves nothing" {
    local name
    given_the_package
    for name in INT TERM KILL; do
        at_the_terminal -preview -iconfigure <<END
answer "Name or IP" kell.example
signal "been installed to" $name
END
        [ "$status" -ne 0 ] || fail "status 0 after $name"
        expect_untouched
    done
}

@test "Ctrl-C at a question ends the preview" {
    given_the_package
    at_the_terminal -preview -iconfigure <<'END'
answer "Name or IP" kell.example
press "been installed to" "\x03"
END
    [ "$status" -ne 0 ] || fail "status 0"
    expect_same_terminal
    expect_untouched
}

@test "a terminal that goes away ends the preview" {
    given_the_package
    at_the_terminal -preview -iconfigure <<'END'
answer "Name or IP" kell.example
hang_up "been installed to"
END
    expect_untouched
}

@test "what was answered is applied after a yes, and asked once" {
    given_the_package
    at_the_terminal -apply -iconfigure <<'END'
answer "Name or IP" https://kell.example:8083
no_directory "been installed to" /nowhere
accept "been installed to" /opt/zorvane/kell/ksagent
answer "unprivileged users" n
accept_until "Agent started"
answer "Agent started" n
answer "Apply these changes" y
END
    expect_status 0
    expect_same_terminal
    sed 's/\r$//' "$desk/screen" | sed 's/\x1b\[[0-9]*m//g' >"$desk/plain"
    [ "$(grep -c '^Name or IP' "$desk/plain")" -eq 1 ]
    [ "$(grep -c '^Apply these changes? (no): y$' "$desk/plain")" -eq 1 ]
    [ "$(grep -n '^Changes$' "$desk/plain" | cut -d : -f 1)" -lt "$(grep -n '^Apply these' "$desk/plain" | cut -d : -f 1)" ]
    [ "$(sed '1,/^Apply these/d' "$desk/plain" | grep -cx 'Configuration complete\.')" -eq 1 ]
    expect_value "Kell Servers" server-1 kell.example:8083
    expect_missing /var/lib/qdn-configure
}

@test "without a yes, what was shown is not applied" {
    local reply
    given_the_package
    given_plain_xml
    for reply in "" no ye "\x04"; do
        at_the_terminal -apply -configure <<END
press "Apply these changes" "$reply\r"
END
        expect_status 1
        expect_same_terminal
        expect_on_screen "ERROR: Nothing has been changed."
        expect_untouched
    done
    at_the_terminal -apply -configure <<'END'
press "Apply these changes" "\x04"
END
    expect_status 1
    sed 's/\r$//' "$desk/screen" | grep -qx "ERROR: Nothing has been changed\."
    at_the_terminal -apply -configure <<'END'
press "Apply these changes" "\x03"
END
    [ "$status" -ne 0 ] || fail "status 0"
    expect_same_terminal
    expect_untouched
    at_the_terminal -apply -configure <<'END'
answer "Apply these changes" YES
END
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

@test "the changes and the question are on the terminal where the document goes into a file" {
    given_the_package
    given_plain_xml
    # shellcheck disable=SC2016 # for the script
    printf '#!/bin/sh\nexec %s "$@" >%s\n' "$program" "$desk/document" >"$desk/into-a-file"
    chmod 0755 "$desk/into-a-file"
    program=$desk/into-a-file at_the_terminal -apply -json -configure <<'END'
answer "Apply these changes" n
END
    expect_status 1
    expect_on_screen $'\033[1mChanges\033[0m'
    expect_on_screen "Apply these changes? (no): n"
    expect_untouched
    expect_in_document 'd["status"], d["error"], d["restored"]' "(1, 'Nothing has been changed.', False)"
    program=$desk/into-a-file at_the_terminal -apply -json -configure <<'END'
answer "Apply these changes" y
END
    expect_status 0
    expect_in_document 'd["status"], d["error"], d["preview"]["changed"]' "(0, None, True)"
    expect_value "Kell Servers" server-1 kell.example
}

# expect_in_document EXPRESSION VALUE: of the document `d` that the last run has made.
expect_in_document() {
    python3 -c 'import json, sys; d = json.load(open(sys.argv[1])); print(eval(sys.argv[2]))' "$desk/document" "$1" \
        >"$desk/found"
    same "$1" "$desk/found" <<<"$2"
}

each_test_is_a_session
