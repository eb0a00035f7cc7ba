# A configured agent is configured again: its settings and its data stay.
load support

# An agent that somebody has worked with.
given_a_used_agent() {
    given_the_package
    given_plain_xml
    sed -i 's,</KSName>,</KSName><Guid>{12345678-AAAA}</Guid>,' "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    sed -i 's/^level1-retries=.*/level1-retries=77/; s/^Location=.*/Location=Rack 7/
        s/^hold_queue=.*/hold_queue=yes/' "$agent/etc/client.conf"
    echo "event" >"$agent/var/queue/0001.kse"
    echo "task" >"$agent/var/tasks/0001.kst"
    export QDN_INSTALL_AUTOSTART=no
}

@test "without any other source, the installed agent's settings are carried over in place" {
    given_a_used_agent
    given_the_package # of the next version
    cp "$agent/etc/client.conf" "$desk/old.conf"
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner
  Removing qdn-* links in /usr/bin
  Removing RC init links and scripts
Migrating Agent 6.0SP2 settings...
Creating customized RC and environment scripts.
Setting up RC scripts to start Agent at system start.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
    expect_value "Kell Servers" server-1 kell.example
    expect_value "Event Queue" level1-retries 77
    expect_value "Event Queue" hold_queue yes
    expect_value "Client Details" Location "Rack 7"
    expect_value Configuration runlevels_start "3 5"
    expect_file "$agent/var/queue/0001.kse" <<<"event"
    expect_file "$agent/var/tasks/0001.kst" <<<"task"
    printf '{12345678-AAAA}\nnull' | same host.GUID "$agent/etc/host.GUID"
    expect_file "$agent/etc/client.conf.old" <"$desk/old.conf"
    expect_missing /tmp/.zorvane-agent-installer.*
}

@test "an agent whose configuration only root may read is carried over like any other" {
    given_a_used_agent
    chmod 0600 "$agent/etc/client.conf"
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    grep -qx "Migrating Agent 6.0SP2 settings..." "$desk/out"
    expect_value "Event Queue" level1-retries 77
    expect_value "Client Details" Location "Rack 7"
}

@test "the same server by its short name keeps the identifier" {
    given_a_used_agent
    given_plain_xml
    sed -i 's/kell.example/KELL:8080/' "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value "Kell Servers" server-1 KELL:8080
    printf '{12345678-AAAA}\nnull' | same host.GUID "$agent/etc/host.GUID"
}

@test "a run that fails has removed nothing of the agent's configuration and data" {
    given_a_used_agent
    rm "$agent/etc/client.proto"
    cp "$agent/etc/client.conf" "$desk/old.conf"
    qdn_configure -configure -noimode -quiet
    expect_status 1
    expect_errors <<<"ERROR: Missing file in install. File:$agent/etc/client.proto"
    expect_file "$agent/etc/client.conf" <"$desk/old.conf"
    expect_file "$agent/var/queue/0001.kse" <<<"event"
    expect_plain_files "$agent/etc/host.GUID" "$agent/bin/qdn-env"
}

each_test_is_a_session
