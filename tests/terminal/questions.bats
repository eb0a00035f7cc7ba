# The dialogue as a person has it at a terminal.
load ../scenarios/support
load ../scenarios/old-agent
load terminal

@test "the whole dialogue of a first configuration, to the byte" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    local enter="" # keeps the blank before it from being the last of its line
    expect_status 0
    expect_same_terminal
    expect_screen <<END
$banner
Using interactive configuration, cancel with Ctrl-C.
  Please answer the following questions.
  Defaults are in brackets. To accept a default just press enter.

Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to specify the full URL.
Example:  https://kellserver.example.com:8083 (): kell.example
The directory the Agent package has been installed to? ($agent): $enter
Allow program execution by unprivileged users? (yes): $enter
Which Run levels should the agent be installed in? (rc2;rc3;rc5): $enter
In which directory should the Agent's log file be stored? ($agent/var): $enter
What should the name of the Agent's log file be? (qdn-client.log): $enter
What should be the maximum size, in kilobytes, of the Agent's log file? (256): $enter
What level of logging should be used for the Agent's log file (error,warning,info,debug,dbgverbose,devnote)? (Error): $enter
What level of logging should be used for the system log file (none,error,warning,info)? (None): $enter
Directory to use, which should be in the PATH, to create links to the Agent's binaries? (/usr/bin): $enter
Temporary directory for the Agent's use? (/tmp): $enter
Agent's event queue directory (default recommended)? ($agent/var/queue): $enter
Agent's tasks directory (default recommended)? ($agent/var/tasks): $enter
Do you want the Agent started after configuration? (yes): n
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
}

@test "what is typed is what the agent gets" {
    given_the_package /opt/agent
    mkdir /usr/local/links
    at_the_terminal -iconfigure -dir /opt/nowhere <<'END'
answer "Name or IP" "  https://kell.example:8083  "
answer "been installed to" /opt/agent
answer "unprivileged users" Nope
answer "Run levels" "rc3;rc4"
answer "log file be stored" /var/log/zorvane
answer "name of the Agent's log" "the agent.log"
answer "maximum size" 0
answer "Agent's log file (error" DevNote
answer "system log file" WARNING
answer "be in the PATH" /usr/local/links
answer "Temporary directory" /var/tmp/zorvane
answer "event queue" %INSTDIR%/queue
answer "tasks directory" /var/lib/zorvane/tasks
answer "Agent started" No
END
    expect_status 0
    local conf=/opt/agent/etc/client.conf
    expect_value "Kell Servers" server-1 kell.example:8083 $conf
    expect_value "Client Transport" ks_url_format "https://%server%/Zorvane/" $conf
    expect_value Configuration installdir /opt/agent $conf
    expect_value Configuration runlevels_start "3 4" $conf
    expect_value Configuration runlevels_stop "0 1 2 5 6" $conf
    expect_value Configuration debug_output "/var/log/zorvane/the agent.log" $conf
    expect_value Configuration debug_file_size 0 $conf
    expect_value Configuration debug_level DevNote $conf
    expect_value Configuration syslog_level WARNING $conf
    expect_value Configuration bindir /usr/local/links $conf
    expect_value Configuration tmpdir /var/tmp/zorvane $conf
    expect_value Configuration event_queue_dir /opt/agent/queue $conf
    expect_value Configuration task_storage_path /var/lib/zorvane/tasks $conf
    [ "$(stat -c %A /opt/agent/bin/qdn-monitor)" = -r-xr--r-- ] # not for unprivileged users
    [ "$(readlink /usr/local/links/qdn-monitor)" = /opt/agent/bin/qdn-monitor ]
}

@test "a wrong answer is refused with a reason and asked again, as often as it takes" {
    given_an_old_agent 6.2
    given_the_package
    : >/opt/file
    mkdir /opt/found
    at_the_terminal -iconfigure <<'END'
foreach wrong {"two words" kell.example:0 kell.example:65536 kell.example:port kell.example: https:// http://:80
    [::1 /opt} { refused "Name or IP" $wrong }
answer "Name or IP" {http://[::1]:8080}
foreach missing {/opt/missing /opt/file missing ~ $HOME} { no_directory "been installed to" $missing }
accept "been installed to" /opt/zorvane/kell/ksagent
foreach wrong {perhaps 1 "'yes'"} { refused "keep old settings" $wrong }
answer "keep old settings" Yep
foreach wrong {true 0 -y} { refused "unprivileged users" $wrong }
answer "unprivileged users" "  YES  "
accept_until "maximum size"
foreach wrong {12k -1 +1 1.5 0x10 "1 2"} { refused "maximum size" $wrong }
answer "maximum size" 99999
foreach wrong {none loud error,info :error: "error:info"} { refused "the Agent's log file (error" $wrong }
answer "the Agent's log file (error" Debug
foreach wrong {debug devnote no} { refused "system log file" $wrong }
answer "system log file" NONE
foreach missing {/opt/missing /usr/bin/env ../missing ./bin} { no_directory "in the PATH" $missing }
answer "in the PATH" /opt/found
accept_until "Agent started"
foreach wrong {0 later} { refused "Agent started" $wrong }
answer "Agent started" nope
END
    expect_status 0
    expect_value "Kell Servers" server-1 "[::1]:8080"
    expect_value Configuration debug_file_size 99999
    expect_value Configuration debug_level Debug
    expect_value Configuration syslog_level NONE
    expect_value Configuration bindir /opt/found
}

@test "without a server to propose, Enter is no answer to the first question" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
refused "Name or IP" ""
refused "Name or IP" "   \t "
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

@test "a directory without the package in it is refused, and nothing has changed" {
    mkdir /opt/empty
    list_files >"$desk/before"
    at_the_terminal -iconfigure -dir /opt/empty <<'END'
answer "Name or IP" kell.example
refused "been installed to" "" "  There is no agent package in this directory.\r\n"
press "been installed to" \003
END
    expect_status 130
    expect_no_changes
}

@test "an install directory that a shell would misread fails the run, and nothing has changed" {
    given_the_package "/opt/it's"
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
answer "been installed to" "/opt/it's"
accept_until "Agent started"
accept "Agent started" yes
see "ERROR: Install directory /opt/it's contains characters that are not allowed.\r\n"
END
    expect_status 1
    expect_untouched
}

@test "-configure asks when there is nothing else to go by" {
    given_the_package
    at_the_terminal -configure <<'END'
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_on_screen "Using interactive configuration, cancel with Ctrl-C."
    expect_value "Kell Servers" server-1 kell.example
}

@test "-quiet leaves the dialogue, and nothing else after it" {
    given_the_package
    at_the_terminal -iconfigure -quiet <<'END'
refused "Name or IP" "kell example"
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    tail -n 1 "$desk/screen" >"$desk/last"
    expect_file "$desk/last" <<<$'Do you want the Agent started after configuration? (yes): n\r'
}

@test "while one operator is asked, no other run begins" {
    given_the_package
    at_the_terminal -iconfigure <<END
refused "Name or IP" ""
meanwhile 1 "  Another run of qdn-configure is in progress." $program -iconfigure
meanwhile 1 "  Another run of qdn-configure is in progress." $program -configure -quiet
meanwhile 1 "  Another run of qdn-configure is in progress." $program -clean $agent
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

# --- The terminal's own keys and ways

@test "a line is corrected with the terminal's keys before it counts" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" "bell\x15kall\x7f\x7f\x7fell.exampel\x7f\x7fle"
accept_until "Agent started"
answer "Agent started" "\x7f\x7fy\x17n"
END
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

@test "Ctrl-Z stops the dialogue, and it goes on where it was" {
    # shellcheck disable=SC2034 # for at_the_terminal
    local job_control=on
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
press "been installed to" "/opt\x1a"
see "Stopped"
type "/opt/zorvane/kell/ksagent\r"
answer "unprivileged users" no
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_same_terminal
    expect_value Configuration installdir "$agent"
}

@test "answers typed ahead are taken in turn" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" "kell.example\r\rno\r\r\r\r\r\r\r\r\r\r\r\rn"
see "Configuration complete."
END
    expect_status 0
    [ "$(stat -c %A "$agent/bin/qdn-monitor")" = -r-xr--r-- ]
}

@test "on a narrow terminal the dialogue is the same" {
    given_the_package
    local columns
    for columns in 200 20; do
        rm -f "$agent/etc/client.conf"
        at_the_terminal -iconfigure <<'END'
answer "Name or IP" a-long-name-of-a-server.in.a.long.domain.example
accept_until "Agent started"
answer "Agent started" n
END
        expect_status 0
        expect_same_terminal
        grep -v "^Creating directory: " "$desk/screen" >"$desk/screen-$columns"
    done
    expect_file "$desk/screen-20" <"$desk/screen-200"
}

each_test_is_a_session
