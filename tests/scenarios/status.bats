# What -status tells of an agent, each of its statuses and fields, and that it changes nothing.
load support
load old-agent

truth() { "$project/tests/support/preview-truth.py" "$@"; }

given_a_configured_agent() {
    given_the_package
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>${1:-https://kell.example.com:8083}</KSName>
  <Guid>0a1b2c3d-0000-1111-2222-333344445555</Guid>
  <Settings Start="no" RunLevel="rc3;rc5" StartupOnBoot="yes" AllowNonRoot="no"><InstallDir>$agent</InstallDir></Settings>
</KSAgentConfiguration>
END
    "$program" -configure -noimode -quiet >"$desk/out"
}

# The document of -status, checked against its schema; `field` reads it.
state() {
    qdn_configure -status -json "$@"
    python3 - "$project/docs/schema/status-1.json" "$desk/out" <<'END'
import json, sys
import jsonschema
schema, document = (json.load(open(name, encoding="utf-8")) for name in sys.argv[1:])
jsonschema.Draft202012Validator.check_schema(schema)
jsonschema.validate(document, schema, jsonschema.Draft202012Validator)
END
    expect_field 'd["status"]' "$status"
}

field() { python3 -c 'import json, sys; d = json.load(open(sys.argv[1])); print(json.dumps(eval(sys.argv[2])))' "$desk/out" "$1"; }
expect_field() { [ "$(field "$1")" = "$2" ] || fail "$1 is $(field "$1"), expected $2"; }

@test "an agent that is in order and runs is reported with status 0, and nothing is changed" {
    under_dash_and_bash
    given_a_configured_agent
    "$agent/bin/rcscript" start >"$desk/started"
    pid=$(sed 's/.*pid \([0-9]*\).*/\1/' "$desk/started")
    truth snapshot "$desk/tree-before"
    qdn_configure -status
    truth snapshot "$desk/tree-after"
    truth same "$desk/tree-before" "$desk/tree-after"
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner

  Agent       6.0.350 (6.0SP2) in $agent
  Server      https://kell.example.com:8083
  Identifier  $agent/etc/host.GUID
  At boot     started in run levels 3 and 5, by links
  Process     running (pid $pid)
  Differences none

In order (status 0).
END
    state
    expect_field 'd["agent"]' "{\"running\": true, \"pid\": $pid}"
    "$agent/bin/rcscript" stop >"$desk/stopped"
}

@test "the document has every fact of an agent that is in order and does not run" {
    given_a_configured_agent
    state
    expect_status 3
    expect_no_errors
    expect_field 'd["installed"]' "{\"version\": \"6.0.350\", \"label\": \"6.0SP2\", \"directory\": \"$agent\", \"client_conf\": \"$agent/etc/client.conf\", \"unfinished\": false}"
    expect_field 'd["server"]' '{"url": "https://kell.example.com:8083", "reachable": null}'
    expect_field 'd["identifier"]' "{\"file\": \"$agent/etc/host.GUID\", \"present\": true}"
    expect_field 'd["boot"]' '{"by": ["links"], "enabled": true, "levels": [3, 5]}'
    expect_field 'd["agent"]' '{"running": false, "pid": null}'
    expect_field '[d["differences"], d["error"], d["not_compared"]]' '[[], null, null]'
    [ "$(tail -c 1 "$desk/out" | od -An -c | tr -d ' ')" = '\n' ]
    rm "$agent/etc/host.GUID"
    state
    expect_field 'd["identifier"]["present"]' false
}

@test "what is not as it was configured is named, with status 1" {
    given_a_configured_agent
    rm /usr/bin/qdn-monitor
    chmod 0666 "$agent/etc/client.conf"
    chown 1234:1234 "$agent/etc/client.proto"
    echo "# edited" >>/etc/init.d/zorvane
    ln -sfn /nowhere /usr/bin/qdn-taskscheduler
    qdn_configure -status
    expect_status 1
    sed -n '/^  Differences/,$p' "$desk/out" >"$desk/tail"
    same "differences" "$desk/tail" <<END
  Differences 5 from what a configuration would make now:
    /etc/init.d/zorvane has other contents
    $agent/etc/client.conf has mode 0666, not 0644
    $agent/etc/client.proto belongs to 1234:1234, not to 0:0
    /usr/bin/qdn-monitor is missing
    /usr/bin/qdn-taskscheduler does not lead to $agent/bin/qdn-taskscheduler

Not in order (status 1).
END
    state
    expect_field '[d["action"] for d in d["differences"]]' '["replace", "change", "change", "create", "replace"]'
    expect_field 'd["differences"][4]["before"]["target"]' '"/nowhere"'
}

@test "stricter modes, other words for the same values and the saved configuration are no difference" {
    given_a_configured_agent
    chmod 0600 "$agent/etc/client.conf"
    chmod 0500 "$agent/bin/qdn-monitor.bin" && chmod 0700 "$agent/etc"
    sed -i 's/^debug_level *=/debug_level  =  /; 1i # a remark' "$agent/etc/client.conf"
    echo "whatever" >"$agent/etc/client.conf.old"
    chmod 0666 "$agent/etc/client.conf.old"
    state
    expect_status 3
    expect_field 'd["differences"]' '[]'
    sed -i '/^debug_level/d' "$agent/etc/client.conf"
    state
    expect_status 1
    expect_field '[(d["path"], d["action"]) for d in d["differences"]]' "[[\"$agent/etc/client.conf\", \"replace\"]]"
}

@test "neither XML files, variables nor hand-over files make a difference" {
    given_a_configured_agent
    given_plain_xml /tmp "$elsewhere"
    mkdir -p /tmp/ksclt && cp "$agent/etc/client.conf" /tmp/ksclt/.reinstall-client.conf
    export QDN_INSTALL_KSNAME=other.example QDN_INSTALL_RUNLEVELS=rc2 QDNCLIENT_CONFIG_XML_DIR=/tmp
    state
    expect_status 3
    expect_no_errors
    expect_field 'd["differences"]' '[]'
    expect_no_changes
}

@test "without an agent the status is 4" {
    qdn_configure -status
    expect_status 4
    expect_no_errors
    expect_output <<END
$banner

No agent is configured (status 4).
END
    state
    expect_field '[d["installed"], d["differences"], d["agent"]["running"]]' '[null, null, false]'
    given_the_package
    state "$agent"
    expect_status 4
    state -connect
    expect_status 4
    expect_field 'd["server"]' '{"url": null, "reachable": null}'
}

@test "a run that did not finish is reported with status 1" {
    given_a_configured_agent
    echo upgrade >"$agent/etc/.unfinished"
    cp "$agent/etc/client.conf" "$agent/etc/client.conf.old"
    qdn_configure -status
    expect_status 1
    grep -qx "              a run that configured it has not come to its end: run the command again" "$desk/out"
    state
    expect_field 'd["installed"]["unfinished"]' true
}

@test "a configuration that would fail is reported with its error and status 1" {
    given_a_configured_agent
    rm "$agent/etc/client.proto"
    qdn_configure -status
    expect_status 1
    grep -qx "  Differences a configuration would fail: Missing file in install. File:$agent/etc/client.proto.*" "$desk/out"
    state
    [[ $(field 'd["error"]') = *client.proto* ]] || fail "$(field 'd["error"]')"
}

@test "what a configuration could not make is reported with status 1" {
    given_a_configured_agent
    rm "$agent/bin/qdn-monitor" && mkdir "$agent/bin/qdn-monitor"
    qdn_configure -status
    expect_status 1
    grep -qx "  Differences a configuration would fail: $agent/bin/qdn-monitor could not be made: Is a directory." "$desk/out"
}

@test "where no preview is possible, the rest is told" {
    given_a_configured_agent
    status=0
    setpriv --bounding-set=-sys_admin "$program" -status >"$desk/out" 2>"$desk/err" || status=$?
    expect_status 3
    expect_no_errors
    grep -q "^  Differences not looked for: A preview is not possible here: " "$desk/out"
    grep -q "^  Server      https://" "$desk/out"
}

@test "an ordinary user learns all but the differences" {
    given_a_configured_agent
    rm /usr/bin/qdn-monitor
    chmod 0755 /opt /opt/zorvane "$agent/bin/qdn-configure.bin"
    status=0
    setpriv --reuid=1234 --regid=1234 --clear-groups "$agent/bin/qdn-configure.bin" -status >"$desk/out" 2>"$desk/err" || status=$?
    expect_status 3
    expect_no_errors
    grep -qx "  Server      https://kell.example.com:8083" "$desk/out"
    grep -qx "  Differences not looked for: only root can rehearse a configuration" "$desk/out"
    [ "$(tail -n 1 "$desk/out")" = "Not running (status 3)." ]
    chmod 0600 "$agent/etc/client.conf" # a mode that an administrator may choose
    setpriv --reuid=1234 --regid=1234 --clear-groups "$agent/bin/qdn-configure.bin" -status >"$desk/out" || status=$?
    grep -qx "  Agent       unknown version in $agent" "$desk/out"
    grep -qx "              its client.conf cannot be read: Permission denied" "$desk/out"
    grep -qx "  Server      not known" "$desk/out"
}

@test "an agent whose configuration is no file is out of order" {
    given_the_package
    mkdir "$agent/etc/client.conf"
    state
    expect_status 1
    expect_field '[d["installed"]["version"], d["installed"]["unreadable"], d["error"]]' \
        "[null, \"Is a directory\", \"Failed to read configuration files.\\n$agent/etc/client.conf: Is a directory\"]"
}

@test "the agent of another directory is found by its name, and by the program that lies in it" {
    given_the_package "$elsewhere"
    given_plain_xml /tmp "$elsewhere"
    "$program" -configure -noimode -quiet >"$desk/out"
    qdn_configure -status
    expect_status 4
    state "$elsewhere/"
    expect_status 3
    ln -s "$elsewhere" /opt/link
    state /opt/link
    expect_status 3
    expect_field 'd["installed"]["directory"]' "\"$elsewhere\""
    status=0
    "$elsewhere/bin/qdn-configure.bin" -status >"$desk/out" || status=$?
    expect_status 3
    grep -qx "  Agent       6.0.350 (6.0SP2) in $elsewhere" "$desk/out"
    status=0
    QDNCLIENT_CONFIG_FILE=$elsewhere/etc/client.conf "$program" -status >"$desk/out" || status=$?
    expect_status 3
}

@test "the status says how the agent is started at boot" {
    printf '#!/bin/sh\n' >/usr/sbin/systemctl && chmod 0755 /usr/sbin/systemctl
    given_a_configured_agent
    state
    expect_field 'd["boot"]' '{"by": ["systemd", "links"], "enabled": true, "levels": [3, 5]}'
    find /etc/rc?.d -name 'S??zorvane' -delete
    state
    expect_status 1
    expect_field 'd["boot"]' '{"by": ["systemd"], "enabled": true, "levels": [3, 5]}'
    rm /etc/systemd/system/*.wants/zorvane.service
    state
    expect_field 'd["boot"]' '{"by": [], "enabled": false, "levels": []}'
    qdn_configure -status
    grep -qx "  At boot     not started" "$desk/out"
}

@test "the status says whether the server can be reached, when asked" {
    given_a_configured_agent http://127.0.0.1:8099
    state -connect
    expect_status 3
    expect_field 'd["server"]["reachable"]' false
    python3 -c '
import socket, sys
server = socket.create_server(("127.0.0.1", 8099))
server.settimeout(60)
print("listening", flush=True)
server.accept()' >"$desk/server" &
    for _ in $(seq 100); do [ -s "$desk/server" ] || sleep 0.1; done
    qdn_configure -status -connect
    expect_status 3
    grep -qx "  Server      http://127.0.0.1:8099 (can be reached)" "$desk/out"
    wait
}

@test "a mistake on the command line shows the usage, under -json too" {
    local arguments
    for arguments in -bogus "-json -bogus" "/opt/a /opt/b" "-quiet"; do
        # shellcheck disable=SC2086 # several words
        qdn_configure -status $arguments
        expect_status 120
        [ "$(head -n 1 "$desk/out")" = "$banner" ]
        grep -q "^Usage: qdn-configure.bin -status \[-json\] \[-connect\] \[<Agent-Base-Dir>\]$" "$desk/out"
    done
    qdn_configure -status ""
    expect_status 120
}

each_test_is_a_session
