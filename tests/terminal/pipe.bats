# The same questions, answered by a script: answers come from a pipe or a file, and nobody sees what was typed.
load ../scenarios/support
load ../scenarios/old-agent
load terminal

# The first COUNT answers, by default all, where there is an agent to upgrade: a new server, Enter, and at last "n".
answers() {
    printf '%s\n' https://kell.example:8083 "" "" "" "" "" "" "" "" "" "" "" "" "" n | awk -v count="${1:-15}" 'NR <= count'
}

ask() {
    status=0
    "$program" -iconfigure >"$desk/out" 2>"$desk/err" || status=$?
}

given_an_agent_to_ask_about() {
    given_an_old_agent 6.2
    given_the_package
    state_of_the_host >"$desk/state"
}

@test "a script of answers configures the agent, and standard output is the dialogue without the answers" {
    given_an_agent_to_ask_about
    ask < <(answers)
    expect_status 0
    expect_no_errors
    expect_value "Kell Servers" server-1 kell.example:8083
    expect_output <<END
$banner
Using interactive configuration, cancel with Ctrl-C.
  Please answer the following questions.
  Defaults are in brackets. To accept a default just press enter.

Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to specify the full URL.
Example:  https://kellserver.example.com:8083 (https://old.example:8083): \
The directory the Agent package has been installed to? ($agent): \
Do you want to keep old settings? (yes): \
Allow program execution by unprivileged users? (yes): \
Which Run levels should the agent be installed in? (rc3;rc5;): \
In which directory should the Agent's log file be stored? ($agent/var): \
What should the name of the Agent's log file be? (qdn-client.log): \
What should be the maximum size, in kilobytes, of the Agent's log file? (777): \
What level of logging should be used for the Agent's log file (error,warning,info,debug,dbgverbose,devnote)? (warning): \
What level of logging should be used for the system log file (none,error,warning,info)? (error): \
Directory to use, which should be in the PATH, to create links to the Agent's binaries? (/usr/bin): \
Temporary directory for the Agent's use? (/var/tmp): \
Agent's event queue directory (default recommended)? ($agent/var/queue): \
Agent's tasks directory (default recommended)? ($agent/var/tasks): \
Do you want the Agent started after configuration? (yes): \
  Removing qdn-* links in /usr/bin
  Removing RC init links and scripts
Migrating Agent 6.2 settings...
Creating customized RC and environment scripts.
Setting up RC scripts to start Agent at system start.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
}

@test "too few answers fail the run, however few they are, and nothing has changed" {
    local count
    given_an_agent_to_ask_about
    for count in {0..14}; do
        ask < <(answers "$count")
        expect_status 1
        expect_errors <<<"ERROR: Interactive configuration failed."
        expect_untouched
    done
}

@test "the last answer may lack its line end" {
    given_an_agent_to_ask_about
    ask < <(printf '%s' "$(answers)")
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example:8083
}

@test "a last answer that is not valid is asked again, and there is none" {
    given_an_agent_to_ask_about
    ask < <(answers 14; printf perhaps)
    expect_status 1
    expect_errors <<<"ERROR: Interactive configuration failed."
    expect_untouched
    tail -n 1 "$desk/out" >"$desk/last"
    expect_file "$desk/last" <<<'Do you want the Agent started after configuration? (yes): '
}

@test "answers left over are not read as anything else" {
    given_an_agent_to_ask_about
    ask < <(answers; printf 'yes\n%.0s' {1..100})
    expect_status 0
    expect_no_errors
}

@test "lines may end as on other systems" {
    given_an_agent_to_ask_about
    ask < <(answers | sed 's/$/\r/')
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example:8083
    expect_value Configuration debug_file_size 777
}

@test "a line that does not fit is refused as a whole and asked again" {
    local length
    given_an_agent_to_ask_about
    for length in 4096 10000 1000000; do
        ask < <(head -c "$length" /dev/zero | tr '\0' k; printf '\nkell.example')
        expect_status 1
        sed -n 7,8p "$desk/out" >"$desk/said"
        expect_file "$desk/said" <<'END'
Example:  https://kellserver.example.com:8083 (https://old.example:8083):   Invalid value entered. Please re-enter or Ctrl-C to cancel.
Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to specify the full URL.
END
        expect_untouched
    done
}

@test "an answer with a NUL in it is refused, whatever the question" {
    local count
    given_an_agent_to_ask_about
    for count in {0..14}; do
        ask < <(answers "$count"; printf 'yes\0\n')
        expect_status 1
        expect_untouched
        [ "$(grep -c 'Invalid value entered\. Please re-enter' "$desk/out")" = 1 ]
    done
}

# bats test_tags=not-under-qemu
@test "input that cannot be read fails the run" {
    given_an_agent_to_ask_about
    ask </
    expect_status 1
    expect_errors <<<"ERROR: Interactive configuration failed."
    ask <&-
    expect_status 1
    expect_errors <<<"ERROR: Interactive configuration failed."
    expect_untouched
}

each_test_is_a_session
