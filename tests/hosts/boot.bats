# Boots and shutdowns of the host: the init that is in it starts and stops the agent.

load host
load boot

@test "the agent is started at boot, active for the service manager, and stopped at shutdown" {
    in_root <<'END'
given_xml
install 6.0.350
expect_status 0
expect_not_running
END
    boot
    on_booted <<'END'
expect_running
expect_active
END
    shut_down
    expect_orderly_stop
}

@test "the agent runs in the levels that were asked for, and in no other" {
    in_root <<'END'
given_xml "" rc5
install 6.0.350
expect_status 0
END
    usually_boot_to_level 2
    boot
    on_booted <<<expect_not_running
    change_level 5
    on_booted <<<'expect_running; expect_active'
    change_level 2
    on_booted <<<expect_not_running
    shut_down
}

@test "an agent that is not to be started at boot is not, and can be started by hand" {
    in_root <<'END'
given_xml 'StartupOnBoot="no"'
install 6.0.350
expect_status 0
END
    boot
    on_booted <<'END'
expect_not_running
expect_unknown
"$agent/bin/rcscript" start
expect_running
END
    shut_down
}

@test "an agent that is erased while it runs is unknown to the host, and to its next boot" {
    boot
    shut_down # the first boot leaves files of its own
    in_root <<'END'
remember_files
given_xml
install 6.0.350
expect_status 0
END
    boot
    on_booted <<'END'
expect_running
erase
expect_status 0
expect_not_running
expect_unknown
END
    shut_down
    in_root <<<expect_no_new_files
    boot
    on_booted <<<'expect_not_running; expect_unknown'
    shut_down
}

@test "on a host that runs, the package starts its agent, and an upgrade does so again" {
    boot
    on_booted <<'END'
given_xml
install 6.0.340
expect_status 0
expect_active
pid=$(agent_pid)

install 6.0.350
expect_status 0
expect_active
[ "$(agent_pid)" != "$pid" ]
END
    shut_down
    expect_orderly_stop
}

@test "an upgrade to an agent that does not start ends with the former one running, and with one record of it" {
    boot
    on_booted <<'END'
records() {
    [ ! -d /run/systemd/system ] || journalctl --sync
    journalctl -o cat MESSAGE_ID=c1261f8daa9d41c695d7bb9d9b008ac3 2>/dev/null || true
}
given_xml
install 6.0.340
expect_status 0
expect_active
pid=$(agent_pid)
records >/session/records

install 6.0.345
grep -qx 'ERROR: The agent does not stay up.' /session/err
expect_return
expect_active
[ "$(agent_pid)" != "$pid" ]
[ ! -d /run/systemd/system ] ||
    expect_same "-apply of $agent by root: status 1" "$(records | diff /session/records - | sed -n 's/^> //p')"

install 6.0.350
expect_status 0
expect_active
expect_value agent_build 350
END
    shut_down
    expect_orderly_stop
}

@test "a preview of an upgrade and of a clean lets the agent run, as the same process" {
    boot
    on_booted <<'END'
given_xml
install 6.0.350
expect_status 0
expect_active
pid=$(agent_pid)
files >/session/files-before
try "$program" -preview -json -configure -noimode
expect_status 0
grep -q '"refused": "' /session/out
try "$program" -preview -clean "$agent"
expect_status 0
grep -q '^  remove ' /session/out
expect_same "$pid" "$(agent_pid)"
expect_active
files | diff /session/files-before -
END
    shut_down
    expect_orderly_stop
}

@test "where the administrator lets no service start, the agent is not started" {
    boot
    on_booted <<'END'
given_xml
printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
chmod 0755 /usr/sbin/policy-rc.d
install 6.0.350
expect_status 0
expect_not_running
END
    shut_down
}
