# Control characters in names and values: nothing that the program reads steers the terminal of the operator.
# shellcheck disable=SC2154 # a session says where things are
load support

# Neither stream of the last run has a control character but tab and line end, raw C1 ones included.
expect_no_control_characters() {
    local stream
    for stream in out err; do
        LC_ALL=C.UTF-8 /usr/bin/python3 - "$desk/$stream" <<'END'
import sys
text = open(sys.argv[1], encoding="utf-8", errors="surrogateescape").read()
bad = sorted({hex(ord(c)) for c in text if c not in "\t\n" and (ord(c) < 32 or 127 <= ord(c) < 160)})
sys.exit(f"{sys.argv[1]}: {bad}" if bad else 0)
END
    done
}

@test "nothing in the arguments steers the terminal" {
    local arguments escape
    escape=$(steering)
    for arguments in "$escape" "-configure $escape" "-configure -dir /opt/$escape\$" "-clean /opt/$escape" "-clean"; do
        # shellcheck disable=SC2086 # words on purpose
        qdn_configure $arguments
        expect_no_control_characters
        [ "$status" -ne 0 ] || [[ $arguments = "-clean /opt"* ]]
    done
}

@test "nothing that the environment names steers the terminal" {
    local escape
    escape=$(steering)
    given_the_package
    mkdir -p "/tmp/$escape"
    echo "<broken$escape" >"/tmp/$escape/$xml"
    QDNCLIENT_CONFIG_XML_DIR="/tmp/$escape" QDN_INSTALL_AGENT_NAME=$escape qdn_configure -configure -noimode
    expect_status 1
    expect_no_control_characters
    grep -q '^WARNING! /tmp/\\x1b\]0;owned\\x07\\x1b\[2J\\x9b31m/' "$desk/err"
}

@test "no value of an XML configuration file steers the terminal, paths and server names among them" {
    given_the_package
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell&#x9b;31m.example</KSName>
  <Settings Start="no" LogLevel="&#x9b;2J">
    <InstallDir>$agent</InstallDir>
    <EventQueueDir>/opt/queue&#x9b;2J</EventQueueDir>
    <LogDir>/dev/null/&#x9b;2J</LogDir>
    <TempDir>/opt/temp&#x9b;2J</TempDir>
  </Settings>
</KSAgentConfiguration>
END
    qdn_configure -configure -noimode
    expect_no_control_characters
    grep -q 'x9b' "$desk/out" "$desk/err"
}

@test "no value of an old agent's configuration steers the terminal, on an upgrade or a clean" {
    local command escape
    escape=$(steering)
    for command in "-configure -noimode" "-clean $agent"; do
        rm -rf "$agent" /etc/init.d/zorvane /etc/rc?.d/*zorvane /usr/bin/qdn-*
        given_an_old_agent 6.2
        sed -i "s|^event_queue_dir=.*|event_queue_dir=/opt/q$escape|; s|^debug_output=.*|debug_output=/dev/null/$escape|
            s|^sub_agent_names=.*|sub_agent_names=$escape|; s|^server-1=.*|server-1=kell$escape|" "$agent/etc/client.conf"
        given_the_package
        given_plain_xml
        # shellcheck disable=SC2086 # words on purpose
        qdn_configure $command
        expect_no_control_characters
    done
}

@test "nothing in the agent's status line steers the terminal" {
    given_the_package
    printf '#!/bin/sh\nprintf "%%b\\n" "%s"\n' '\033]0;owned\007running\0302\0233' >"$agent/bin/rcscript.fake"
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings RunLevel="rc3" StartupOnBoot="no"><InstallDir>$agent</InstallDir></Settings>
</KSAgentConfiguration>
END
    cp "$agent/bin/rcscript.fake" "$agent/etc/rcscript.proto.linux"
    cp "$agent/bin/rcscript.fake" "$agent/etc/rcscript.proto.suse"
    qdn_configure -configure -noimode
    expect_no_control_characters
    grep -qF '\x1b]0;owned\x07running\x9b' "$desk/out"
}

each_test_is_a_session
