# The agent as a service of the host: run levels, who registers it, the control script, and the start.
load support

links_of_run_levels() {
    find /etc/rc?.d -name '*zorvane' -printf '%p -> %l\n' | LC_ALL=C sort
}

@test "without any tool for services, links of the run levels start and stop the agent" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    [ "$(links_of_run_levels)" = "/etc/rc0.d/K01zorvane -> ../init.d/zorvane
/etc/rc1.d/K01zorvane -> ../init.d/zorvane
/etc/rc2.d/K01zorvane -> ../init.d/zorvane
/etc/rc3.d/S99zorvane -> ../init.d/zorvane
/etc/rc4.d/K01zorvane -> ../init.d/zorvane
/etc/rc5.d/S99zorvane -> ../init.d/zorvane
/etc/rc6.d/K01zorvane -> ../init.d/zorvane" ]
    [ "$(readlink "$agent/bin/rcscript")" = /etc/init.d/zorvane ]
    grep -qx 'INSTDIR="/opt/zorvane/kell/ksagent"' /etc/init.d/zorvane
    grep -qx '# Default-Start: 3 5' /etc/init.d/zorvane
    grep -qx '# Default-Stop: 0 1 2 4 6' /etc/init.d/zorvane
}

@test "run levels of a later configuration replace the former ones" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    given_plain_xml
    sed -i 's/RunLevel="[^"]*"/RunLevel="rc2" Upgrade="no"/' "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    [ "$(links_of_run_levels | grep /S99)" = "/etc/rc2.d/S99zorvane -> ../init.d/zorvane" ]
    expect_value Configuration runlevels_start 2
}

@test "insserv registers the agent where it is found" {
    bring_back insserv
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    links_of_run_levels | sed 's/\(.*\)[0-9][0-9]zorvane.*/\1/' >"$desk/links"
    expect_file "$desk/links" <<'END'
/etc/rc0.d/K
/etc/rc1.d/K
/etc/rc2.d/K
/etc/rc3.d/S
/etc/rc4.d/K
/etc/rc5.d/S
/etc/rc6.d/K
END
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    expect_missing /etc/rc?.d/*zorvane /etc/init.d/zorvane
}

# A systemd that runs, whose tool notes what it is told and what there is of the service then.
given_systemd() {
    mkdir -p /run/systemd/system /usr/local/bin
    cat >/usr/local/bin/systemctl <<'END'
#!/bin/sh
for path in /etc/init.d/zorvane /etc/rc?.d/*zorvane /etc/systemd/system/zorvane.service; do
    [ ! -e "$path" ] || there=yes
done
echo "$* ${there:-nothing is there}" >>/run/systemd/told
END
    chmod 0755 /usr/local/bin/systemctl
}

@test "systemd reads its units again when the last of the service is gone, after a clean and where the agent is not started at boot" {
    given_the_package
    given_systemd
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    [ "$(tail -n 1 /run/systemd/told)" = "daemon-reload yes" ]
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    [ "$(tail -n 1 /run/systemd/told)" = "daemon-reload nothing is there" ]

    given_the_package
    given_plain_xml
    sed -i 's/StartupOnBoot="yes"/StartupOnBoot="no"/' "/tmp/$xml"
    : >/run/systemd/told
    qdn_configure -configure -noimode -quiet
    expect_status 0
    [ "$(tail -n 1 /run/systemd/told)" = "daemon-reload nothing is there" ]
}

@test "a template whose header follows code gets the run levels too" {
    given_the_package
    sed -i '1a PATH=/usr/sbin:/usr/bin:/sbin:/bin' "$agent/etc/"rcscript.proto.*
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    [ "$(sed -n 2p /etc/init.d/zorvane)" = PATH=/usr/sbin:/usr/bin:/sbin:/bin ]
    grep -qx '# Default-Start: 3 5' /etc/init.d/zorvane
    grep -qx '# Default-Stop: 0 1 2 4 6' /etc/init.d/zorvane
    grep -q '^# chkconfig: 35 ' /etc/init.d/zorvane
}

@test "a program of the host's in the place of a link stays, when the agent is configured and when it is cleaned" {
    given_the_package
    given_plain_xml
    echo theirs >/usr/bin/qdn-monitor
    qdn_configure -configure -noimode -quiet
    expect_status 0
    grep -qxF "WARNING! /usr/bin/qdn-monitor is not replaced: it is not a link of the agent's." "$desk/err"
    [ "$(cat /usr/bin/qdn-monitor)" = theirs ]
    [ -x "$agent/bin/qdn-monitor" ]
    [ "$(readlink /usr/bin/qdn-configure)" = "$agent/bin/qdn-configure" ]
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    [ "$(cat /usr/bin/qdn-monitor)" = theirs ]
}

@test "not started at boot, the agent keeps a control script of its own and no registration" {
    given_the_package
    given_plain_xml
    sed -i 's/StartupOnBoot="yes"/StartupOnBoot="no"/' "/tmp/$xml"
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_line 'Setting up RC scripts' "$desk/out"
    expect_missing /etc/init.d/zorvane /etc/rc?.d/*zorvane
    [ "$(stat -c '%A %U %G' "$agent/bin/rcscript")" = "-r-xr--r-- root root" ]
    grep -qx 'INSTDIR="/opt/zorvane/kell/ksagent"' "$agent/bin/rcscript"
}

@test "a SuSE host, and a UnitedLinux host, get the script of SuSE" {
    for release in /etc/SuSE-release /etc/UnitedLinux-release; do
        touch "$release"
        given_the_package
        given_plain_xml
        qdn_configure -configure -noimode -quiet
        expect_status 0
        grep -q '^# X-UnitedLinux-Should-Start:' /etc/init.d/zorvane
        rm -r "$release" "$agent" /etc/init.d/zorvane
    done
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_no_line '^# X-UnitedLinux-Should-Start:' /etc/init.d/zorvane
    grep -q '^# Should-Start:' /etc/init.d/zorvane
}

@test "the agent is started with no signal held back, its status shown, and it can be stopped, cleaned and distinguished from a stranger" {
    under_dash_and_bash
    given_the_package
    given_plain_xml
    sed -i 's/Start="no"/Start="yes"/' "/tmp/$xml"
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    pid=$(cat "$agent/var/qdn-agent.pid")
    tail -n 5 "$desk/out" >"$desk/end"
    expect_file "$desk/end" <<END
Setting up RC scripts to start Agent at system start.
Starting Zorvane Agent for UNIX and Linux.
Zorvane Agent is running (pid $pid).
Configuration complete.

END
    # It can be ended: of all signals only the end of a child is ever held back, by the shell that the sample is.
    blocked=$(sed -n 's/^SigBlk:\t*//p' "/proc/$pid/status")
    [ $((0x$blocked & ~0x10000)) -eq 0 ]
    qdn_configure -clean "$agent"
    expect_status 1
    kill -0 "$pid"

    "$agent/bin/rcscript" stop
    qdn_configure -clean "$agent"
    expect_status 0
    expect_missing "$agent" /etc/init.d/zorvane
}

each_test_is_a_session
