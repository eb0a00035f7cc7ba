# What qdn-configure(8) promises about what is removed, what is kept, and how it goes on after a failure, holds.
load ../scenarios/support
load ../scenarios/old-agent
load pages

# example BEGINNING: the commands that the page displays after the line that begins so, run as they stand there.
example() {
    awk -v beginning="$1" 'index($0, beginning) == 1 { after = 1 }
        after && sub(/^\.Dl # /, "") { print; exit }
        after && /^\.Ed/ { exit }
        inside { sub(/^# /, ""); sub(/\\e$/, "\\"); print }
        after && /^\.Bd/ { inside = 1 }' "$project/docs/qdn-configure.8" >"$desk/example"
    [ -s "$desk/example" ] || fail "the page has no example that begins: $1"
    cd "$agent" || return
    run_as_it_stands sh -e "$desk/example"
    expect_status "${2:-0}"
}

run_as_it_stands() {
    export QDN_INSTALL_AUTOSTART=no
    status=0
    list_files >"$desk/before"
    "$@" >"$desk/out" 2>"$desk/err" || status=$?
}

# agent.xml of the examples, with a setting of its own.
given_an_xml_file_to_copy() {
    mkdir -p /opt/zorvane
    cat >"$agent/agent.xml" <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings><EventLog LogSize="1234"/></Settings>
</KSAgentConfiguration>
END
}

# An agent of which everything is somewhere else.
given_a_scattered_agent() {
    given_the_package
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Guid>0a1b2c3d</Guid>
  <Settings Start="no" StartupOnBoot="yes" RunLevel="rc3" AllowNonRoot="yes">
    <EventLog LogDir="/var/log/zorvane"/>
    <InstallDir>$agent</InstallDir>
    <GuidDir>/var/lib/zorvane</GuidDir>
    <EventQueueDir>/var/lib/zorvane/queue</EventQueueDir>
    <TasksDir>/var/lib/zorvane/tasks</TasksDir>
    <PackagesDir>/var/lib/zorvane/packages</PackagesDir>
    <SWDDir>/var/lib/zorvane/swd</SWDDir>
  </Settings>
</KSAgentConfiguration>
END
    mkdir -p /var/lib/zorvane
    qdn_configure -configure -noimode -quiet
    expect_status 0
    for store in queue tasks packages swd; do echo data >"/var/lib/zorvane/$store/anything"; done
    echo log >/var/log/zorvane/qdn-client.log
}

@test "a clean removes the data wherever it is and the identifier, and keeps a log elsewhere" {
    given_a_scattered_agent
    expect_plain_files /var/lib/zorvane/host.GUID
    qdn_configure -clean "$agent"
    expect_status 0
    expect_missing "$agent" /var/lib/zorvane/{queue,tasks,packages,swd,host.GUID} /etc/init.d/zorvane
    expect_plain_files /var/log/zorvane/qdn-client.log
    [ "$(readlink /usr/bin/qdn-configure)" = "$agent/bin/qdn-configure" ]
}

@test "a clean keeps what symbolic links lead to" {
    given_a_scattered_agent
    mkdir /opt/somebody
    echo own >/opt/somebody/file
    ln -s /opt/somebody /var/lib/zorvane/queue/link
    qdn_configure -clean "$agent" -quiet
    expect_missing /var/lib/zorvane/queue
    expect_plain_files /opt/somebody/file
}

@test "an upgrade in place keeps the data, and the old configuration as etc/client.conf.old until a clean" {
    given_an_old_agent 6.2
    given_the_package
    cp "$agent/etc/client.conf" "$desk/old.conf"
    example "Upgrade, or retry"
    expect_file "$agent/etc/client.conf.old" <"$desk/old.conf"
    expect_plain_files "$agent/var/queue/one.kse" "$agent/var/tasks/one.kst"
    example "Stop and remove"
    expect_missing "$agent"
}

@test "an upgrade keeps values, and comments and unknown keys only in etc/client.conf.old" {
    given_an_old_agent 6.2
    given_the_package
    printf '\n# our own note\n[Our section]\nkey=value\n' >>"$agent/etc/client.conf"
    example "Upgrade, or retry"
    expect_value Configuration debug_file_size 777
    expect_no_line "our own note" "$agent/etc/client.conf"
    expect_no_line "Our section" "$agent/etc/client.conf"
    grep -qx "# our own note" "$agent/etc/client.conf.old"
}

@test "when the old configuration cannot be saved, the run fails and nothing is removed" {
    given_an_old_agent 6.2
    given_the_package
    mkdir -m 0600 "$agent/etc/client.conf.old"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 1
    expect_errors <<END
ERROR: Unable to write to file: $agent/etc/client.conf.old
  $agent/etc/client.conf.old: Is a directory
END
    expect_no_changes
}

@test "a run that was killed is run again" {
    given_an_old_agent 6.2
    given_the_package
    given_a_tool_that_kills
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 137
    rm /usr/sbin/chkconfig
    touch /tmp/.zorvane-agent-installer.abc123
    example "Upgrade, or retry"
    expect_missing /tmp/.zorvane-agent-installer.abc123
    expect_value "Kell Servers" server-1 old.example:8083
    expect_plain_files "$agent/var/queue/one.kse" "$agent/var/tasks/one.kst"
}

@test "an upgrade to another directory that was killed is finished from etc/client.conf.old" {
    given_an_old_agent 6.2 "$elsewhere"
    given_the_package
    given_a_tool_that_kills
    export QDN_INSTALL_AUTOSTART=no
    QDNCLIENT_CONFIG_FILE=$elsewhere/etc/client.conf qdn_configure -configure -noimode -dir "$agent"
    expect_status 137
    rm /usr/sbin/chkconfig
    expect_plain_files "$agent/etc/client.conf.old" "$agent/etc/.unfinished"
    example "For any other directory"
    expect_value "Kell Servers" server-1 old.example:8083
    expect_plain_files "$agent/var/queue/one.kse" "$agent/var/tasks/one.kst"
    expect_missing "$agent/etc/.unfinished"
}

@test "a clean that was killed is repeated" {
    given_an_old_agent 6.2
    given_the_package
    given_a_tool_that_kills
    qdn_configure -clean "$agent"
    expect_status 137
    rm /usr/sbin/chkconfig
    qdn_configure -clean "$agent"
    expect_status 0
    expect_missing "$agent"
    qdn_configure -clean "$agent"
    expect_status 0
    expect_no_changes
}

@test "an agent that was just installed is configured by the server's name alone" {
    given_the_package
    example "Configure an agent that has just"
    expect_value "Kell Servers" server-1 kell.example.com
}

@test "an agent is configured by an XML file" {
    given_the_package
    given_an_xml_file_to_copy
    example "Configure it with the settings"
    expect_value Configuration debug_file_size 1234
    expect_missing /opt/zorvane/.qdn-agent-install-config.xml
}

@test "an agent is configured by answers" {
    given_the_package
    { echo kell.example; printf '\n%.0s' {1..13}; } >"$desk/answers"
    example "Configure it by answering" <"$desk/answers"
    expect_value "Kell Servers" server-1 kell.example
}

@test "a preview shows what an upgrade would do, and changes nothing" {
    given_an_old_agent 6.2
    given_the_package
    example "See what a command would do"
    grep -q 'etc/client.conf.old' "$desk/out"
    expect_no_changes
}

@test "an upgrade is applied as a whole" {
    given_an_old_agent 6.2
    given_the_package
    example "Upgrade, but leave"
    expect_value Configuration debug_file_size 777
    expect_missing /var/lib/qdn-configure
}

@test "a plan is followed, and no longer once the host has changed" {
    given_an_old_agent 6.2
    given_the_package
    example "Do exactly what"
    expect_value Configuration debug_file_size 777
    qdn_configure -apply -yes -plan /root/plan -configure -noimode
    expect_status 1
    grep -q '^ERROR: The host has changed since the plan was made' "$desk/err"
}

@test "a setting of an installed agent is changed by an XML file" {
    given_an_old_agent 6.2
    given_the_package
    example "Upgrade, or retry"
    given_an_xml_file_to_copy
    example "Change settings"
    expect_value Configuration debug_file_size 1234
    expect_plain_files "$agent/var/queue/one.kse"
}

@test "the state of an agent that does not run is shown" {
    given_the_package
    example "Configure an agent that has just"
    example "Tell whether the agent" 3
    grep -q '^  Server .*kell.example.com' "$desk/out"
}

each_test_is_a_session
