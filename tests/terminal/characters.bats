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

@test "escape sequences that were typed never reach the terminal" {
    mkdir -p $'/opt/a\e[31mb' /usr/$'\eclinks'
    given_the_package $'/opt/a\e[31mb'
    at_the_terminal -iconfigure <<'END'
refused "Name or IP" "kell\x1b\[31m.example"
refused "Name or IP" "\x1bOA"
answer "Name or IP" kell.example
no_directory "been installed to" "/opt/\x1b\[31m"
answer "been installed to" "/opt/a\x1b\[31mb"
refused "unprivileged users" "\x1b\[Ayes"
accept "unprivileged users" yes
answer "Run levels" "rc3\x1b\[J"
accept "log file be stored" "/opt/a\\x1b\[31mb/var"
answer "name of the Agent's log" "\x1b]0;title\x07.log"
refused "maximum size" "25\x1b\[D6"
accept "maximum size" 256
refused "the Agent's log file (error" "error\x1b\[A"
accept_until "in the PATH"
answer "in the PATH" "/usr/\x1bclinks"
answer "Temporary directory" "/tmp/\x1b\[1mnew"
accept_until "tasks directory"
answer "tasks directory" "/opt/\x16\x03\x16\x04\x08\x0b\x0c\x0e\x1f"
answer "Agent started" n
END
    expect_status 0
    expect_no_line $'\e' "$desk/screen"
    expect_on_screen 'Creating directory: /tmp/\x1b[1mnew  Result: OK'
    expect_on_screen 'Creating directory: /opt/\x03\x04\x08\x0b\x0c\x0e\x1f  Result: OK'
    expect_value Configuration installdir $'/opt/a\e[31mb' $'/opt/a\e[31mb/etc/client.conf'
    expect_value Configuration runlevels_start 3 $'/opt/a\e[31mb/etc/client.conf'
    at_the_terminal -clean $'/opt/a\e[31mb' <<<''
    expect_status 0
    expect_no_line $'\e' "$desk/screen"
    expect_on_screen 'Removing qdn-* links in /usr/\x1bclinks'
}

@test "an error about what was typed is shown without its escape sequences" {
    given_the_package
    : >/opt/file
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
accept_until "Temporary directory"
answer "Temporary directory" "/opt/file/\x1b\[31m"
accept_until "Agent started"
accept "Agent started" yes
see "Creating directory: /opt/file/\\x1b\[31m  Result: FAILED\r\n"
see "ERROR: Error creating directory: /opt/file/\\x1b\[31m\r\n"
END
    expect_status 1
    expect_no_line $'\e' "$desk/screen"
}

@test "C1 control characters that were read from a pipe are not written either" {
    given_the_package
    printf '%s\n' kell.example "" "" "" $'/opt/\302\23331m' "" "" "" "" "" "" "" "" n >"$desk/answers"
    qdn_configure -iconfigure <"$desk/answers"
    expect_status 0
    expect_no_line $'\302\233' "$desk/out"
    grep -qFx 'Creating directory: /opt/\x9b31m  Result: OK' "$desk/out"
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
