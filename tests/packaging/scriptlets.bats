# What the scriptlets of both packages do on a host, with stand-ins for the program, the agent and its service script. Whole
# packages, on hosts that run, are tested by script/test-hosts.

# shellcheck disable=SC2016 # as it stands, for the shell that runs it

setup() {
    root=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
}

# What every host here has. Its stand-ins say what they are called with. The agent runs while /run/agent is there; what
# /run/stays has makes it deaf, and /run/dies counts the seconds that it takes to end. The program ends with the status in
# /run/status. The working directory is that of the packages' sources.
host='
    export PATH=/run/stand-ins:$PATH
    agent=/opt/zorvane/kell/ksagent
    stand_in() { mkdir -p "${1%/*}"; { echo "#!/bin/sh"; cat; } >"$1"; chmod 0755 "$1"; }
    unpack() {
        stand_in "$1/bin/rcscript" <<END
echo "rcscript \$1"
case \$1 in
    start) : >/run/agent ;;
    stop) [ -e /run/stays ] || [ -e /run/dies ] || rm -f /run/agent ;;
esac
exit 3
END
        stand_in "$1/bin/qdn-configure.bin" <<END
echo "program \$* (\${QDN_INSTALL_START-} \${QDN_INSTALL_AUTOSTART-})"
exit "\$(cat /run/status 2>/dev/null || echo 0)"
END
        mkdir -p "$1/lib" "$1/etc"
        echo former >"$1/lib/functions"
        echo former >"$1/etc/client.proto"
    }
    configured() { printf "[Configuration]\ninstalldir=%s\nbindir=/usr/local/bin\n" "$1" >"$1/etc/client.conf"; }
    stand_in /run/stand-ins/pgrep <<END
[ "\$*" = qdn-plug ] && [ -e /run/agent ]
END
    stand_in /run/stand-ins/sleep <<END
echo "sleep \$1"
[ -e /run/dies ] || exit 0
echo x >>/run/dies
[ "\$(wc -l </run/dies)" -lt 3 ] || rm -f /run/agent
END
    stand_in /run/stand-ins/rpm <<END
[ "\$*" = "-q -l qdn-ksclt" ] && cat /run/files-of-the-package
END
    hidden() { rm -rf "/run/stand-ins/$1"; }
    state() { find "$@" -mindepth 1 -printf "%M %P %l\n" 2>/dev/null | sed "s/ $//" | sort -k 2; }
    rm -f /usr/sbin/policy-rc.d # of this machine
    unpack $agent
'

# on_host LINES: the lines run in a private copy of this machine, with the functions of the scriptlets, in either of the
# shells that /bin/sh is. What they say, errors too, and their status are in `output`; both shells have to agree.
on_host() {
    local shell said
    for shell in dash "bash --posix"; do
        # shellcheck disable=SC2086 # a shell and its option
        run "$root/tests/support/private-machine" $shell -c "cd '$root'; $host . packaging/scriptlet-functions; cd '$root'; $1"
        output+=" [$status]"
        [ -z "${said:-}" ] || [ "$output" = "$said" ] || { printf '%s\n' "bash says otherwise:" "$output" "$said"; return 1; }
        said=$output
    done
}

# says LINE ...: exactly these lines, the last with the status.
says() {
    [ "$output" = "$(printf '%s\n' "$@")" ] || { printf '%s\n' "it said:" "$output" "instead of:" "$@"; return 1; }
}

told="qdn-ksclt:"

@test "the scripts work wherever they are started" {
    on_host "cd /run; . '$root/packaging/scriptlet-functions'; pwd"
    says "/ [0]"
}

@test "a value of client.conf is read as the program reads it" {
    on_host 'printf "%s\r\n" "[Version]" "installdir=/not/here" "[Configuration]" "; installdir=/nor/here" \
            " installdir = /opt/an agent	 " "installdir=/second" "bindir=" "[Client Details]" "tmpdir=/nor/here" >/run/conf
        for key in installdir bindir tmpdir; do echo "<$(conf_value $key /run/conf)>"; done'
    says "</opt/an agent>" "<>" "<> [0]"
    on_host 'conf_value installdir /none'
    says " [0]"
}

@test "the hand-over directory is root's alone, and stays when it already is" {
    on_host 'make_hand_over; state /tmp'
    says "drwx------ ksclt [0]"
    on_host 'mkdir -m 0755 /tmp/ksclt; : >/tmp/ksclt/kept; make_hand_over; state /tmp'
    says "drwx------ ksclt" "-rw-r--r-- ksclt/kept [0]"
}

@test "what others could have planted as the hand-over directory goes, and no link is followed" {
    for mode in 0775 0757; do
        on_host "mkdir /tmp/ksclt; : >/tmp/ksclt/kept; chmod $mode /tmp/ksclt; make_hand_over; state /tmp"
        says "drwx------ ksclt [0]"
    done
    on_host 'mkdir /run/else; : >/run/else/kept; ln -s /run/else /tmp/ksclt; make_hand_over; state /tmp; state /run/else'
    says "drwx------ ksclt" "-rw-r--r-- kept [0]"
}

@test "only a file is handed over, and only in a directory that nobody else can write to" {
    local handed='if handed_over "$kept_conf"; then echo yes; else echo no; fi'
    on_host "$handed; make_hand_over; $handed; mkdir \"\$kept_conf\"; $handed"
    says no no "no [0]"
    on_host "make_hand_over; : >\"\$kept_conf\"; $handed; chmod 0775 /tmp/ksclt; $handed; chmod 0757 /tmp/ksclt; $handed"
    says yes no "no [0]"
}

@test "the hand-over directory goes with what is in it, but not with what is another's" {
    on_host 'make_hand_over; : >"$kept_conf"; : >"$ran_before"; drop_hand_over; state /tmp'
    says " [0]"
    on_host 'make_hand_over; : >"$kept_conf"; : >/tmp/ksclt/else; drop_hand_over; state /tmp'
    says "drwx------ ksclt" "-rw-r--r-- ksclt/else [0]"
    on_host 'mkdir /tmp/ksclt; : >"$kept_conf"; chmod 0777 /tmp/ksclt; drop_hand_over; state /tmp'
    says "drwxrwxrwx ksclt" "-rw-r--r-- ksclt/.migrate-client.conf [0]"
    on_host 'drop_hand_over; state /tmp'
    says " [0]"
}

@test "the configuration is looked for where the environment, the usual place and the package say, in this order" {
    on_host 'installed_conf; echo end'
    says "end [0]"
    on_host 'configured $agent; installed_conf; echo end'
    says "/opt/zorvane/kell/ksagent/etc/client.conf" "end [0]"
    on_host 'configured $agent; export QDNCLIENT_CONFIG_FILE=/etc/hostname; installed_conf'
    says "/etc/hostname [0]"
    on_host 'configured $agent; export QDNCLIENT_CONFIG_FILE=/none; installed_conf'
    says "/opt/zorvane/kell/ksagent/etc/client.conf [0]"
    on_host 'unpack /opt/else; configured /opt/else; printf "/usr/x\n/opt/else/etc/client.proto\n" >/run/files-of-the-package
        installed_conf'
    says "/opt/else/etc/client.conf [0]"
}

@test "a configuration is kept whole, for root alone, in the place of whatever is there" {
    on_host 'echo a >/run/conf; keep_conf /run/conf; echo "$?"; cat "$kept_conf"; state /tmp'
    says 0 a "drwx------ ksclt" "-rw------- ksclt/.migrate-client.conf [0]"
    on_host 'echo a >/run/conf; make_hand_over; mkdir "$kept_conf"; keep_conf /run/conf; echo "$?"; cat "$kept_conf"; state /tmp'
    says 0 a "drwx------ ksclt" "-rw------- ksclt/.migrate-client.conf [0]"
}

@test "that a configuration cannot be kept is told, and the package refused" {
    on_host 'unpack /opt/else; ln -s nowhere /run/conf; keep_conf /run/conf || echo "failed $?"'
    says "cp: cannot stat '/run/conf': No such file or directory" \
        "$told /run/conf cannot be kept as /tmp/ksclt/.migrate-client.conf." "failed 1 [0]"
    on_host 'configured $agent; : >/run/agent; mkdir -p /tmp/ksclt/.migrate-client.conf.new/client.conf/x; prepare; echo on'
    [[ $output == *"$told /opt/zorvane/kell/ksagent/etc/client.conf cannot be kept as /tmp/ksclt/.migrate-client.conf. [1]" ]]
    [[ $output != *rcscript* ]]
}

@test "the agent is stopped by its own script, whose status is not asked for" {
    on_host ': >/run/agent; stop_agent $agent; echo "$?"; agent_runs || echo ended'
    says "rcscript stop" 0 "ended [0]"
    on_host ': >/run/agent; stop_agent $agent 2>/dev/null </dev/zero'
    says " [0]"
}

@test "an agent has some seconds to end" {
    on_host ': >/run/agent; : >/run/dies; stop_agent $agent; echo "$?"'
    says "rcscript stop" "sleep 1" "sleep 1" "sleep 1" "0 [0]"
    on_host ': >/run/agent; : >/run/stays; stop_agent $agent || echo "failed $?"'
    says "rcscript stop" "sleep 1" "sleep 1" "sleep 1" "sleep 1" "sleep 1" \
        "$told The Zorvane Agent runs and cannot be stopped." "failed 1 [0]"
}

@test "before the files are laid down nothing is done where there is no configuration" {
    on_host ': >/run/agent; prepare; echo "$?"; state /tmp'
    says "0 [0]"
}

@test "before the files are laid down a configuration is kept and its agent stopped" {
    on_host 'configured $agent; prepare; echo "$?"; state /tmp'
    says 0 "drwx------ ksclt" "-rw------- ksclt/.migrate-client.conf [0]"
    on_host 'configured $agent; : >/run/agent; prepare; echo "$?"; state /tmp'
    says "rcscript stop" 0 "drwx------ ksclt" "-rw-r--r-- ksclt/.agent-ran" "-rw------- ksclt/.migrate-client.conf [0]"
    on_host 'unpack /opt/else; configured /opt/else; rm $agent/bin/rcscript; : >/run/agent
        export QDNCLIENT_CONFIG_FILE=/opt/else/etc/client.conf; prepare; echo "$?"'
    says "rcscript stop" "0 [0]"
    on_host 'echo >$agent/etc/client.conf; : >/run/agent; prepare; echo "$?"'
    says "rcscript stop" "0 [0]"
}

@test "a package is refused while its agent cannot be stopped, and nothing is handed over" {
    for scriptlet in "rpm/pre 1" "deb/preinst upgrade" "deb/preinst install"; do
        on_host "configured \$agent; : >/run/agent; : >/run/stays; sh packaging/$scriptlet || echo \"failed \$?\"; state /tmp
            [ ! -e \$agent/.other-files ]"
        says "rcscript stop" "sleep 1" "sleep 1" "sleep 1" "sleep 1" "sleep 1" \
            "$told The Zorvane Agent runs and cannot be stopped." "failed 1 [0]"
    done
}

@test "only an agent that ran has its files kept, by second names" {
    for scriptlet in "rpm/pre 1" "deb/preinst upgrade" "deb/preinst install"; do
        on_host "configured \$agent; : >/run/agent; sh packaging/$scriptlet; find \$agent -links 2 -type f -printf '%P\n' | sort"
        says "rcscript stop" .other-files/bin/qdn-configure.bin .other-files/bin/rcscript .other-files/etc/client.proto \
            .other-files/lib/functions bin/qdn-configure.bin bin/rcscript etc/client.proto "lib/functions [0]"
        on_host "configured \$agent; mkdir \$agent/.other-files; sh packaging/$scriptlet; echo \"\$?\"; ls \$agent/.other-files"
        says 0 "ls: cannot access '/opt/zorvane/kell/ksagent/.other-files': No such file or directory [2]"
    done
    on_host 'make_hand_over; configured $agent; keep_conf $agent/etc/client.conf; : >"$ran_before"; keep_files; state $agent/.. | grep other-files$'
    says "drwx------ ksagent/.other-files [0]"
    on_host 'unpack /opt/else; configured /opt/else; keep_conf /opt/else/etc/client.conf; : >"$ran_before"; keep_files; echo "$?"
        [ ! -e $agent/.other-files ]'
    says "0 [0]"
    on_host "sh packaging/deb/preinst abort-upgrade; echo \"\$?\"; configured \$agent; sh packaging/deb/preinst abort-upgrade; state /tmp"
    says "0 [0]"
}

@test "an agent that ran runs again when the files are not laid down after all" {
    for what in abort-upgrade abort-remove abort-deconfigure; do
        on_host "configured \$agent; : >/run/agent; prepare; keep_files; sh packaging/deb/postinst $what; echo \"\$?\"; state /tmp
            [ ! -e \$agent/.other-files ]"
        says "rcscript stop" "rcscript start" "0 [0]"
    done
    on_host 'configured $agent; prepare; resume; state /tmp'
    says " [0]"
}

program="program -apply -yes -or-plainly -configure -noimode -quiet -dir /opt/zorvane/kell/ksagent"

@test "the files of a former agent go when the configuration has succeeded" {
    on_host 'configured $agent; : >/run/agent; prepare; keep_files; configure; echo "$?"; [ ! -e $agent/.other-files ]'
    says "rcscript stop" "$program ( )" "0 [0]"
}

@test "an agent that was stopped stays so, and one that ran runs again" {
    on_host 'mkdir -p /run/systemd/system; configured $agent; prepare; configure'
    says "$program ( no) [0]"
    on_host 'mkdir -p /run/systemd/system; export QDN_INSTALL_AUTOSTART=yes; configured $agent; prepare; configure'
    says "$program ( yes) [0]"
    on_host 'configured $agent; : >/run/agent; prepare; configure'
    says "rcscript stop" "$program ( ) [0]"
    on_host 'mkdir -p /run/systemd/system; configure'
    says "$program ( ) [0]"
}

@test "no agent is started where nothing would ever stop it" {
    on_host 'configure'
    says "$program (never ) [0]"
    on_host 'export QDN_INSTALL_START=yes; configure'
    says "$program (never ) [0]"
    on_host 'mkfifo /run/initctl; configure'
    says "$program ( ) [0]"
    on_host "mkdir -p /run/systemd/system /run/other; mount -t tmpfs tmpfs /run/other; cp packaging/scriptlet-functions /run; cd /run/other
        cp -a /bin /sbin /lib* .; mkdir usr proc run dev; for each in usr proc run dev; do mount --rbind /\$each \$each; done
        host_runs_services && echo here; chroot . sh -c '. /run/scriptlet-functions && host_runs_services' || echo 'not there'"
    says here "not there [0]"
}

@test "Debian's policy decides whether a service is started, where there is one" {
    for row in "101 never" "0 " "104 "; do
        on_host "mkdir -p /run/systemd/system; stand_in /run/stand-ins/policy-rc.d <<END
[ \"\\\$*\" = \"zorvane start\" ] || exit 77
echo loud
exit ${row% *}
END
            configure"
        says "$program (${row#* } ) [0]"
    done
}

@test "a first configuration without any source is no failure, and what to do is told" {
    on_host 'echo 1 >/run/status; mkdir -p /run/systemd/system; configure; echo "$?"; state /tmp'
    says "$program ( )" \
        "$told The Zorvane Agent is installed, but not configured. Answer its questions by" \
        "$told     /opt/zorvane/kell/ksagent/bin/qdn-configure.bin -iconfigure -dir /opt/zorvane/kell/ksagent" \
        "$told or put .qdn-agent-install-config.xml into /tmp and run" \
        "$told     /opt/zorvane/kell/ksagent/bin/qdn-configure.bin -configure -noimode -dir /opt/zorvane/kell/ksagent" "0 [0]"
}

failed="$told The Zorvane Agent has not been configured, for the reason above. Mend what is wrong, then run"
by_hand="$told     /opt/zorvane/kell/ksagent/bin/qdn-configure.bin -configure -noimode -dir /opt/zorvane/kell/ksagent"

@test "a first configuration that fails though there is a source is a failure" {
    for directory in /tmp /var /opt/zorvane; do
        on_host "echo 1 >/run/status; mkdir -p /run/systemd/system; : >$directory/.qdn-agent-install-config.xml; configure || echo \"failed \$?\""
        says "$program ( )" "$failed" "$by_hand" "failed 1 [0]"
    done
    for name in QDNCLIENT_CONFIG_XML_DIR AGENT_INSTALL_DIR; do
        on_host "echo 1 >/run/status; mkdir -p /run/systemd/system; : >/run/.qdn-agent-install-config.xml; export $name=/run
            configure || echo \"failed \$?\""
        says "$program ( )" "$failed" "$by_hand" "failed 1 [0]"
    done
    on_host 'echo 1 >/run/status; mkdir -p /run/systemd/system; export QDN_INSTALL_KSNAME=server; configure || echo "failed $?"'
    says "$program ( )" "$failed" "$by_hand" "failed 1 [0]"
    on_host 'ln -s hostname /etc/.qdn-agent-install-config.xml; export AGENT_INSTALL_DIR=/etc; has_source || echo none'
    says "none [0]"
}

@test "a configuration that fails is told, with what is to be run then and where the former one is" {
    on_host 'echo 1 >/run/status; mkdir -p /run/systemd/system; configured $agent; configure || echo "failed $?"; state /tmp'
    says "$program ( )" "$failed" "$by_hand" "failed 1" "drwx------ ksclt" "-rw-r--r-- ksclt/.agent-ran [0]"
    on_host 'echo 1 >/run/status; configured $agent; prepare; rm $agent/etc/client.conf; configure || echo "failed $?"; state /tmp'
    says "$program (never )" "$failed" "$by_hand" \
        "$told Nothing of the former configuration is lost: it is in /tmp/ksclt/.migrate-client.conf." "failed 1" \
        "drwx------ ksclt" "-rw------- ksclt/.migrate-client.conf [0]"
    on_host 'echo 1 >/run/status; configured $agent; mv $agent/etc/client.conf $agent/etc/client.conf.old; configure || echo "failed $?"'
    says "$program (never )" "$failed" "$by_hand" \
        "$told Nothing of the former configuration is lost: it is in /opt/zorvane/kell/ksagent/etc/client.conf.old." "failed 1 [0]"
    on_host "echo 1 >/run/status; configured \$agent; sh packaging/deb/postinst configure || echo \"failed \$?\""
    says "$program (never )" "$failed" "$told     dpkg --configure qdn-ksclt" \
        "$told Nothing of the former configuration is lost: it is in /tmp/ksclt/.migrate-client.conf." "failed 1 [0]"
}

@test "a package whose agent ran is to be installed again when its configuration fails" {
    on_host 'configured $agent; : >/run/agent; prepare; keep_files; echo 1 >/run/status; configure || echo "failed $?"
        state /tmp; ls -A $agent/.other-files'
    says "rcscript stop" "$program ( )" "${failed%run}install the package again." "failed 1" \
        "drwx------ ksclt" "-rw-r--r-- ksclt/.agent-ran" "-rw------- ksclt/.migrate-client.conf" bin etc failed "lib [0]"
}

upgrade='configured $agent; : >/run/agent; prepare; keep_files; for file in bin/qdn-configure.bin lib/functions; do
    cp $agent/$file $agent/new; mv $agent/new $agent/$file; done; echo package >$agent/lib/functions; echo 1 >/run/status'

@test "the former agent runs again, with its own files, when the configuration of the new one has failed" {
    for last in "sh packaging/rpm/post 2 || sh packaging/rpm/posttrans; echo" "sh packaging/deb/postinst configure || echo"; do
        on_host "$upgrade; $last \"\$?\"; cat \$agent/lib/functions; state /tmp; ls -A \$agent/.other-files"
        [[ $output == *"rcscript start
$told The former agent runs again, with its own files, whatever version the package manager lists."* ]]
        [[ $output != *"does not run"* ]]
        [[ $output == *$'\nformer\nbin\netc\nlib\nof-the-package [0]' ]]
    done
}

@test "dpkg is told that the configuration has failed, and rpm goes on" {
    on_host "$upgrade; sh packaging/rpm/post 2 2>/dev/null || echo \"post \$?\"; sh packaging/rpm/posttrans 2>/dev/null; echo \"\$?\""
    says "rcscript stop" "$program ( )" "post 1" "0 [0]"
    on_host "$upgrade; sh packaging/deb/postinst configure 2>/dev/null || echo \"postinst \$?\""
    says "rcscript stop" "$program ( )" "postinst 1 [0]"
    on_host "configured \$agent; sh packaging/rpm/posttrans; echo \"\$?\""
    says "0 [0]"
}

@test "a former agent that does not come up is told, and its configuration stays" {
    on_host "$upgrade; configure 2>/dev/null || stand_in \$agent/.other-files/bin/rcscript </dev/null; return_to_former; echo \"\$?\"; state /tmp"
    says "rcscript stop" "$program ( )" \
        "$told The former agent does not run. Its configuration is in /tmp/ksclt/.migrate-client.conf." 0 \
        "drwx------ ksclt" "-rw-r--r-- ksclt/.agent-ran" "-rw------- ksclt/.migrate-client.conf [0]"
}

@test "files are not exchanged under a configuration that is half made" {
    for mark in '$agent/etc/.unfinished' /var/lib/qdn-configure/journal; do
        on_host "$upgrade; configure >/dev/null 2>&1 || mkdir -p $mark; return_to_former; cat \$agent/lib/functions"
        says "rcscript stop" \
            "$told The former agent does not run. Its configuration is in /tmp/ksclt/.migrate-client.conf." "package [0]"
    done
    on_host "$upgrade; configure >/dev/null 2>&1 || rm \$agent/etc/client.conf; return_to_former; cat \$agent/lib/functions"
    says "rcscript stop" \
        "$told The former agent does not run. Its configuration is in /tmp/ksclt/.migrate-client.conf." "package [0]"
}

@test "nothing is exchanged while nothing has failed" {
    on_host "$upgrade; return_to_former; echo \"\$?\"; cat \$agent/lib/functions; take_package_files; cat \$agent/lib/functions"
    says "rcscript stop" 0 package "package [0]"
}

@test "an exchange that was cut off is made whole" {
    on_host "$upgrade; configure >/dev/null 2>&1 || mkdir -p \$agent/.other-files.new/bin; : >\$agent/.other-files.new/bin/more
        return_to_former 2>/dev/null; cat \$agent/lib/functions; ls \$agent/bin \$agent/.other-files/bin"
    says "rcscript stop" former "/opt/zorvane/kell/ksagent/.other-files/bin:" qdn-configure.bin rcscript "" \
        "/opt/zorvane/kell/ksagent/bin:" qdn-configure.bin "rcscript [0]"
}

@test "another attempt is made with the files of the package" {
    on_host "$upgrade; sh packaging/deb/postinst configure >/dev/null 2>&1 || cat \$agent/lib/functions
        echo 0 >/run/status; sh packaging/deb/postinst configure 2>/dev/null; echo \"\$?\"; cat \$agent/lib/functions; [ ! -e \$agent/.other-files ]"
    says "rcscript stop" former "$program ( )" 0 "package [0]"
}

clean="program -clean /opt/zorvane/kell/ksagent ( )"
links='mkdir -p /etc/systemd/system/multi-user.target.wants; : >/etc/systemd/system/multi-user.target.wants/qdn-ksclt-first-boot.service
    ln -s $agent/bin/qdn-configure /usr/local/bin/qdn-configure; ln -s $agent/bin/qdn-configure /usr/bin/qdn-configure'
left='find /etc/systemd/system/*.wants /usr/bin/qdn-configure /usr/local/bin/qdn-configure -name "qdn-*" 2>/dev/null | sort; state /tmp'
first_boot=/etc/systemd/system/multi-user.target.wants/qdn-ksclt-first-boot.service

@test "what a package has that was never configured goes without a word" {
    for scriptlet in "rpm/preun 0" "deb/prerm remove"; do
        on_host "$links; make_hand_over; sh packaging/$scriptlet; echo \"\$?\"; $left"
        says 0 "/usr/local/bin/qdn-configure [0]"
    done
    on_host 'configured $agent; rm $agent/bin/qdn-configure.bin; clean; echo "$?"'
    says "0 [0]"
    on_host "ln -s /else /usr/bin/qdn-configure; clean; readlink /usr/bin/qdn-configure"
    says "/else [0]"
}

@test "before the last of a package goes the agent is stopped and what the program made is removed" {
    for scriptlet in "rpm/preun 0" "deb/prerm remove"; do
        on_host "configured \$agent; $links; make_hand_over; : >/run/agent; sh packaging/$scriptlet; echo \"\$?\"; $left"
        says "rcscript stop" "$clean" 0 "/usr/bin/qdn-configure [0]"
    done
    on_host ': >$agent/etc/.unfinished; clean'
    says "$clean [0]"
    on_host "configured \$agent; clean; echo \"\$?\"; ln -s /else /usr/local/bin/qdn-configure; clean; readlink /usr/local/bin/qdn-configure"
    says "$clean" 0 "$clean" "/else [0]"
}

@test "on an upgrade nothing is taken away" {
    for scriptlet in "rpm/preun 1" "deb/prerm upgrade" "deb/prerm deconfigure"; do
        on_host "configured \$agent; $links; : >/run/agent; sh packaging/$scriptlet; echo \"\$?\"; $left"
        says 0 $first_boot /usr/bin/qdn-configure "/usr/local/bin/qdn-configure [0]"
    done
}

@test "a package stays when the program refuses to remove its files, and an agent that ran runs on" {
    on_host "echo 1 >/run/status; configured \$agent; $links; : >/run/agent; clean || echo \"failed \$?\"; $left"
    says "rcscript stop" "$clean" "rcscript start" "$told The package stays, for the reason above." "failed 1" \
        $first_boot /usr/bin/qdn-configure "/usr/local/bin/qdn-configure [0]"
    on_host 'echo 1 >/run/status; configured $agent; clean || echo "failed $?"'
    says "$clean" "$told The package stays, for the reason above." "failed 1 [0]"
    on_host 'configured $agent; : >/run/agent; : >/run/stays; clean || echo "failed $?"'
    says "rcscript stop" "sleep 1" "sleep 1" "sleep 1" "sleep 1" "sleep 1" \
        "$told The Zorvane Agent runs and cannot be stopped." "failed 1 [0]"
}

@test "that files may be left is told when the program ends in another way" {
    on_host "echo 5 >/run/status; configured \$agent; $links; clean; echo \"\$?\"; $left"
    says "$clean" "$told Files of the Zorvane Agent may be left: /opt/zorvane/kell/ksagent/bin/qdn-configure.bin -clean ended with status 5." \
        0 "/usr/bin/qdn-configure [0]"
}

@test "files that a scriptlet makes can be read by all, whatever the caller's mask is" {
    on_host "umask 077; . '$root/packaging/scriptlet-functions'; : >/run/made; state /run | grep made"
    says "-rw-r--r-- made [0]"
}
