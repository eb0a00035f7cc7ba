# What is typed and shown in the terminal's character set, and answers that would steer a terminal or never end.
load ../scenarios/support
load ../scenarios/old-agent
load terminal

# --- Character sets

@test "letters beyond ASCII are taken as they were typed, in UTF-8" {
    export LC_ALL=de_DE.UTF-8
    given_the_package /opt/büro
    at_the_terminal -iconfigure <<'END'
refused "Name or IP" käll.example
answer "Name or IP" kell.example
answer "been installed to" /opt/büro
accept_until "log file be stored"
accept "log file be stored" /opt/büro/var
answer "name of the Agent's log" "größe-λ-日本.log"
refused "maximum size" ٣
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value Configuration debug_output "/opt/büro/var/größe-λ-日本.log" /opt/büro/etc/client.conf
    expect_on_screen "Creating directory: /opt/b?ro/var  Result: OK"
}

@test "letters beyond ASCII are taken as they were typed, in Latin-1" {
    export LC_ALL=de_DE.ISO-8859-1
    given_the_package /opt/büro
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
answer "been installed to" "/opt/b\xfcro"
accept_until "log file be stored"
accept "log file be stored" "/opt/b\xfcro/var"
answer "name of the Agent's log" "gr\xf6\xdfe.log"
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value Configuration debug_output "/opt/büro/var/größe.log" /opt/büro/etc/client.conf
}

@test "in another character set, letters beyond ASCII pass as the bytes that they are and are shown as question marks" {
    export LC_ALL=POSIX
    given_the_package /opt/büro
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
answer "been installed to" "/opt/büro"
accept_until "log file be stored"
accept "log file be stored" "/opt/b??ro/var"
answer "name of the Agent's log" "a\xfc.log"
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value Configuration debug_output "/opt/büro/var/a"$'\xfc'".log" /opt/büro/etc/client.conf
}

# --- Answers that would steer a terminal

@test "escape sequences that were typed are refused at every question, and never reach the terminal" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
refused "Name or IP" "kell\x1b\[31m.example"
refused "Name or IP" "\x1bOA"
answer "Name or IP" kell.example
refused "been installed to" "/opt/zorvane/\x1b\[31m"
accept "been installed to" /opt/zorvane/kell/ksagent
refused "unprivileged users" "\x1b\[Ayes"
accept "unprivileged users" yes
refused "Run levels" "rc3\x1b\[J"
accept "Run levels" "rc2;rc3;rc5"
accept "log file be stored" "/opt/zorvane/kell/ksagent/var"
refused "name of the Agent's log" "\x1b]0;title\x07.log"
accept "name of the Agent's log" qdn-client.log
refused "maximum size" "25\x1b\[D6"
accept "maximum size" 256
refused "the Agent's log file (error" "error\x1b\[A"
accept_until "in the PATH"
refused "in the PATH" "/usr/\x1blinks"
accept "in the PATH" /usr/bin
refused "Temporary directory" "/tmp/\x1b\[1mnew"
accept_until "tasks directory"
refused "tasks directory" "/opt/\x16\x03\x16\x04\x08\x0b\x0c\x0e\x1f"
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_no_line $'\e' "$desk/screen"
}

@test "C1 control characters that were read from a pipe are refused, and not written either" {
    given_the_package
    printf '%s\n' kell.example "" "" "" $'/opt/\302\23331m' "" "" "" "" "" "" "" "" "" n >"$desk/answers"
    qdn_configure -iconfigure <"$desk/answers"
    expect_status 0
    expect_no_line $'\302\233' "$desk/out"
    [ "$(grep -cF 'Invalid value entered' "$desk/out")" -eq 1 ]
}

# --- Pasted answers

@test "a pasted line that does not fit is refused as a whole" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
foreach length {4095 4096 4097 10000} { refused "Name or IP" [string repeat k $length] }
answer "Name or IP" kell.example
accept_until "name of the Agent's log"
foreach length {4095 10000} { refused "name of the Agent's log" [string repeat l $length] }
answer "name of the Agent's log" short.log
accept_until "Agent started"
foreach length {4095 10000} { refused "Agent started" [string repeat n $length] }
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
    expect_value Configuration debug_output "$agent/var/short.log"
}

@test "the longest line that a terminal passes on whole is an answer" {
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
accept_until "Run levels"
answer "Run levels" "rc3;[string repeat x 4090]"
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value Configuration runlevels_start 3
}

each_test_is_a_session
