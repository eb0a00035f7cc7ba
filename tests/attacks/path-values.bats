# More than a hundred values that no path of the agent's should have, for every key that holds one, on a first
# configuration, an upgrade, an upgrade to another directory and a clean: whatever the run says, nothing of the host's is
# changed or removed. A few of these runs; QDN_ALL_PATHS=yes bats tests/attacks/path-values.bats takes all of them.
# shellcheck disable=SC2154 # a session says where things are
load support

path_values() {
    cat <<END
/
//
/.
/..
/../..
/etc
/etc/
/etc//
/etc/.
/etc/..
//etc
/etc/passwd
/etc/passwd/
/etc/shadow
/etc/group
/etc/hosts
/etc/fstab
/etc/ssh
/etc/hosts.d/keys
/etc/ssl
/etc/cron.d
/etc/init.d
/etc/rc3.d
/etc/rc3.d/../init.d
/etc/systemd
/etc/resolv.conf
/etc/mtab
/etc/alternatives
/usr
/usr/
/usr/.
/usr/bin
/usr/bin/env
/usr/bin/../bin
/usr/sbin
/usr/lib
/usr/lib/.
/usr/lib/x86_64-linux-gnu
/usr/lib/ssl
/usr/lib64
/usr/libexec
/usr/share
/usr/share/doc
/usr/share/doc/hosts
/usr/share/zoneinfo
/usr/include
/usr/src
/usr/games
/usr/local
/usr/local/bin
/usr/local/lib
/usr/local/share
/bin
/bin/
/bin/sh
/sbin
/lib
/lib/
/lib64
/var
/var/
/var/lib
/var/lib/dpkg
/var/lib/hosts
/var/lib/hosts/file
/var/lib/hosts/deep
/var/lib/dpkg/info
/var/lib/hosts-single/only
/var/log/hosts
/var/cache/hosts
/var/spool/hosts
/var/spool/hosts/file
/var/log
/var/log/hosts.log
/var/log/hosts/access.log
/var/spool/hosts-cron/tabs
/var/cache
/var/spool
/var/mail
/var/opt
/var/run
/var/lock
/var/tmp/..
/home
/home/alice
/home/alice/
/home/alice/..
/home/alice/../alice
/home/alice/to-root
/home/alice/to-etc
/home/alice/to-passwd
/root
/root/
/root/below
/root/file
/root/..
/dev
/dev/null
/dev/zero
/dev/tty
/dev/shm
/dev/fd/0
/proc
/proc/self
/proc/self/cwd
/proc/self/root
/proc/self/root/etc
/proc/1/root
/sys
/run
/boot
/mnt
/media
/srv
/opt
/opt/links/to-etc
/opt/links/to-usr
/opt/links/to-passwd
/opt/links/to-root
/opt/links/dangling
/opt/links/loop
..
.
../..
../../../../etc
relative
~
*
/*
/etc/*
/usr/bin/*
/etc/pass??
END
}

path_keys() {
    echo "installdir bindir var tmpdir event_queue_dir task_storage_path package_storage_path swd_storage_path"
    echo "guid_guid_file debug_output ssl_ca_info ssl_ca_path"
}

given_the_hosts_own() {
    mount -t tmpfs -o mode=0755 tmpfs /home
    local directory
    hosts=(/home/alice /home/alice/below /root /root/below /var/{lib,log,cache,spool}/hosts{,/deep} /var/lib/hosts-single/only
        /etc/hosts.d/keys /usr/share/doc/hosts /var/spool/hosts-cron/tabs)
    mkdir -p "${hosts[@]}" /opt/links
    for directory in "${hosts[@]}"; do echo "precious" >"$directory/file"; done
    touch /var/{lib,log,cache,spool}/hosts/{one.kse,deep/one.kst} /var/log/hosts{/access,}.log{,.1,.2.gz}
    touch /etc/hosts.d/keys/{host.config,one.kse} /var/lib/hosts-single/only/one.kst
    ln -s /root /home/alice/to-root
    ln -s /etc /home/alice/to-etc
    ln -s /etc/passwd /home/alice/to-passwd
    chown -R -h 1000:1000 /home/alice 2>/dev/null || true
    ln -s /etc /opt/links/to-etc
    ln -s /usr /opt/links/to-usr
    ln -s /etc/passwd /opt/links/to-passwd
    ln -s / /opt/links/to-root
    ln -s /nowhere /opt/links/dangling
    ln -s loop /opt/links/loop
}

# What stands in places of the host's, a line each: path, kind and mode, owner, and of what is no directory size and time.
# The agent's own files there, and what else a run makes and takes away, do not count; nor do links that lead nowhere,
# which go where a store is named after one.
list_of() {
    find "$@" -xdev \( -path "$project" -o -path /var/tmp -o -path '/etc/*zorvane*' -o -path '/usr/bin/qdn-*' \
        -o -path /opt/links/dangling -o -path /opt/links/loop \) -prune -o \
        \( -type d -printf '%p\t%M %U:%G\n' -o -printf '%p\t%M %U:%G %s %T@ %l\n' \) 2>/dev/null || true # some may have gone
}

# Of the large trees, what has been changed of them; what has gone stands there as a device without a number, and what
# was made anew in the place of a directory bears a mark.
changes_of_large_trees() {
    local tree
    for tree in usr var; do
        (cd "$PRIVATE_MACHINE_CHANGES/$tree" && find . -type c -printf "/$tree/%P\tgone\n" -o -type d -printf "/$tree/%P\t%M %U:%G\n" \
            -o -printf "/$tree/%P\t%M %U:%G %s %T@ %l\n")
    done
    /usr/bin/python3 -c '
import os, sys
for tree in ("usr", "var"):
    for directory, _, _ in os.walk(os.path.join(sys.argv[1], tree)):
        for mark in ("trusted.overlay.opaque", "user.overlay.opaque"):
            try:
                if os.getxattr(directory, mark) == b"y": print(directory[len(sys.argv[1]):] + "\tmade anew")
            except OSError: pass' "$PRIVATE_MACHINE_CHANGES"
}

small_places() { echo /etc /home /root /opt/links /usr/share/doc/hosts /var/{lib,log,cache,spool}/hosts*; }

note_the_hosts_own() {
    # shellcheck disable=SC2046 # words
    list_of $(small_places) >"$desk/host-before"
    list_of /usr /var >"$desk/large-before"
}

# Nothing that stood there has gone or been changed. What is new is what the configuration asked for.
expect_the_hosts_own() {
    # shellcheck disable=SC2046 # words
    { list_of $(small_places); changes_of_large_trees; } >"$desk/host-after"
    awk -F '\t' 'FNR == 1 { list++ }
        list == 1 { after[$1] = $2; next }
        $1 in after { if (after[$1] != $2) print "from " $2 " to " after[$1] ": " $1; next }
        list == 2 { print "gone: " $1 }' "$desk/host-after" "$desk/host-before" "$desk/large-before" >"$desk/touched"
    [ ! -s "$desk/touched" ] || { head "$desk/touched"; fail "$1"; }
}

# given_a_path VALUE KEY: an XML file whose setting the key is made from has that value; of "var" there is none.
given_a_path() {
    local setting
    case $2 in
        installdir) setting="<InstallDir>$1</InstallDir>" ;;
        bindir) setting="<BinDir>$1</BinDir>" ;;
        tmpdir) setting="<TempDir>$1</TempDir>" ;;
        event_queue_dir) setting="<EventQueueDir>$1</EventQueueDir>" ;;
        task_storage_path) setting="<TasksDir>$1</TasksDir>" ;;
        package_storage_path) setting="<PackagesDir>$1</PackagesDir>" ;;
        swd_storage_path) setting="<SWDDir>$1</SWDDir>" ;;
        guid_guid_file) setting="<GuidDir>$1</GuidDir>" ;;
        debug_output) setting="<EventLog LogDir=\"$1\"/>" ;;
        ssl_ca_info) setting="<CurlSSL CAInfo=\"$1\"/>" ;;
        ssl_ca_path) setting="<CurlSSL CAPath=\"$1\"/>" ;;
    esac
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings Start="no" RunLevel="rc3">${setting:-}</Settings>
</KSAgentConfiguration>
END
}

# given_its_configuration VALUE KEY: an agent whose client.conf has that value.
given_its_configuration() {
    given_an_old_agent 6.2
    awk -v key="$2=" -v value="$1" 'index($0, key) == 1 { print key value; next } { print } /^.Client Transport/ { if (key == "ssl_ca_path=") print key value }' \
        "$agent/etc/client.conf" >"$desk/conf"
    cat "$desk/conf" >"$agent/etc/client.conf"
}

# try VALUE KEY COMMAND
try() {
    forget_the_agent
    if [ "$3" = fresh ]; then given_a_path "$1" "$2"; else given_its_configuration "$1" "$2"; fi
    case $3 in
        fresh)
            given_the_package
            set -- "$@" -configure -noimode
            [ "$2" = installdir ] || set -- "$@" -dir "$agent"
            ;;
        in-place) given_the_package; given_plain_xml; set -- "$@" -configure -noimode ;;
        elsewhere) given_the_package "$elsewhere"; given_plain_xml /tmp "$elsewhere"; set -- "$@" -configure -noimode -dir "$elsewhere" ;;
        clean) set -- "$@" -clean "$agent" ;;
    esac
    status=0
    timeout 60 "$program" "${@:4}" >"$desk/out" 2>"$desk/err" || status=$?
    [ "$status" -le 1 ] || fail "status $status of $3 with $2=$1"
}

@test "whatever path a configuration names, nothing of the host's is changed or removed" {
    local value key command number=0 commands=(fresh in-place elsewhere clean)
    given_the_hosts_own
    try /opt/usual var clean # makes what is new on the host
    note_the_hosts_own
    while IFS= read -r value; do
        for key in $(path_keys); do
            for command in "${commands[@]}"; do
                number=$((number + 1))
                [ -n "${QDN_ALL_PATHS:-}" ] || [ $((number % 397)) -eq 0 ] || continue
                try "$value" "$key" "$command"
                expect_the_hosts_own "$command with $key=$value"
            done
        done
    done < <(path_values)
}

# Without that, a comparison that sees nothing would show nothing.
@test "a file of the host's that has changed or gone would be noticed" {
    given_the_hosts_own
    note_the_hosts_own
    (expect_the_hosts_own "nothing has happened")
    chmod 0700 /home/alice
    ! (expect_the_hosts_own "") >/dev/null || fail "a mode was not noticed"
    chmod 0755 /home/alice
    rm /usr/bin/env
    ! (expect_the_hosts_own "") >/dev/null || fail "a file that has gone was not noticed"
    note_the_hosts_own
    rm -r /var/lib/hosts
    ! (expect_the_hosts_own "") >/dev/null || fail "a directory that has gone was not noticed"
    note_the_hosts_own
    rm -r /usr/share/doc
    mkdir /usr/share/doc
    ! (expect_the_hosts_own "") >/dev/null || fail "a directory that was made anew was not noticed"
}

# Of the values above, those that this is about, one after another.
@test "a store, log or identifier in a directory where packages and users keep data leads to nothing of theirs" {
    local value key command commands=(fresh in-place elsewhere clean)
    given_the_hosts_own
    try /opt/usual var clean # makes what is new on the host
    note_the_hosts_own
    while read -r key value; do
        for command in "${commands[@]}"; do
            try "$value" "$key" "$command"
            expect_the_hosts_own "$command with $key=$value"
        done
    done <<END
event_queue_dir /var/lib/hosts
swd_storage_path /var/spool/hosts
guid_guid_file /root/file
event_queue_dir /var/lib/hosts/deep
package_storage_path /etc/hosts.d/keys
var /var/lib/hosts-single/only
debug_output /var/log/hosts.log
swd_storage_path /bin/sh
event_queue_dir /opt/links/to-passwd
END
}

each_test_is_a_session
