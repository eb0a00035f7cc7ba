# What a session in a root can say. It ends 0 when every statement held.
set -eEuo pipefail

agent=/opt/zorvane/kell/ksagent
# shellcheck disable=SC2034 # for the tests
program=$agent/bin/qdn-configure.bin
conf=$agent/etc/client.conf
xml=/tmp/.qdn-agent-install-config.xml

trap '{ echo "failed: $BASH_COMMAND (status ${status:-none})"; tail -n 20 /session/out /session/err; } >&2' ERR

# --- The package managers

# Runs a command, and keeps its streams and its status.
try() {
    status=0
    "$@" >/session/out 2>/session/err </dev/null || status=$?
}

# install VERSION, erase: as an administrator would.
install() {
    # shellcheck disable=SC2046 # words of a command, and a wildcard
    try $(install_command "$1")
}

# The rpm misses what it requires, which are debs here.
install_command() {
    case $PACKAGE_MANAGER in
        rpm) echo "rpm --force-debian -U --nodeps --replacepkgs /session/qdn-ksclt-$1-*.rpm" ;;
        dpkg) echo "dpkg -i /session/qdn-ksclt_$1_*.deb" ;;
    esac
}

erase() {
    case $PACKAGE_MANAGER in
        rpm) try rpm --force-debian -e qdn-ksclt ;;
        dpkg) try dpkg -r qdn-ksclt ;;
    esac
}

# The version that the package manager knows; nothing without a package.
installed_version() {
    case $PACKAGE_MANAGER in
        rpm) rpm -qa --qf '%{VERSION}\n' ;;
        dpkg) dpkg-query -W -f '${Version}\n' qdn-ksclt 2>/dev/null || true ;;
    esac
}

# --- What is there before

# given_xml [ATTRIBUTES [LEVELS]]: the configuration file of an administrator.
given_xml() {
    cat >"$xml" <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings RunLevel="${2:-rc2;rc3;rc5}" ${1:-}/>
</KSAgentConfiguration>
END
}

# The files of the host. Insserv numbers its links anew whenever there is one more, and never back; the databases of the
# package managers and the session's notes are as they are.
files() {
    find / -xdev \( -path /session -o -path /proc -o -path /var/lib/rpm -o -path /var/lib/dpkg -o -path /var/log \
        -o -path /var/cache \) -prune -o -print | sed 's,/\(rc[0-6]\.d/[SK]\)[0-9][0-9],/\1,' | sort
}

# Another add-on is installed too: dpkg removes /opt with the last one.
remember_files() {
    mkdir -p /opt/another
    files >/session/files
}

# A configuration fails before it has changed anything where the former one cannot be saved, and with the new client.conf
# in place where a file stands instead of a directory.
break_configuration_early() { mkdir "$agent/etc/client.conf.old"; }

break_configuration_late() {
    rm -r "$agent/var/tasks"
    : >"$agent/var/tasks"
}

mend_configuration() {
    [ ! -d "$agent/etc/client.conf.old" ] || rmdir "$agent/etc/client.conf.old"
    [ ! -f "$agent/var/tasks" ] || rm "$agent/var/tasks"
}

# What an administrator is told to run after a configuration has failed.
repair_command() {
    case $PACKAGE_MANAGER in
        rpm) echo "$program -configure -noimode -dir $agent" ;;
        dpkg) echo "dpkg --configure qdn-ksclt" ;;
    esac
}

# After an upgrade that failed while the former agent ran.
try_again() {
    case $PACKAGE_MANAGER in
        rpm) install 6.0.350 ;;
        dpkg) try dpkg --configure qdn-ksclt ;;
    esac
}

# --- What is expected

expect_status() { [ "$status" -eq "$1" ]; }

# expect_same EXPECTED FOUND
expect_same() {
    [ "$1" = "$2" ] || {
        echo "expected '$1', found '$2'"
        return 1
    }
}

expect_no_new_files() { files | diff /session/files -; }

# What the package says itself on standard error: expect_told <<'END' ... END
expect_told() { diff - <(grep '^qdn-ksclt: ' /session/err); }

# The former agent runs again, as before the upgrade.
expect_return() {
    local remedy="install the package again."
    [ "$PACKAGE_MANAGER" != dpkg ] || remedy=$'run\nqdn-ksclt:     dpkg --configure qdn-ksclt'
    expect_told <<TOLD
qdn-ksclt: The Zorvane Agent has not been configured, for the reason above. Mend what is wrong, then $remedy
qdn-ksclt: The former agent runs again, with its own files, whatever version the package manager lists.
TOLD
    expect_running
    expect_value agent_build 340
    grep -qx agent_build=340 "$agent/etc/client.proto"
    [ ! -e /tmp/ksclt ]
}

what_is_told_last() { sed -n 's/^qdn-ksclt:     //p' /session/err | tail -n 1; }

expect_nothing_told() { ! grep '^qdn-ksclt: ' /session/err; }

expect_value() { expect_same "$2" "$(sed -n "s/^$1=//p" "$conf")"; }

# The files of the package are as it brought them. Which modes they get is for the configuration to say.
expect_unchanged_package() {
    case $PACKAGE_MANAGER in
        rpm) rpm -V --nodeps qdn-ksclt ;;
        dpkg) dpkg --verify qdn-ksclt ;;
    esac
}

# Rpm goes on after a scriptlet that fails; dpkg leaves the package half-configured.
expect_failed_configuration() {
    case $PACKAGE_MANAGER in
        rpm) expect_status 0 ;;
        dpkg)
            expect_status 1
            expect_same half-configured "$(dpkg-query -W -f '${db:Status-Status}' qdn-ksclt)"
            ;;
    esac
    expect_same 6.0.350 "$(installed_version)"
}

# expect_kept LINE: the former configuration, which has that line, is where only root can write.
expect_kept() {
    expect_same "d root 700" "$(find /tmp/ksclt -maxdepth 0 -printf '%y %u %m')"
    expect_same "f root 600" "$(find /tmp/ksclt/.migrate-client.conf -maxdepth 0 -printf '%y %u %m')"
    grep -qx "$1" /tmp/ksclt/.migrate-client.conf
}

agent_pid() { pgrep -o qdn-plug || true; }

expect_running() { [ -n "$(agent_pid)" ]; }

expect_not_running() { [ -z "$(agent_pid)" ]; }

# For the service manager, whichever it is.
expect_active() {
    if [ -d /run/systemd/system ]; then
        systemctl is-active zorvane
        expect_same "$(agent_pid)" "$(systemctl show -P MainPID zorvane)"
    else
        service zorvane status
    fi
}

# Nothing of the host's init knows the service.
expect_unknown() {
    expect_same "" "$(find /etc/init.d /etc/rc?.d /etc/systemd -name '*zorvane*')"
    [ ! -d /run/systemd/system ] || expect_same "" "$(systemctl list-units --all --no-legend '*zorvane*')"
}
