# The agent's service scripts, run as init, systemd and administrators run them.

load machine

families="linux suse unix"

# lines_are LINE ...: the machine's shell succeeded and these are all the lines that were printed.
lines_are() {
    diff <(printf '%s\n' "$@") <(printf '%s\n' "$output")
    [ "$status" -eq 0 ]
}

@test "the templates differ only where families of hosts do" {
    for family in $families; do
        sed -e '/^# >>> /,/^# <<<$/d' -e 's/^# X-UnitedLinux-Should-/# Should-/' -e '/^$/d' \
            "$BATS_TEST_DIRNAME/../../package/etc/rcscript.proto.$family" >"$BATS_TEST_TMPDIR/$family"
    done
    diff "$BATS_TEST_TMPDIR/linux" "$BATS_TEST_TMPDIR/suse"
    diff "$BATS_TEST_TMPDIR/linux" "$BATS_TEST_TMPDIR/unix"
}

@test "a started agent runs, is seen by ps and is reported in one line, on every family" {
    for family in $families; do
        machine "$family" <<'END'
"$script" start >/opt/told; echo "start: $?"
pid=$(cat "$pid_file")
[ "$(cat /opt/told)" = "Zorvane Agent is running (pid $pid)." ] && echo "told the pid"
ps -e | grep -c "^ *$pid .* qdn-plug"
"$script" status >/opt/told; echo "status: $?"
[ "$(cat /opt/told)" = "Zorvane Agent is running (pid $pid)." ] && echo "told the pid"
environment QDNCLIENT_CONFIG_FILE "$pid"
END
        lines_are "start: 0" "told the pid" 1 "status: 0" "told the pid" "QDNCLIENT_CONFIG_FILE=configured"
    done
}

@test "an agent that runs is not started twice" {
    machine linux <<'END'
"$script" start >/opt/first
"$script" start >/opt/second; echo $?
cmp /opt/first /opt/second && ps -e | grep -c qdn-plug
END
    lines_are 0 1
}

@test "a stopped agent is gone when the script returns, on every family" {
    for family in $families; do
        machine "$family" <<'END'
"$script" start >/opt/told
pid=$(cat "$pid_file")
"$script" stop; echo $?
lives "$pid" || echo gone
ls "$dir/var"
"$script" stop; echo $?
END
        lines_are "Zorvane Agent is stopped." 0 gone "Zorvane Agent is not running." 0
    done
}

@test "a restart gives a new process" {
    machine linux <<'END'
"$script" start >/opt/told
old=$(cat "$pid_file")
"$script" restart >/opt/told; echo $?
new=$(cat "$pid_file")
lives "$old" || echo "old one gone"
lives "$new" && [ "$new" != "$old" ] && echo "new one runs"
printf 'Zorvane Agent is stopped.\nZorvane Agent is running (pid %s).\n' "$new" | cmp - /opt/told
END
    lines_are 0 "old one gone" "new one runs"
}

@test "try-restart leaves a stopped agent stopped and restarts a running one" {
    machine suse <<'END'
"$script" try-restart; echo $?
ls "$dir/var" 2>&1 | grep -c qdn-agent
"$script" start >/opt/told
old=$(cat "$pid_file")
"$script" try-restart >/opt/told; echo $?
lives "$old" || echo "old one gone"
END
    lines_are 0 0 0 "old one gone"
}

@test "the status distinguishes a stopped agent from one that died" {
    machine linux <<'END'
"$script" status; echo $?
"$script" start >/opt/told
kill -KILL "$(cat "$pid_file")"
while lives "$(cat "$pid_file")"; do :; done
"$script" status; echo $?
END
    lines_are "Zorvane Agent is not running." 3 "Zorvane Agent is not running." 1
}

@test "a pid file that another process's number got into makes the script kill nobody, on every family" {
    for family in $families; do
        machine "$family" <<'END'
mkdir "$dir/var"
sleep 1000 &
echo $! >"$pid_file"
"$script" status; echo $?
"$script" stop; echo $?
lives $! && echo spared
END
        lines_are "Zorvane Agent is not running." 1 "Zorvane Agent is not running." 0 spared
    done
}

@test "a pid file without a number counts as none" {
    machine linux <<'END'
mkdir "$dir/var"
for text in "" "-1" "1x" "../1"; do
    echo "$text" >"$pid_file"
    "$script" status; echo $?
done
END
    lines_are "Zorvane Agent is not running." 1 "Zorvane Agent is not running." 1 \
        "Zorvane Agent is not running." 1 "Zorvane Agent is not running." 1
}

@test "an agent without its configuration or its program is not started" {
    machine linux <<'END'
rm "$dir/etc/client.conf"
"$script" start; echo $?
: >"$dir/etc/client.conf"
rm "$dir/bin/qdn-env"
"$script" start; echo $?
rm "$dir/bin/qdn-pluginmanager.bin"
"$script" start; echo $?
END
    lines_are "Zorvane Agent is not configured." 6 "Zorvane Agent is not configured." 6 \
        "Zorvane Agent is not installed." 5
}

@test "an agent that ends at once is reported as not started" {
    machine linux <<'END'
printf '#!/bin/sh\n' >"$dir/bin/qdn-pluginmanager.bin"
sed -i 's/^START_SECONDS=.*/START_SECONDS=0/' "$dir/lib/service-functions"
"$script" start; echo $?
END
    lines_are "Zorvane Agent did not start." 7
}

@test "a script that outlives its package lets a host shut down" {
    machine linux <<'END'
rm -r "$dir"
"$script" start; echo $?
"$script" status; echo $?
"$script" stop; echo $?
END
    lines_are "Zorvane Agent is not installed." 5 "Zorvane Agent is not installed." 4 \
        "Zorvane Agent is not installed." 0
}

@test "an unknown action is refused" {
    machine linux <<'END'
"$script" dance; echo $?
"$script"; echo $?
END
    usage="Usage: /etc/init.d/zorvane {start|stop|restart|try-restart|force-reload|status}"
    lines_are "$usage" 2 "$usage" 2
}

# started_under SHELL: what an agent holds that was started where /bin/sh is that shell.
started_under() {
    machine linux < <(echo "ln -sf $1 /bin/sh"; cat <<'END'
"$script" start 3>/opt/open 9>&3 | cat >/opt/told
pid=$(cat "$pid_file")
for descriptor in 0 1 2; do readlink "/proc/$pid/fd/$descriptor"; done
readlink "/proc/$pid/cwd"
find "/proc/$pid/fd" -lname /opt/open
environment SERVICE_SCRIPT_CALLER "$pid"
[ "$(ps -o sid= -p "$pid" | tr -d ' ')" = "$pid" ] && echo "session of its own"
END
    )
    lines_are /dev/null /dev/null /dev/null / "session of its own"
}

@test "a running agent holds nothing of its caller where the shell is dash" { started_under dash; }

@test "a running agent holds nothing of its caller where the shell is bash" { started_under bash; }

@test "where systemd runs the host and knows the service, it starts and stops the agent" {
    machine linux <<'END'
run_systemd
"$script" start >/opt/told; echo $?
pid=$(cat "$pid_file")
printf 'systemctl start zorvane.service\nZorvane Agent is running (pid %s).\n' "$pid" | cmp - /opt/told
environment SERVICE_SCRIPT_CALLER "$pid"
"$script" stop; echo $?
lives "$pid" || echo gone
END
    lines_are 0 "systemctl stop zorvane.service" "Zorvane Agent is stopped." 0 gone
}

@test "systemd is not asked for a service that it does not know, nor for the status" {
    machine linux <<'END'
run_systemd
"$script" status
rm /etc/systemd/system/zorvane.service
"$script" start >/opt/told; grep -c systemctl /opt/told
ln -s /dev/null /etc/systemd/system/zorvane.service
"$script" stop
END
    lines_are "Zorvane Agent is not running." 0 "Zorvane Agent is stopped."
}

@test "an agent that systemd did not start is stopped all the same" {
    machine linux <<'END'
"$script" start >/opt/told
pid=$(cat "$pid_file")
run_systemd
: >/run/deaf
"$script" stop; echo $?
lives "$pid" || echo gone
END
    lines_are "systemctl stop zorvane.service" "Zorvane Agent is stopped." 0 gone
}

@test "on Red Hat a lock file says that there is something to stop" {
    machine linux <<'END'
mkdir -p /var/lock/subsys
"$script" start >/opt/told
ls /var/lock/subsys
"$script" stop
ls /var/lock/subsys
END
    lines_are zorvane "Zorvane Agent is stopped."
}

@test "HP-UX gets the lines of its check list" {
    machine unix <<'END'
"$script" start_msg; echo $?
"$script" stop_msg; echo $?
END
    lines_are "Starting the Zorvane Agent" 0 "Stopping the Zorvane Agent" 0
}
