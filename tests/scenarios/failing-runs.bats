# Whatever would make a later step fail, and can be seen beforehand, stops a run before it has changed anything.
load support

# An agent that runs on this host: configured, with its service, its links and data of its own.
given_an_agent() {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    sed -i '1i # the comment of an administrator' "$agent/etc/client.conf"
    echo "event" >"$agent/var/queue/0001.kse"
    export QDN_INSTALL_AUTOSTART=no
}

# Every file with its bytes; what else there is to know of files is compared by expect_no_changes.
tree() {
    find /etc /opt /tmp -path "$project" -prune -o -path "$desk" -prune -o -type f -exec sha256sum {} + 2>/dev/null
}

mount_read_only() {
    mount --bind "$1" "$1"
    mount -o remount,bind,ro "$1"
}

# fails_unchanged WHAT BREAK MEND ERROR [OPTION ...]: with the host broken, the run says that error, and the host stays as
# it is; then it is mended.
fails_unchanged() {
    local what=$1 mend=$3 error=$4
    eval "$2"
    shift 4
    tree >"$desk/tree"
    qdn_configure -configure -noimode "$@"
    tree | diff "$desk/tree" - || fail "$what: the tree has changed"
    expect_no_changes || fail "$what: files were touched"
    expect_status 1
    expect_output <<<"$banner" || fail "$what: more is said than the error"
    head -n 1 "$desk/err" >"$desk/error"
    expect_file "$desk/error" <<<"ERROR: $error" || fail "$what"
    eval "$mend"
    failed=$((failed + 1))
}

# Of a path: it is taken away for the run, or a directory stands in its place.
fails_without() {
    fails_unchanged "without $1" "mv $1 $desk/aside" "mv $desk/aside $1" "$2"
}
fails_with_directory_at() {
    fails_unchanged "a directory at $1" \
        "[ ! -e $1 ] && [ ! -L $1 ] || mv $1 $desk/aside; mkdir -m 0711 $1" \
        "rmdir $1; [ ! -e $desk/aside ] && [ ! -L $desk/aside ] || mv $desk/aside $1" "$2"
}

@test "eighteen runs that have to fail leave the host as it was, byte for byte" {
    failed=0
    given_an_agent
    conf=$agent/etc/client.conf

    fails_without "$agent/etc/client.proto" "Missing file in install. File:$agent/etc/client.proto"
    fails_with_directory_at "$agent/etc/client.proto" \
        "Missing or unreadable file in install. File: $agent/etc/client.proto"
    fails_unchanged "an empty template" "cp -p $agent/etc/client.proto $desk/proto; : >$agent/etc/client.proto" \
        "cp -p $desk/proto $agent/etc/client.proto" \
        "Missing or unreadable file in install. File: $agent/etc/client.proto"
    fails_unchanged "a mistyped -dir" : : "Missing file in install. File:/opt/zorvane/kell/ksagnet/etc/client.proto" \
        -dir /opt/zorvane/kell/ksagnet
    fails_unchanged "an install directory of the host" : : "Install directory /usr is a directory of the host." -dir /usr
    fails_unchanged "an install directory with a blank" : : \
        "Install directory /opt/my agent contains characters that are not allowed." -dir "/opt/my agent"
    fails_without "$agent/etc/rcscript.proto.linux" "Failed to set up the RC scripts."
    fails_with_directory_at "$agent/bin/qdn-env" "Unable to write to file: $agent/bin/qdn-env"
    fails_with_directory_at "$agent/bin/rcscript" "Failed to set up the RC scripts."
    fails_with_directory_at "$agent/etc/client.conf.old" "Unable to write to file: $agent/etc/client.conf.old"
    fails_unchanged "a directory for links that is gone" "sed -i s,^bindir=.*,bindir=/opt/links, $conf" \
        "sed -i s,^bindir=.*,bindir=/usr/bin, $conf" \
        "Directory /opt/links specified in Configuration file, must exist and be writable."
    fails_unchanged "a file in place of a store" "mv $agent/var/tasks $desk/aside; : >$agent/var/tasks" \
        "rm $agent/var/tasks; mv $desk/aside $agent/var/tasks" \
        "Directory $agent/var/tasks specified in Configuration file, already exists but is not writable."
    fails_unchanged "a file in the way to the log" "sed -i s,^debug_output=.*,debug_output=/etc/hosts/log/x.log, $conf" \
        "sed -i s,^debug_output=.*,debug_output=$agent/var/qdn-client.log, $conf" \
        "Error creating directory: /etc/hosts/log"
    fails_unchanged "a log in /proc" "sed -i s,^debug_output=.*,debug_output=/proc/log/x.log, $conf" \
        "sed -i s,^debug_output=.*,debug_output=$agent/var/qdn-client.log, $conf" \
        "Error creating directory: /proc/log"
    fails_unchanged "/usr mounted read-only" "mount_read_only /usr/bin" "umount -l /usr/bin" \
        "Failed to clean old agent files."
    fails_unchanged "/etc mounted read-only" "mount_read_only /etc" "umount -l /etc" "Failed to clean old agent files."
    fails_unchanged "the agent mounted read-only" "mount_read_only $agent" "umount $agent" \
        "Failed to create $agent/etc"
    fails_unchanged "a file of the agent that is mounted on" "mount --bind /etc/hosts $agent/bin/qdn-env" \
        "umount $agent/bin/qdn-env" "Unable to write to file: $agent/bin/qdn-env"
    [ "$failed" -eq 18 ]

    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_file "$agent/var/queue/0001.kse" <<<"event"
    expect_missing "$agent/etc/.unfinished"
}

@test "the reason that the system gives stands below the error" {
    given_an_agent
    mount_read_only /usr/bin
    qdn_configure -configure -noimode -quiet
    expect_status 1
    [ "$(wc -l <"$desk/err")" = 2 ]
    tail -n 1 "$desk/err" | grep -x '  /usr/bin/qdn-[a-z]*: Read-only file system'
}

# stopped_by WHEN PATH ERROR: a tool for services, called to do WHEN, leaves a directory at PATH. The run says the error,
# and the next one, without both, completes what it has begun.
stopped_by() {
    printf '#!/bin/sh\n[ "$1" = %s ] || exit 0\nrm -f %s\nmkdir -p %s/x\n' "$1" "$2" "$2" >/usr/sbin/chkconfig
    chmod 0755 /usr/sbin/chkconfig
    qdn_configure -configure -noimode -quiet
    expect_status 1
    expect_errors <<END
ERROR: $3
  $2: Is a directory
END
    [ -e "$agent/etc/.unfinished" ] || fail "$2: the run is not marked as unfinished"
    rm -r "$2" /usr/sbin/chkconfig
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_no_errors
    expect_missing "$agent/etc/.unfinished"
    expect_value "Kell Servers" server-1 kell.example
    expect_file "$agent/var/queue/0001.kse" <<<"event"
}

@test "what comes in the way of a step ends the run with its error, and the next run completes it" {
    given_an_agent
    stopped_by --del "$agent/etc/client.conf" "Failed to create the new config file: $agent/etc/client.conf"
    stopped_by --del /etc/init.d/zorvane "Failed to set up the RC scripts."
    stopped_by --add "$agent/bin/rcscript" "Failed to set up the RC scripts."
}

each_test_is_a_session
