# The dialogue ends early: nothing at all has happened to the host, the terminal is as it was, and the next run works.
load ../scenarios/support
load ../scenarios/old-agent
load terminal

# Words of the fifteen questions, which are all asked where there is an agent to upgrade.
questions() {
    cat <<'END'
Name or IP
been installed to
keep old settings
unprivileged users
Run levels
log file be stored
name of the Agent's log
maximum size
the Agent's log file (error
system log file
in the PATH
Temporary directory
event queue
tasks directory
Agent started
END
}

# Interrupts a run at each question, with those before it answered, by a verb of the operator's and what it takes. Each
# time `expect_interrupted`, which the test defines, must hold.
interrupt_at_each() {
    local question count=0
    given_an_old_agent 6.2
    given_the_package
    while read -r question <&3; do
        at_the_terminal -iconfigure < <(printf 'accept_until "%s"\n%s "%s" %s\n' "$question" "$1" "$question" "${2:-}")
        expect_interrupted
        count=$((count + 1))
    done 3< <(questions)
    [ "$count" = 15 ]
}

expect_that_the_next_run_works() {
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
accept_until "Agent started"
answer "Agent started" n
END
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

@test "Ctrl-C cancels at each question" {
    expect_interrupted() {
        expect_status 130 # by the signal
        expect_same_terminal
        expect_untouched
        grep -q '): ^C$' "$desk/screen" # the last words are the question's
    }
    interrupt_at_each press '\x03'
    expect_that_the_next_run_works
}

@test "Ctrl-C cancels in the middle of an answer, and after a refused one" {
    given_an_old_agent 6.2
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
no_directory "been installed to" /opt/missing
press "been installed to" "/opt/zor\x03"
END
    expect_status 130
    expect_same_terminal
    expect_untouched
    expect_that_the_next_run_works
}

@test "Ctrl-C while a tool of the host runs ends the tool, too" {
    given_an_old_agent 6.2
    given_the_package
    printf '#!/bin/sh\necho looking >&2\nsleep 1000 | cat\n' >/usr/sbin/rpm
    chmod 0755 /usr/sbin/rpm
    at_the_terminal -iconfigure <<'END'
see "looking"
type "\x03"
END
    expect_status 130
    expect_same_terminal
    expect_untouched
    ps -eo comm= >"$desk/processes"
    expect_no_line '^sleep$' "$desk/processes"
    rm /usr/sbin/rpm
    expect_that_the_next_run_works
}

@test "Ctrl-D ends the input at each question" {
    expect_interrupted() {
        expect_status 1
        expect_same_terminal
        expect_untouched
        tail -n 1 "$desk/screen" | grep -q $'^ERROR: Interactive configuration failed\.\r$'
    }
    interrupt_at_each press '\x04'
    expect_that_the_next_run_works
}

@test "Ctrl-D in the middle of an answer ends the answer, then the input" {
    given_an_old_agent 6.2
    given_the_package
    at_the_terminal -iconfigure <<'END'
press "Name or IP" "kell.example\x04\x04"
see "ERROR: Interactive configuration failed.\r\n"
END
    expect_status 1
    expect_untouched
    expect_on_screen "The directory the Agent package has been installed to?"
    expect_that_the_next_run_works
}

@test "a terminal that goes away ends the input at each question" {
    expect_interrupted() {
        expect_status 1
        expect_untouched
    }
    interrupt_at_each hang_up
    expect_that_the_next_run_works
}

@test "the hang-up that a shell passes on ends the run at each question" {
    expect_interrupted() {
        expect_status 129 # by the signal
        expect_same_terminal
        expect_untouched
    }
    interrupt_at_each signal HUP
    expect_that_the_next_run_works
}

each_test_is_a_session
