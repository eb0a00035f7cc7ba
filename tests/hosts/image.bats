# Hosts that are made of images, whose system is read-only while it runs.
# shellcheck disable=SC2154 # the root is host.bash's

load host
load boot

var=/opt/zorvane/kell/ksagent/var

@test "an agent that was configured in the image runs where only its state can be written" {
    in_root <<'END'
given_xml
install 6.0.350
expect_status 0
END
    # The host's /var begins empty, and so does the agent's.
    boot --volatile=state --tmpfs="$var"
    on_booted <<'END'
for place in /usr /etc /opt "$agent/etc"; do
    if { : >"$place/new"; } 2>/dev/null; then echo "$place can be written"; exit 1; fi
done
expect_running
expect_active
"$agent/bin/rcscript" stop
expect_not_running
"$agent/bin/rcscript" start
expect_running
expect_active
END
    shut_down
}

@test "on a host whose configuration is read-only a run says which place it is, before it changes anything" {
    in_root <<'END'
given_xml
install 6.0.350
expect_status 0
END
    boot --volatile=state --tmpfs="$var"
    on_booted <<'END'
"$agent/bin/rcscript" stop
status=0
"$program" -configure -noimode >/dev/null 2>/run/err </dev/null || status=$?
cat /run/err
expect_status 1
grep -q '^  /.*: Read-only file system$' /run/err
"$agent/bin/rcscript" start
expect_running
END
    shut_down
}
