# Whatever is wrong with an installation, -clean takes away what is the agent's and costs the host nothing else.
load support
load old-agent
load removal

service_links() { echo /etc/init.d/zorvane /etc/rc0.d/K01zorvane /etc/rc3.d/S99zorvane; }

# --- client.conf

@test "a configuration that was killed half-way can be cleaned" {
    given_the_package
    given_plain_xml
    mkdir /opt/bin
    sed -i 's,</Settings>,<BinDir>/opt/bin</BinDir></Settings>,' "/tmp/$xml"
    given_a_tool_that_kills
    qdn_configure -configure -noimode -quiet
    expect_status 137
    rm /usr/sbin/chkconfig
    expect_plain_files "$agent/etc/client.conf" "$agent/etc/.unfinished"
    clean
    expect_told /opt/bin
    expect_only_gone "$agent" /etc/init.d/zorvane
    expect_clean_again_harmless
}

# Taken for an agent of 5.6, which stated no version, and for one in the usual place: that is all that goes.
expect_taken_for_56() {
    local programs=("$agent"/bin/qdn-*)
    touch /tmp/qdn-lock /opt/qdn-lock
    clean
    expect_nothing_told
    expect_only_gone "${programs[@]}" "$agent"/{bin/rcscript,etc,lib} \
        /usr/bin/qdn-{clientconfigupdate,clientevent,clienttransport,messagelistener,objectmanager} \
        /usr/bin/qdn-{policymanager,swdclientagent,taskscheduler} /etc/init.d/zorvane /tmp/qdn-lock
    expect_clean_again_harmless
}

given_a_configured_agent() {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

@test "an agent with an empty client.conf is taken for one of 5.6, and goes as such" {
    given_a_configured_agent
    : >"$agent/etc/client.conf"
    expect_taken_for_56
}

@test "an agent with a client.conf that is no text is taken for one of 5.6, and goes as such" {
    given_a_configured_agent
    { printf '[Configuration\0]\ninstalldir\0=/usr\n\377\376\n='; head -c 99999 /dev/zero; } >"$agent/etc/client.conf"
    expect_taken_for_56
}

@test "a client.conf that is a directory, a pipe or a device is none" {
    given_an_old_agent 6.0SP2
    rm "$agent/etc/client.conf"
    for make in mkdir mkfifo "ln -s /dev/zero"; do
        $make "$agent/etc/client.conf"
        clean
        expect_nothing_found
        expect_no_errors
        expect_no_changes
        rm -r "$agent/etc/client.conf"
    done
}

@test "a client.conf that is too large, or has too long a line, fails whatever is called, and nothing changes" {
    local command size
    given_an_old_agent 6.2
    given_the_package
    cp "$agent/etc/client.conf" "$desk/conf"
    for size in line file; do
        { cat "$desk/conf"; head -c 1050000 /dev/zero | tr '\0' '#'; } >"$agent/etc/client.conf"
        [ "$size" = line ] || head -c 67200000 /dev/zero | tr '\0' '\n' >>"$agent/etc/client.conf"
        for command in "-clean $agent" "-configure -noimode"; do
            # shellcheck disable=SC2086 # words on purpose
            qdn_configure $command
            expect_status 1
            expect_errors <<END
ERROR: Missing or unreadable file in install. File: $agent/etc/client.conf
  $agent/etc/client.conf: File too large
END
            expect_no_changes
        done
    done
}

@test "a client.conf that anyone could have written is followed nowhere" {
    given_an_old_agent 6.0SP2
    chmod 0777 "$agent/etc"
    chmod 0666 "$agent/etc/client.conf"
    clean
    expect_nothing_found
    expect_errors <<<"WARNING! $agent/etc/client.conf is not used: other users can write to it."
    expect_no_changes
    chmod 0644 "$agent/etc/client.conf"
    chmod 0755 "$agent/etc"
    clean
    expect_told
    expect_missing "$agent"
}

# The tool for services comes between the links and the files.
given_a_tool_that_removes_the_configuration() {
    printf '#!/bin/sh\nrm %s/etc/client.conf\n' "$agent" >/usr/sbin/chkconfig
    chmod +x /usr/sbin/chkconfig
}

@test "an agent goes whole, even when its client.conf disappears meanwhile" {
    given_a_tool_that_removes_the_configuration
    for version in 6.0 6.2; do
        given_an_old_agent "$version"
        clean
        expect_told
        expect_missing "$agent"
        rm -f /etc/rc?.d/*zorvane # the tool has not
    done
}

@test "an agent of 5.6 goes, and no other one, even when its client.conf disappears meanwhile" {
    given_an_old_agent 5.6
    find "$agent" | sort >"$desk/other"
    rm -f /etc/rc?.d/*zorvane
    given_an_old_agent 5.6 /opt/elsewhere
    printf '#!/bin/sh\nrm /opt/elsewhere/etc/client.conf\n' >/usr/sbin/chkconfig
    chmod +x /usr/sbin/chkconfig
    clean /opt/elsewhere
    expect_nothing_told
    expect_missing /opt/elsewhere/etc /opt/elsewhere/lib /opt/elsewhere/bin/qdn-objectmanager
    find "$agent" | sort | same "the other agent" "$desk/other"
}

# --- Directories that client.conf names

@test "with stores and variable data in places of the host the agent goes, and the host keeps its own" {
    given_baits
    while read -r place; do
        given_an_old_agent 6.2
        for key in var event_queue_dir task_storage_path package_storage_path swd_storage_path; do
            set_value "$key" "$place"
        done
        clean
        expect_told
        # shellcheck disable=SC2046 # three paths
        expect_only_gone "$agent" /usr/bin/qdn-{clientevent,monitor} $(service_links)
        rm /usr/bin/qdn-configure
    done < <(misplaced)
    expect_file "$desk/usr" < <(list_usr)
}

@test "with everything in places of the host only links and services go" {
    given_baits
    while read -r place; do
        given_an_old_agent 6.0SP2
        for key in installdir var event_queue_dir task_storage_path package_storage_path swd_storage_path; do
            set_value "$key" "$place"
        done
        clean
        if [ -n "$place" ]; then
            expect_told
            # shellcheck disable=SC2046 # three paths
            expect_only_gone "$agent/etc/host.GUID" /usr/bin/qdn-monitor $(service_links)
        else
            expect_status 0
            # shellcheck disable=SC2046 # three paths
            expect_only_gone "$agent/etc/host.GUID" $(service_links)
        fi
        rm -rf "$agent" /usr/bin/qdn-*
    done < <(misplaced)
    expect_file "$desk/usr" < <(list_usr)
}

@test "with everything of 5.6 in places of the host only what bears its names goes" {
    given_baits
    while read -r place; do
        given_an_old_agent 5.6
        for key in installdir libdir var task_storage_path; do set_value "$key" "$place"; done
        set_value tmpdir /var/tmp
        clean
        expect_nothing_told
        expect_gone /usr/bin/qdn-{clientevent,collector} /etc/init.d/zorvane "$agent/var/qdn-client.log" <<'END'
! -rw-r--r-- /etc/inetd.conf
! -rw-r--r-- /etc/services
END
        rm -rf "$agent" /etc/rc?.d/*zorvane
    done < <(misplaced)
    expect_file "$desk/usr" < <(list_usr)
}

@test "another package's directory, reached through a link, stays" {
    mkdir -p /opt/other/{bin,lib}
    touch /opt/other/{bin/program,lib/library,README}
    ln -s /opt/other /opt/through
    for keys in "installdir" "var event_queue_dir task_storage_path package_storage_path swd_storage_path"; do
        given_an_old_agent 6.0SP2
        for key in $keys; do set_value "$key" /opt/through; done
        clean
        expect_told
        [ "$(readlink /opt/through)" = /opt/other ] # a link in a directory of the host is the host's
        [ "$(find /opt/other | LC_ALL=C sort | xargs)" = \
            "/opt/other /opt/other/README /opt/other/bin /opt/other/bin/program /opt/other/lib /opt/other/lib/library" ]
    done
}

@test "another package's directory loses to 5.6 what bears the agent's names, and no trees" {
    mkdir -p /opt/other/{bin,etc,lib,backups}
    touch /opt/other/{bin/program,bin/qdn-program,etc/filescan.1,etc/file,lib/library,backups/file}
    ln -s /opt/other /opt/through
    given_an_old_agent 5.6
    set_value installdir /opt/through
    set_value libdir /opt/through/lib
    clean
    expect_nothing_told
    expect_gone /opt/other/{bin/qdn-program,etc/filescan.1} "$agent"/var/{old.example.xml,qdn-client.log} \
        /usr/bin/qdn-{clientevent,collector} /etc/init.d/zorvane <<'END'
! -rw-r--r-- /etc/inetd.conf
! -rw-r--r-- /etc/services
END
}

@test "another package's directory is not emptied by a pending reinstall either" {
    mkdir -p /opt/other/bin
    touch /opt/other/bin/program
    ln -s /opt/other /opt/through
    given_an_old_agent 6.0SP2
    set_value installdir /opt/through
    mkdir -m 0700 /tmp/ksclt
    install -m 0600 /dev/null /tmp/ksclt/.reinstall-client.conf
    clean
    expect_told
    # shellcheck disable=SC2046 # three paths
    expect_only_gone "$agent/var" "$agent/etc/host.GUID" /usr/bin/qdn-monitor $(service_links)
}

@test "an install directory that is not the base directory goes, and the base directory stays" {
    given_an_old_agent 6.0SP2
    mkdir -p /opt/other/etc
    touch /opt/other/etc/file
    set_value installdir /opt/other
    clean
    expect_told
    # shellcheck disable=SC2046 # three paths
    expect_only_gone /opt/other "$agent/var" "$agent/etc/host.GUID" /usr/bin/qdn-monitor $(service_links)
    clean
    expect_told
    expect_no_changes
}

# --- What lies in the directories

busy() { printf 'WARNING! %s could not be removed: Device or resource busy.\n' "$@" | LC_ALL=C sort; }

kept() { echo "WARNING! $1/etc/client.conf is kept: not everything could be removed."; }

# What is mounted is not the agent's to remove. The next clean finds it by client.conf, which stays until then.
@test "directories that are mount points are emptied, warned of, and removed by the next clean" {
    local directory directories=("$agent" /opt/{var,event_queue_dir,task_storage_path,package_storage_path,swd_storage_path})
    mkdir -p "${directories[@]}"
    for directory in "${directories[@]}"; do
        mount -t tmpfs tmpfs "$directory"
        mkdir "$directory"/{tree,plain,mounted}
        mount -t tmpfs tmpfs "$directory/mounted"
        touch "$directory"/{1.kse,tree/file,mounted/file}
    done
    given_an_old_agent 6.0SP2
    for key in var event_queue_dir task_storage_path package_storage_path swd_storage_path; do
        set_value "$key" "/opt/$key"
    done
    clean
    expect_status 0
    { busy "${directories[@]/%//mounted}"; kept "$agent"; } | expect_errors
    # shellcheck disable=SC2046 # three paths
    expect_only_gone "$agent"/{bin,etc/host.GUID,lib,var} "${directories[@]/%//1.kse}" "${directories[@]/%//tree}" \
        "${directories[@]/%//plain}" /usr/bin/qdn-{clientevent,monitor} $(service_links)
    umount "${directories[@]/%//mounted}" "${directories[@]:1}"
    clean
    expect_status 0
    busy "$agent" | expect_errors
    expect_missing "${directories[@]:1}"
    [ -z "$(ls -A "$agent")" ]
}

# Where nobody else looks: a path of that length is more than most tools can name.
given_ten_thousand_levels() {
    mkdir "$1"
    perl -e 'chdir shift; for (1 .. 10000) { mkdir "deep"; chdir "deep" } open(F, ">", "1.kse")' "$1"
}

@test "directories of ten thousand levels go" {
    given_an_old_agent 6.0SP2
    for key in installdir var event_queue_dir task_storage_path package_storage_path swd_storage_path; do
        given_ten_thousand_levels "/dev/shm/$key"
        set_value "$key" "/dev/shm/$key"
    done
    clean
    expect_told
    [ -z "$(ls -A /dev/shm)" ]
}

@test "trees of 5.6 that are mount points or ten thousand levels deep go" {
    given_an_old_agent 5.6 /dev/shm/agent
    mkdir /dev/shm/agent/{backups,tmp}
    mount -t tmpfs tmpfs /dev/shm/agent/lib
    touch /dev/shm/agent/lib/library
    given_ten_thousand_levels /dev/shm/agent/etc/deep
    given_ten_thousand_levels /dev/shm/agent/backups/deep
    given_ten_thousand_levels /dev/shm/agent/tmp/qdn-deep
    sed -i 's,^tmpdir.*,tmpdir = /dev/shm/agent/tmp,' /dev/shm/agent/etc/client.conf
    clean /dev/shm/agent
    expect_status 0
    { busy /dev/shm/agent/lib; kept /dev/shm/agent; } | expect_errors
    umount /dev/shm/agent/lib
    clean /dev/shm/agent
    expect_nothing_told
    [ "$(cd /dev/shm/agent && find . | LC_ALL=C sort | xargs)" = \
        ". ./bin ./tmp ./var ./var/queue ./var/queue/one.kse ./var/tasks ./var/tasks/one.kst" ]
}

odd_names() {
    printf '%s\0' $'line\nend.kse' $'\n' '*' '?.kse' '[a]' '-rf' ' ' $'\\' '$(touch made).kse' "'" '"' '`touch made`' \
        '.kse' '..kse' ... $'\377\376.kse' $'\e[2J.kse' '%INSTDIR%' '{}' "$(printf 'n%.0s' {1..255})"
}

# The same names beside the store stand for files that only a wildcard or a shell would lead to.
@test "names that mean something to a shell or a pattern mean nothing" {
    given_an_old_agent 6.0SP2
    mkdir -p /opt/a* "/opt/a*/queue[1]" /opt/ab/queue1
    touch /opt/ab/{1.kse,queue1/1.kse}
    set_value event_queue_dir "/opt/a*/queue[1]"
    while IFS= read -r -d '' name; do
        touch -- "/opt/a*/$name" "/opt/ab/$name"
        mkdir -p -- "/opt/a*/queue[1]/directory/$name"
        touch -- "/opt/a*/queue[1]/directory/$name/file" "/opt/a*/queue[1]/$name"
        touch -- "$agent"/{,etc,bin,var,var/{swd,tasks,packages}}/"$name"
    done < <(odd_names)
    clean
    expect_told
    # shellcheck disable=SC2046 # three paths
    expect_only_gone "$agent" "/opt/a*/queue[1]" /usr/bin/qdn-{clientevent,monitor} $(service_links)
}

@test "of links, pipes and sockets in a store nothing but themselves goes" {
    given_an_old_agent 6.0SP2
    mkdir -p /opt/other/directory
    touch /opt/other/{file,directory/file}
    for store in queue tasks packages swd; do
        ln -s /opt/other "$agent/var/$store/link.kse"
        ln -s /opt/other/file "$agent/var/$store/file.kst"
        ln -s /opt/other/directory "$agent/var/$store/{01234567-89ab-cdef-0123-456789ABCDEF}"
        ln -s nowhere "$agent/var/$store/dangling.kse"
        ln "/opt/other/file" "$agent/var/$store/hard.kse"
        mkfifo "$agent/var/$store/pipe.kse"
        perl -MSocket -e 'socket(S, PF_UNIX, SOCK_STREAM, 0); bind(S, sockaddr_un($ARGV[0]))' "$agent/var/$store/s.kse"
    done
    ln -s /opt/other "$agent/var/swd/Packages"
    clean
    expect_told
    # shellcheck disable=SC2046 # three paths
    expect_only_gone "$agent" /usr/bin/qdn-{clientevent,monitor} $(service_links)
}

each_test_is_a_session
