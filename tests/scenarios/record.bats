# The record that each run leaves in the host's log: one, however the run ends.
load support
load old-agent

# What the journal, or the syslog daemon, got from a command; the command's status comes last.
log_of() { "$project/tests/support/log-of.py" "$@" 2>"$desk/err"; }

# expect_record EXPRESSION VALUE: a part of the only record, `r`; nothing else was recorded.
expect_record() {
    [ "$(wc -l <"$desk/log")" -eq 2 ] || { cat "$desk/log" "$desk/err"; fail "not one record"; }
    local found
    found=$(python3 -c 'import json, sys; r = json.loads(sys.stdin.readline()); print(eval(sys.argv[1]))' "$1" <"$desk/log")
    [ "$found" = "$2" ] || fail "$1 is $found, expected $2"
}

expect_ended() { [ "$(tail -n 1 "$desk/log")" = "$1" ] || { cat "$desk/log" "$desk/err"; fail "status"; }; }

@test "a configuration is recorded with its server, directory and XML file" {
    given_the_package
    given_plain_xml
    log_of journal "$program" -configure -noimode >"$desk/log"
    expect_ended 0
    expect_record 'r["MESSAGE"]' "-configure of $agent by root: status 0"
    expect_record 'r["QDN_STATUS"] + r["QDN_COMMAND"] + r["QDN_USER"] + r["SYSLOG_IDENTIFIER"]' "0-configurerootqdn-configure"
    expect_record 'r["QDN_SERVER"]' http://kell.example
    expect_record 'r["QDN_INSTALL_DIR"]' "$agent"
    expect_record 'r["QDN_XML_FILE"] + " " + r["QDN_XML_FILE_REMOVED"]' "/tmp/$xml yes"
    [ "$(sed -n 's/^\.Dl MESSAGE_ID=//p' "$project/docs/qdn-configure.8")" = "$(
        python3 -c 'import json, sys; print(json.loads(sys.stdin.readline())["MESSAGE_ID"])' <"$desk/log")" ]
}

@test "an XML file that is not removed after use is recorded as kept" {
    given_the_package
    given_plain_xml "$desk"
    QDNCLIENT_CONFIG_XML_DIR=$desk log_of journal "$program" -configure -noimode >"$desk/log"
    expect_record 'r["QDN_XML_FILE"] + " " + r["QDN_XML_FILE_REMOVED"]' "$desk/$xml no"
}

@test "failures, refusals and mistakes on the command line are recorded with their status" {
    log_of journal "$program" -configure -noimode >"$desk/log"
    expect_ended 1
    expect_record 'r["QDN_STATUS"] + r["PRIORITY"]' 13
    log_of journal "$program" -iconfigure -noimode -dir "$agent" >"$desk/log"
    expect_ended 120
    expect_record 'r["MESSAGE"]' "-iconfigure by root: status 120"
    log_of journal "$program" -clean "$agent" >"$desk/log"
    expect_ended 0
    expect_record 'r["MESSAGE"]' "-clean of $agent by root: status 0"
}

@test "a clean is recorded with the server that the agent reported to" {
    given_an_old_agent 6.2
    log_of journal "$program" -clean "$agent" >"$desk/log"
    expect_ended 0
    expect_record 'r["QDN_SERVER"].split("://")[0] + r["QDN_INSTALL_DIR"]' "https$agent"
    mkdir -p "$agent"
    cd "$agent"
    log_of journal "$program" -clean . >"$desk/log"
    expect_record 'r["QDN_INSTALL_DIR"]' "$agent"
}

@test "a run that a signal ends is recorded with the status that a shell reports" {
    given_the_package
    local name
    for name in INT TERM HUP; do
        log_of journal --end "SIG$name" "Name or IP of Kell Server?" "$program" -iconfigure >"$desk/log"
        expect_ended $((128 + $(kill -l "$name")))
        expect_record 'r["QDN_COMMAND"] + " " + r["QDN_STATUS"]' "-iconfigure $((128 + $(kill -l "$name")))"
    done
}

@test "the invoking user behind sudo is named" {
    SUDO_USER=alice log_of journal "$program" -clean "$agent" >"$desk/log"
    expect_record 'r["QDN_USER"] + ": " + r["MESSAGE"]' "alice: -clean of $agent by alice (root): status 0"
}

@test "without a journal the syslog daemon gets the record" {
    mount -t tmpfs tmpfs /dev
    mknod -m 0666 /dev/null c 1 3 2>/dev/null || : >/dev/null
    log_of syslog "$program" -clean "$agent" >"$desk/log"
    sed -i 's/\[[0-9]*\]/[PID]/' "$desk/log"
    same "log" "$desk/log" <<END
<30>qdn-configure[PID]: -clean of $agent by root: status 0
0
END
}

# bats test_tags=not-under-qemu
@test "an -apply is recorded once, with what its command used" {
    given_the_package
    given_plain_xml
    log_of journal "$program" -apply -yes -configure -noimode >"$desk/log"
    expect_ended 0
    expect_record 'r["MESSAGE"]' "-apply of $agent by root: status 0"
    expect_record 'r["QDN_SERVER"]' http://kell.example
    expect_record 'r["QDN_XML_FILE"] + " " + r["QDN_XML_FILE_REMOVED"]' "/tmp/$xml yes"
    log_of journal "$program" -apply -yes -configure -noimode -dir /usr >"$desk/log"
    expect_ended 1
    expect_record 'r["QDN_STATUS"]' 1
    log_of journal "$program" -apply -yes -clean "$agent" >"$desk/log"
    expect_ended 0
    expect_record 'r["QDN_INSTALL_DIR"]' "$agent"
    log_of journal "$program" -apply -nonsense >"$desk/log"
    expect_ended 120
    expect_record 'r["MESSAGE"]' "-apply by root: status 120"
}

# bats test_tags=not-under-qemu
@test "a preview leaves no record, nor does the command that it rehearses" {
    given_the_package
    given_plain_xml
    log_of journal "$program" -preview -configure -noimode >"$desk/log"
    same "log" "$desk/log" <<<0
}

each_test_is_a_session
