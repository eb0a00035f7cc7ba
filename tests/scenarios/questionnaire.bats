# The questions of -iconfigure, answered on standard input.
load support

# The questions as they are shown when the answers are not seen: each on the line of the one before. "%s" is where
# an answer is refused.
dialogue() {
    cat <<END
$banner
Using interactive configuration, cancel with Ctrl-C.
  Please answer the following questions.
  Defaults are in brackets. To accept a default just press enter.

END
    printf '%s' "Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to specify " \
        $'the full URL.\nExample:  https://kellserver.example.com:8083 (): ' \
        "The directory the Agent package has been installed to? ($agent): "
    printf '  %s\n' "Directory does not exist." "Invalid value entered. Please re-enter or Ctrl-C to cancel."
    printf '%s' "The directory the Agent package has been installed to? ($agent): " \
        "Allow program execution by unprivileged users? (yes): " \
        "Which Run levels should the agent be installed in? (rc2;rc3;rc5): " \
        "In which directory should the Agent's log file be stored? ($agent/var): " \
        "What should the name of the Agent's log file be? (qdn-client.log): " \
        "What should be the maximum size, in kilobytes, of the Agent's log file? (256): "
    printf '  %s\n' "Invalid value entered. Please re-enter or Ctrl-C to cancel."
    printf '%s' "What should be the maximum size, in kilobytes, of the Agent's log file? (256): " \
        "What level of logging should be used for the Agent's log file (error,warning,info,debug,dbgverbose,devnote)? " \
        "(Error): " \
        "What level of logging should be used for the system log file (none,error,warning,info)? (None): " \
        "Directory to use, which should be in the PATH, to create links to the Agent's binaries? (/usr/bin): " \
        "Temporary directory for the Agent's use? (/tmp): " \
        "Agent's event queue directory (default recommended)? ($agent/var/queue): " \
        "Agent's tasks directory (default recommended)? ($agent/var/tasks): " \
        "Do you want the Agent started after configuration? (yes): "
}

@test "the answers configure the agent; Enter takes the default in brackets; a bad answer is asked again" {
    given_the_package
    printf '%s\n' https://kell.example:8083 /nowhere "$agent" NO 3 /var/log agent.log 12k 12 WARNING "" "" "" "" "" nope \
        >"$desk/answers"
    qdn_configure -iconfigure -nosearch <"$desk/answers"
    expect_status 0
    expect_no_errors
    expect_output < <(
        dialogue
        cat <<END
Creating/customizing Agent's configuration file.
Creating directory: $agent/var  Result: OK
Creating directory: $agent/var/queue  Result: OK
Creating directory: $agent/var/tasks  Result: OK
Creating directory: $agent/var/packages  Result: OK
Creating directory: $agent/var/swd  Result: OK
Creating customized RC and environment scripts.
Setting up RC scripts to start Agent at system start.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
    )
    expect_value "Kell Servers" server-1 kell.example:8083
    expect_value "Client Transport" ks_url_format "https://%server%/Zorvane/"
    expect_value Configuration debug_output /var/log/agent.log
    expect_value Configuration debug_file_size 12
    expect_value Configuration debug_level WARNING
    expect_value Configuration syslog_level None
    expect_value Configuration runlevels_start 3
    [ "$(stat -c %a "$agent/bin/qdn-monitor.bin")" = 544 ]
}

# The server's name, Enter for all else, and no start.
short_answers() {
    echo "$1"
    printf '\n%.0s' {1..12}
    echo no
}

@test "a directory that holds no package is no answer, and is asked for again" {
    given_the_package
    mkdir -p /opt/empty/etc
    { echo srv.example; echo /opt/empty; short_answers "$agent" | sed 2d; } >"$desk/answers"
    qdn_configure -iconfigure -nosearch <"$desk/answers"
    expect_status 0
    expect_no_errors
    sed -n '7,9p' "$desk/out" | sed 's/^Example: .* (): //; s/: Allow program .*/:/' >"$desk/refusal"
    expect_file "$desk/refusal" <<END
The directory the Agent package has been installed to? ($agent):   There is no agent package in this directory.
  Invalid value entered. Please re-enter or Ctrl-C to cancel.
The directory the Agent package has been installed to? ($agent):
END
    expect_value "Kell Servers" server-1 srv.example
    expect_missing /opt/empty/etc/client.conf
}

@test "-iconfigure neither reads an XML file nor removes it" {
    given_the_package
    given_plain_xml
    short_answers srv.example >"$desk/answers"
    qdn_configure -iconfigure -quiet -dir "$agent" <"$desk/answers"
    expect_status 0
    expect_value "Kell Servers" server-1 srv.example
    expect_value Configuration runlevels_start "2 3 5"
    expect_plain_files "/tmp/$xml"
}

@test "-configure without any configuration asks, too" {
    given_the_package
    short_answers srv.example >"$desk/answers"
    qdn_configure -configure -dir "$agent" <"$desk/answers"
    expect_status 0
    expect_value "Kell Servers" server-1 srv.example
}

each_test_is_a_session
