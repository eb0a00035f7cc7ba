# -clean takes an agent of any version off the host, and nothing else.
load support
load old-agent
load removal

# What 6.0 and 6.0 SP1 registered is for the tool that registered it to take back.
clean_60() {
    given_an_old_agent "$1"
    touch /usr/bin/qdn
    mkdir /usr/bin/qdn-directory
    clean
    expect_told
    expect_only_gone "$agent" /usr/bin/qdn-{clientevent,configure,monitor}
    expect_clean_again_harmless
}

expect_60SP2_gone() {
    expect_only_gone "$agent" /usr/bin/qdn-{clientevent,monitor} \
        /etc/init.d/zorvane /etc/rc0.d/K01zorvane /etc/rc3.d/S99zorvane "$@"
}

clean_60SP2() {
    given_an_old_agent "$1"
    touch /usr/bin/qdn-{helper,stranger}
    clean
    expect_told
    expect_60SP2_gone
    expect_clean_again_harmless
}

remove_what_is_left() {
    rm -rf /opt/zorvane/* /etc/init.d/zorvane /etc/rc?.d/*zorvane /usr/bin/qdn-*
}

# --- Every version

@test "6.0 goes" {
    clean_60 6.0
}

@test "6.0 SP1 goes" {
    clean_60 6.0SP1
}

@test "6.0 SP2 goes, but for the link to the program that is running" {
    clean_60SP2 6.0SP2
}

@test "6.1 goes" {
    clean_60SP2 6.1
}

@test "6.2 goes" {
    clean_60SP2 6.2
}

@test "rotated logs of 6.2 go wherever the log is; the log itself stays there" {
    given_an_old_agent 6.2
    set_value debug_output /var/log/qdn.log
    touch /var/log/qdn.log{,.1,.10,.old,.gz} /var/log/qdn.log0
    clean
    expect_told
    expect_60SP2_gone /var/log/qdn.log.1 /var/log/qdn.log.10
}

@test "5.6 goes: its files, its service, and its lines in the host's files" {
    given_an_old_agent 5.6
    touch /var/tmp/qdn-lock /usr/bin/qdn-{helper,stranger}
    clean
    expect_nothing_told
    expect_gone "$agent"/bin/{qdn-env,qdn-objectmanager,runit.sh,whose} "$agent"/{etc,lib} \
        "$agent"/var/{old.example.xml,qdn-client.log} /usr/bin/qdn-{clientevent,collector} /etc/init.d/zorvane \
        /var/tmp/qdn-lock <<'END'
! -rw-r--r-- /etc/inetd.conf
! -rw-r--r-- /etc/services
END
    printf 'ftp stream tcp\n' | expect_file /etc/inetd.conf
    printf 'ssh 22/tcp\nhttp 80/tcp\n' | expect_file /etc/services
    expect_clean_again_harmless
}

# Whatever process has the super-server's name on its command line is sent the signal, so the story is not named after
# it.
@test "5.6 goes from the extended super-server, and its predecessor's file stays as it is" {
    given_an_old_agent 5.6
    mkdir -p /etc/xinetd.d
    touch /etc/xinetd.d/qdn-messagelistener /etc/xinetd.d/other
    printf 'defaults\n{\n}\nincludedir /etc/xinetd.d\n# Zorvane\nservice qdnm\n{\n  port = 402\n}\nlast\n' \
        >/etc/xinetd.conf
    cp -p /etc/inetd.conf "$desk/inetd.conf"
    clean
    expect_nothing_told
    printf 'defaults\n{\n}\nincludedir /etc/xinetd.d\nlast\n' | expect_file /etc/xinetd.conf
    expect_missing /etc/xinetd.d/qdn-messagelistener
    expect_plain_files /etc/xinetd.d/other
    expect_file /etc/inetd.conf <"$desk/inetd.conf"
}

# A directory in which a shell would find commands and wildcards.
given_a_misleading_agent() {
    directory="/opt/it's \$(touch x) \`touch y\` & \"z\" [a]*"
    mkdir -p "$directory"
    given_an_old_agent "$1" "$directory"
}

@test "5.6 goes where no name means anything to the shell" {
    given_a_misleading_agent 5.6
    clean "$directory"
    expect_nothing_told
    expect_gone "$directory"/bin/{qdn-env,qdn-objectmanager,runit.sh,whose} "$directory"/{etc,lib} \
        "$directory"/var/{old.example.xml,qdn-client.log} /usr/bin/qdn-{clientevent,collector} \
        /etc/init.d/zorvane <<'END'
! -rw-r--r-- /etc/inetd.conf
! -rw-r--r-- /etc/services
END
}

@test "6.0, 6.0 SP2 and 6.2 go where no name means anything to the shell, but not while a solution depends on them" {
    for version in 6.0 6.0SP2 6.2; do
        given_a_misleading_agent "$version"
        echo '<Solution name="inventory">' >"$directory/etc/config.xml"
        clean "$directory"
        expect_status 1
        expect_no_changes
        echo '<Solution>' >"$directory/etc/config.xml"
        clean "$directory"
        expect_told
        expect_missing "$directory"
        [ "$(ls /opt)" = zorvane ]
        remove_what_is_left
    done
}

@test "the tool that registered 6.0 or 5.6 is told to take it back" {
    printf '#!/bin/sh\necho "$*" >>%s/calls\n' "$desk" >/usr/sbin/chkconfig
    chmod +x /usr/sbin/chkconfig
    for version in 5.6 6.0 6.0SP1; do
        given_an_old_agent "$version"
        clean "$agent" -quiet
        expect_status 0
        remove_what_is_left
    done
    printf -- '--del zorvane\n%.0s' 1 2 3 | expect_file "$desk/calls"
}

@test "an agent of 5.5, or of a version that nobody knows, is left alone" {
    given_an_old_agent 6.0
    set_value agent_major 5
    set_value agent_minor 5
    clean
    expect_nothing_told
    expect_no_changes
    set_value agent_minor 7
    clean
    expect_nothing_found
    expect_no_errors
    expect_no_changes
}

# --- Ways to call it

@test "a quiet clean says nothing" {
    for version in 5.6 6.0 6.0SP2 6.2; do
        given_an_old_agent "$version"
        clean "$agent" -quiet
        expect_nothing_told
        expect_missing "$agent/etc"
        remove_what_is_left
    done
}

@test "the base directory may be spelled in any way, and be the current one" {
    for base in "$agent/" /opt/zorvane//kell/../kell/ksagent . ./bin/..; do
        given_an_old_agent 6.0SP2
        cd "$agent"
        clean "$base"
        cd "$HOME"
        expect_told
        expect_60SP2_gone
        remove_what_is_left
    done
}

@test "a base directory reached through a link goes; the link, which is somebody's own, stays" {
    given_an_old_agent 6.0SP2
    ln -s "$agent" /opt/link
    clean /opt/link
    expect_told
    expect_60SP2_gone
}

@test "directories that were configured with a dot at the end go like others" {
    given_an_old_agent 6.0SP2
    mkdir /opt/queue
    touch /opt/queue/{1.kse,file}
    set_value installdir "$agent/."
    set_value event_queue_dir /opt/queue/./
    clean
    expect_told
    expect_60SP2_gone /opt/queue
}

@test "solutions that depend on the agent keep it, whatever its version" {
    for version in 5.6 6.0 6.0SP2 6.2; do
        given_an_old_agent "$version"
        echo '<Solution name="inventory">' >"$agent/etc/config.xml"
        clean "$agent" -quiet
        expect_status 1
        expect_no_errors
        expect_output <<END
$banner
 There are some solutions that depend on Zorvane Agent for UNIX and Linux.
 Please uninstall them first.
END
        expect_no_changes
        remove_what_is_left
    done
}

# --- A reinstall that is pending

given_a_reinstall() {
    mkdir -m 0700 /tmp/ksclt
    install -m 0600 /dev/null /tmp/ksclt/.reinstall-client.conf
    touch "$agent"/{qdn-bootstrap,qdn-ksclt-install.log,qdn-install.log,.hidden}
}

@test "a pending reinstall keeps the two files that the installer needs" {
    given_an_old_agent 6.0SP2
    given_a_reinstall
    clean
    expect_told
    expect_only_gone "$agent"/{bin,etc,lib,var,qdn-install.log,.hidden} /usr/bin/qdn-{clientevent,monitor} \
        /etc/init.d/zorvane /etc/rc0.d/K01zorvane /etc/rc3.d/S99zorvane
    expect_clean_again_harmless
}

@test "without a pending reinstall the two files of the installer go" {
    given_an_old_agent 6.0SP2
    touch "$agent"/{qdn-bootstrap,qdn-ksclt-install.log}
    clean
    expect_told
    expect_60SP2_gone
}

@test "a mark of a reinstall that anyone could have left does not count" {
    given_an_old_agent 6.0SP2
    given_a_reinstall
    chmod 0777 /tmp/ksclt
    chmod 0666 /tmp/ksclt/.reinstall-client.conf
    clean
    expect_status 0
    expect_errors <<<"WARNING! /tmp/ksclt/.reinstall-client.conf is not used: /tmp/ksclt belongs to another user."
    expect_60SP2_gone
}

each_test_is_a_session
