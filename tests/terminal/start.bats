# The last question answered with Enter: the agent is started. It takes the ten seconds that the program gives the agent.
load ../scenarios/support
load terminal

@test "an agent that was started from a terminal outlives it" {
    under_dash_and_bash
    given_the_package
    at_the_terminal -iconfigure <<'END'
answer "Name or IP" kell.example
accept_until "Agent started"
accept "Agent started" yes
END
    expect_status 0
    expect_same_terminal
    "$agent/bin/rcscript" status >"$desk/service" # the terminal has gone by now
    expect_file "$desk/service" < <(grep -a '^Zorvane Agent is running (pid [0-9]*)\.' "$desk/screen" | tr -d '\r')
    [ "$(ps -o tty= -p "$(<"$agent/var/qdn-agent.pid")")" = "?" ]
}

each_test_is_a_session
