# What a session in a root can say. It ends 0 when every statement held.
set -eEuo pipefail

agent=/opt/zorvane/kell/ksagent
# shellcheck disable=SC2034 # for the tests
program=$agent/bin/qdn-configure.bin
conf=$agent/etc/client.conf
xml=/tmp/.qdn-agent-install-config.xml

trap 'echo "failed: $BASH_COMMAND (status ${status:-none})"; tail -n 20 /session/out /session/err 2>/dev/null' ERR

# --- The package managers

# Runs a command, and keeps its streams and its status.
try() {
    status=0
    "$@" >/session/out 2>/session/err </dev/null || status=$?
}

# install VERSION, erase: as an administrator would. The rpm misses its requirements, which are debs here.
install() {
    case $PACKAGE_MANAGER in
        rpm) try rpm --force-debian -U --nodeps --replacepkgs "/session/qdn-ksclt-$1.rpm" ;;
        dpkg) try dpkg -i "/session/qdn-ksclt_$1.deb" ;;
    esac
}

erase() {
    case $PACKAGE_MANAGER in
        rpm) try rpm -e qdn-ksclt ;;
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
expect_told() { grep '^qdn-ksclt: ' /session/err | diff - /dev/fd/3 3<&0; }

expect_nothing_told() { ! grep '^qdn-ksclt: ' /session/err; }

expect_value() { expect_same "$2" "$(sed -n "s/^$1=//p" "$conf")"; }

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
