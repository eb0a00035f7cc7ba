# For tests of the agent package: commands that run in a private copy of the machine, where the package is laid down.

project=$BATS_TEST_DIRNAME/../..

# machine FAMILY <<'END' ... END: runs shell commands where the package lies in $dir and is configured, and where
# $script is the family's service script. Processes that are left behind end with the machine.
machine() {
    FAMILY=$1 PROJECT=$project run "$project/tests/support/private-machine" sh -c "$(prelude; cat)"
}

prelude() {
    cat <<'END'
dir="/opt/zorvane/kell agent"
script=/etc/init.d/zorvane
pid_file=$dir/var/qdn-agent.pid
cd /opt
"$PROJECT/package/lay-down" "$dir" /bin/true
echo 'QDNCLIENT_CONFIG_FILE=configured; export QDNCLIENT_CONFIG_FILE' >"$dir/bin/qdn-env"
: >"$dir/etc/client.conf"
sed "s,%INSTDIR%,$dir,g" "$dir/etc/rcscript.proto.$FAMILY" >"$script"
chmod 0755 "$script"

# lives PID: a process that has ended but that nobody has waited for is still listed.
lives() { grep -q '^State:[[:blank:]]*[^ZX]' "/proc/$1/status" 2>/dev/null; }

# environment NAME PID: the lines of a process's environment that set the variable.
environment() { tr '\0' '\n' <"/proc/$2/environ" | grep "^$1="; }

# Lets systemd run the host, with the unit made and a systemctl that notes what it is told and runs the script.
run_systemd() {
    mkdir -p /run/systemd/system /etc/systemd/system
    : >/etc/systemd/system/zorvane.service
    rm -f /usr/bin/systemctl
    cat >/usr/bin/systemctl <<'SYSTEMCTL'
#!/bin/sh
echo "systemctl $*"
[ -e /run/deaf ] || SERVICE_SCRIPT_CALLER=systemd /etc/init.d/zorvane "$1" >/dev/null
SYSTEMCTL
    chmod 0755 /usr/bin/systemctl
}
END
}
