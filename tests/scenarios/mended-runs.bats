# Runs that were cut short, or given less than they hoped for, and what the administrator does next.
load support
load old-agent

# The run is killed when it registers the new service: the old one is gone, and the new client.conf is in its place.
killed_half_way() {
    given_a_tool_that_kills
    sed -i 's/^kill/[ "$1" != --add ] || &/' /usr/sbin/chkconfig
    killed "$@"
}

# The run is killed at its first change of the host's services, which of an upgrade is the end of the old one.
killed_early() {
    given_a_tool_that_kills
    killed "$@"
}

killed() {
    qdn_configure "$@"
    expect_status 137
    rm /usr/sbin/chkconfig
}

# given_an_upgrade_to_make [NEW [OLD]]: an old agent in OLD, whose administrator has left a comment, and the next version's
# package in NEW. Starting would take ten seconds.
given_an_upgrade_to_make() {
    local new=${1:-$agent} old=${2:-$agent}
    given_an_old_agent 6.2 "$old"
    echo "# Ask Miriam before you change the queue" >>"$old/etc/client.conf"
    cp "$old/etc/client.conf" "$desk/old.conf"
    given_the_package "$new"
    export QDN_INSTALL_AUTOSTART=no
}

# What the old agent's file said, in the agent at DIR.
expect_old_values() {
    local conf=$1/etc/client.conf
    expect_value "Kell Servers" server-1 old.example:8083 "$conf"
    expect_value Configuration installdir "$1" "$conf"
    expect_value Configuration debug_file_size 777 "$conf"
    expect_value "Event Queue" level1-retries 5 "$conf"
    expect_value "Client Details" SerialNumber "SN = 12  34" "$conf"
    expect_file "$1/var/queue/one.kse" <<<"event one"
    expect_file "$1/etc/client.conf.old" <"$desk/old.conf"
}

upgrade_output() {
    cat <<END
$banner
  Removing qdn-* links in /usr/bin
  Removing RC init links and scripts
Migrating Agent 6.2 settings...
Creating customized RC and environment scripts.
Setting up RC scripts to start Agent at system start.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
}

first_output() {
    cat <<END
$banner
Creating/customizing Agent's configuration file.
Creating customized RC and environment scripts.
Setting up RC scripts to start Agent at system start.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
}

# given_settings ATTRIBUTES ELEMENTS [IN_ROOT [DIR]]: the XML file with these in Settings and beside it, and the agent in DIR.
given_settings() {
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  ${3:-}
  <Settings Start="no" RunLevel="rc3" $1>$2<InstallDir>${4:-$agent}</InstallDir></Settings>
</KSAgentConfiguration>
END
}

configure_quietly() { qdn_configure -configure -noimode -quiet; }

@test "a run warns of an identifier file in the place of a file of the host's, and writes it once the XML file names another place" {
    ln -sfn /run/lock /var/lock
    given_the_package
    given_settings 'Upgrade="no"' '<GuidDir>/var</GuidDir><GuidFile>lock</GuidFile>' '<Guid>ab-12</Guid>'
    configure_quietly
    expect_status 0
    expect_errors <<<"WARNING! /var/lock is not written: it is not a regular file."
    [ "$(readlink /var/lock)" = /run/lock ]

    given_settings 'Upgrade="no"' '<GuidDir>/var/agent</GuidDir><GuidFile>id</GuidFile>' '<Guid>ab-12</Guid>'
    configure_quietly
    expect_status 0
    expect_no_errors
    printf '{AB-12}\nnull' | expect_file /var/agent/id
}

@test "a mistyped directory for links fails the run before the old agent is touched, and the corrected XML file is used" {
    given_an_upgrade_to_make
    given_settings 'Upgrade="no"' '<BinDir>/usr/bni</BinDir>'
    configure_quietly
    expect_status 1
    expect_errors <<END
ERROR: Directory /usr/bni specified in Configuration file, must exist and be writable.
  /usr/bni: No such file or directory
END
    expect_no_changes

    sed -i s,/usr/bni,/usr/bin, "/tmp/$xml"
    configure_quietly
    expect_status 0
    expect_no_errors
    expect_value "Kell Servers" server-1 kell.example
    [ "$(readlink /usr/bin/qdn-monitor)" = "$agent/bin/qdn-monitor" ]
    expect_file "$agent/etc/client.conf.old" <"$desk/old.conf"
}

@test "misspelt names are reported with their places, and once they are corrected their values outlive the next upgrade" {
    given_the_package
    given_settings 'AllowNonRot="no"' '<EventLog LogSise="512"/>' '<KSprotocol>https</KSprotocol>'
    configure_quietly
    expect_status 0
    expect_errors <<END
WARNING! /tmp/$xml:3:3: unknown element KSprotocol (KSProtocol?).
WARNING! /tmp/$xml:4:39: unknown attribute AllowNonRot (AllowNonRoot?).
WARNING! /tmp/$xml:4:66: unknown attribute LogSise (LogSize?).
END
    given_settings 'Upgrade="no" AllowNonRoot="no"' '<EventLog LogSize="512"/>' '<KSProtocol>https</KSProtocol>'
    configure_quietly
    expect_no_errors
    QDN_INSTALL_AUTOSTART=no configure_quietly
    expect_status 0
    expect_no_errors
    expect_value Configuration debug_file_size 512
    expect_value "Client Transport" ks_url_format https://%server%/Zorvane/
    expect_value Installation allow_non_root no
}

@test "an install directory with a blank fails the run, and the package without one is configured by the corrected XML file" {
    given_the_package "/opt/my agent"
    given_settings '' '' '' '/opt/my agent'
    configure_quietly
    expect_status 1
    expect_errors <<<"ERROR: Install directory /opt/my agent contains characters that are not allowed."
    expect_no_changes

    mv "/opt/my agent" /opt/my-agent
    sed -i "s,my agent,my-agent," "/tmp/$xml"
    configure_quietly
    expect_status 0
    expect_no_errors
    expect_value Configuration installdir /opt/my-agent /opt/my-agent/etc/client.conf
}

@test "a first configuration that was killed is mended by correcting the XML file and running it again" {
    given_the_package
    given_plain_xml
    killed_half_way -configure -noimode
    expect_plain_files "$agent/etc/.unfinished" "$agent/etc/client.conf" "/tmp/$xml"
    expect_value "Kell Servers" server-1 kell.example

    sed -i 's/kell.example/right.example/' "/tmp/$xml"
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output < <(first_output)
    expect_value "Kell Servers" server-1 right.example
    expect_missing "$agent/etc/.unfinished" "$agent/etc/client.conf.old" "/tmp/$xml"
}

@test "without its XML file, a first configuration that was killed is no agent to upgrade from" {
    given_the_package
    given_plain_xml
    killed_half_way -configure -noimode
    rm "/tmp/$xml"
    qdn_configure -configure -quiet
    expect_status 1
    expect_errors <<'END'
ERROR: No configuration file found and -quiet specified.
Remove -quiet to run qdn-configure interactively or specify env var QDNCLIENT_CONFIG_FILE for non default location upgrade.
END
    expect_no_changes
}

@test "the old configuration outlives an upgrade that is killed again and again, and the run that ends carries it" {
    given_an_upgrade_to_make
    for killed in killed_early killed_half_way killed_half_way killed_early; do
        $killed -configure -noimode
        expect_file "$agent/etc/client.conf.old" <"$desk/old.conf"
        expect_plain_files "$agent/etc/.unfinished"
    done
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output < <(upgrade_output)
    expect_old_values "$agent"
    expect_missing "$agent/etc/.unfinished"
}

@test "a wrong server in the XML file of an upgrade that was killed is mended by correcting it" {
    given_an_upgrade_to_make
    given_plain_xml
    killed_half_way -configure -noimode
    sed -i 's/kell.example/right.example/' "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value "Kell Servers" server-1 right.example
    expect_value "Client Details" SerialNumber "SN = 12  34"
    expect_file "$agent/etc/client.conf.old" <"$desk/old.conf"
}

@test "an agent whose first configuration was killed is cleaned like any other" {
    given_the_package
    given_plain_xml
    killed_half_way -configure -noimode
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    expect_no_errors
    expect_missing "$agent" /etc/init.d/zorvane /usr/bin/qdn-monitor
}

@test "an agent whose upgrade was killed is cleaned like any other" {
    given_an_upgrade_to_make
    killed_half_way -configure -noimode
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    expect_no_errors
    expect_missing "$agent" /etc/init.d/zorvane /usr/bin/qdn-monitor
}

@test "an upgrade to another directory that was killed is found where -dir says" {
    given_an_upgrade_to_make "$elsewhere"
    killed_half_way -configure -noimode -dir "$elsewhere"
    expect_missing "$agent/etc/client.conf"
    qdn_configure -configure -noimode -dir "$elsewhere"
    expect_status 0
    expect_no_errors
    expect_output < <(upgrade_output)
    expect_old_values "$elsewhere"
    expect_missing "$elsewhere/etc/.unfinished"
}

@test "an upgrade of an agent in an unusual directory that was killed is found where the XML file says" {
    given_an_upgrade_to_make "$elsewhere" "$elsewhere"
    QDNCLIENT_CONFIG_FILE=$elsewhere/etc/client.conf killed_half_way -configure -noimode
    given_xml /tmp <<END
<KSAgentConfiguration><Settings Start="no"><InstallDir>$elsewhere</InstallDir></Settings></KSAgentConfiguration>
END
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output < <(upgrade_output)
    expect_old_values "$elsewhere"
    expect_missing "$elsewhere/etc/.unfinished" "$agent"
}

# taken_up_where_the_xml_file_says KILLED: an upgrade to another directory that was killed goes on where the XML file says.
taken_up_where_the_xml_file_says() {
    given_an_upgrade_to_make "$elsewhere"
    "$1" -configure -noimode -dir "$elsewhere"
    given_xml /tmp <<END
<KSAgentConfiguration><Settings Start="no"><InstallDir>$elsewhere/</InstallDir></Settings></KSAgentConfiguration>
END
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output < <(upgrade_output)
    expect_old_values "$elsewhere"
    expect_missing "$elsewhere/etc/.unfinished" "$agent/etc/client.conf"
}

@test "an upgrade to another directory that was killed early is found where the XML file says" {
    taken_up_where_the_xml_file_says killed_early
}

@test "an upgrade to another directory that was killed half-way is found where the XML file says" {
    taken_up_where_the_xml_file_says killed_half_way
}

@test "an upgrade to another directory that was killed is found where the XML file says, whatever saving had come to" {
    given_an_upgrade_to_make "$elsewhere"
    echo saving >"$elsewhere/etc/.unfinished"
    given_xml /tmp <<END
<KSAgentConfiguration><Settings Start="no"><InstallDir>$elsewhere</InstallDir></Settings></KSAgentConfiguration>
END
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_old_values "$elsewhere"
}

# answered SERVER KEEP: the questions, with the new directory as the answer to the second one.
answered() {
    printf '%s\n' "$1" "$elsewhere" "$2" "" "" "" "" "" "" "" "" "" "" "" no >"$desk/answers"
    qdn_configure -iconfigure -nosearch <"$desk/answers"
    expect_status 0
    expect_no_errors
}

@test "an upgrade to another directory that was killed is found where an answer says, and its values are proposed" {
    given_an_upgrade_to_make "$elsewhere"
    killed_half_way -configure -noimode -dir "$elsewhere"
    answered https://old.example:8083 yes
    grep -qF "Do you want to keep old settings? (yes): " "$desk/out"
    grep -qF "size, in kilobytes, of the Agent's log file? (777): " "$desk/out"
    grep -qF "event queue directory (default recommended)? ($elsewhere/var/queue): " "$desk/out"
    expect_old_values "$elsewhere"
    printf '%s\nnull' "$guid" | expect_file "$elsewhere/etc/host.GUID"
    expect_missing "$elsewhere/etc/.unfinished" "$agent"
}

@test "an upgrade that is found where an answer says gets a new identifier for another server" {
    given_an_upgrade_to_make "$elsewhere"
    killed_half_way -configure -noimode -dir "$elsewhere"
    answered other.example yes
    expect_value "Kell Servers" server-1 other.example "$elsewhere/etc/client.conf"
    expect_value Configuration debug_file_size 777 "$elsewhere/etc/client.conf"
    expect_missing "$elsewhere/etc/host.GUID" "$elsewhere/etc/.unfinished"
}

@test "an upgrade that is found where an answer says is put aside by a no to its settings" {
    given_an_upgrade_to_make "$elsewhere"
    killed_half_way -configure -noimode -dir "$elsewhere"
    answered other.example no
    expect_value Configuration debug_file_size 256 "$elsewhere/etc/client.conf"
    expect_value "Client Details" SerialNumber "" "$elsewhere/etc/client.conf"
    expect_file "$elsewhere/etc/client.conf.old" <"$desk/old.conf"
}

# bats test_tags=not-under-qemu
@test "an agent unpacked anywhere is configured by its own program and the server's name alone" {
    local program=$program
    given_the_package /opt/unpacked/here
    program=/opt/unpacked/here/bin/qdn-configure.bin
    QDN_INSTALL_AUTOSTART=no QDN_INSTALL_KSNAME=kell.example qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_no_errors
    expect_value "Kell Servers" server-1 kell.example /opt/unpacked/here/etc/client.conf
    expect_value Configuration installdir /opt/unpacked/here /opt/unpacked/here/etc/client.conf
    [ "$(readlink /usr/bin/qdn-monitor)" = /opt/unpacked/here/bin/qdn-monitor ]
    expect_missing "$agent"
}

# Configures a new package, with no server but that of the environment.
configured_afresh() {
    rm -rf "$elsewhere"
    given_the_package "$elsewhere"
    QDN_INSTALL_AUTOSTART=no QDN_INSTALL_KSNAME=kell.example qdn_configure -configure -noimode -quiet "$@"
    expect_status 0
    expect_no_errors
}

@test "slashes at the end of -dir leave no trace" {
    configured_afresh -dir "$elsewhere"
    cp "$elsewhere/etc/client.conf" "$desk/expected"
    configured_afresh -dir "$elsewhere///"
    expect_file "$elsewhere/etc/client.conf" <"$desk/expected"
    expect_no_line "$elsewhere//" "$elsewhere/bin/qdn-env"
    expect_no_line "$elsewhere//" /etc/init.d/zorvane
    [ "$(readlink /usr/bin/qdn-monitor)" = "$elsewhere/bin/qdn-monitor" ]
}

@test "slashes at the end of the XML file's install directory leave no trace" {
    given_plain_xml /tmp "$elsewhere"
    configured_afresh
    cp "$elsewhere/etc/client.conf" "$desk/expected"
    given_plain_xml /tmp "$elsewhere//"
    configured_afresh
    expect_file "$elsewhere/etc/client.conf" <"$desk/expected"
}

# Says in the XML file that the agent is to be started.
given_xml_that_starts() {
    given_plain_xml
    sed -i 's/Start="no"/Start="yes"/' "/tmp/$xml"
}

@test "where services are not to be started, the XML file does not start the agent either" {
    given_the_package
    given_xml_that_starts
    sed -i '/^AGENT=/aecho called >>'"$desk/service-calls" "$agent/lib/service-functions"
    QDN_INSTALL_START=never QDN_INSTALL_AUTOSTART=yes qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    tail -n 3 "$desk/out" >"$desk/end"
    expect_file "$desk/end" <<'END'
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
    expect_missing "$desk/service-calls" "$agent/var/qdn-agent.pid"
}

@test "a run warns of an agent that does not run after its start, names its log, and succeeds" {
    given_the_package
    given_xml_that_starts
    printf '#!/bin/sh\nexit 1\n' >"$agent/bin/qdn-pluginmanager.bin"
    sed -i 's/^START_SECONDS=.*/START_SECONDS=1/' "$agent/lib/service-functions"
    qdn_configure -configure -noimode
    expect_status 0
    expect_errors <<<"WARNING! The agent does not run. See $agent/var/qdn-client.log."
    tail -n 4 "$desk/out" >"$desk/end"
    expect_file "$desk/end" <<'END'
Starting Zorvane Agent for UNIX and Linux.
Zorvane Agent is not running.
Configuration complete.

END
}

each_test_is_a_session
