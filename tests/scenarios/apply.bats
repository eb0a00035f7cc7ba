# A command that takes effect as a whole, or leaves the host as it was.
load support
load old-agent

# A tree of the host without what a run may leave: times of directories, and the files of an attempt that failed. Of
# what it leaves alone in /usr/bin, kind, mode, owner and size are enough.
host_tree() {
    list_files | grep -v -e '^/var/lib/qdn-configure' -e '^/run/' -e '/qdn-agent.pid' | awk -F '\t' '{
        if ($2 !~ /^[dl]/) { split($4, part, " "); $4 = part[1] " " part[2] }
        print }' OFS='\t'
    find /etc /opt /tmp -path "$project" -prune -o -type f ! -name qdn-agent.pid -exec sha256sum {} + | LC_ALL=C sort -k2
}

expect_same_host() { host_tree | diff "$desk/host" - || fail "the host is not as it was"; }

expect_no_trace() {
    expect_missing /var/lib/qdn-configure
    [ -z "$(find /etc /opt /usr /var /tmp -maxdepth 1 -name '.qdn*')" ] || fail "something of the run is left"
}

# The document, and that of the preview in it, checked against their schemas.
expect_valid() {
    python3 - "$project/docs/schema" "$1" <<'END'
import json, sys
import jsonschema
document = json.load(open(sys.argv[2], encoding="utf-8"))
for name, part in (("apply", document), ("preview", document["preview"])):
    schema = json.load(open(f"{sys.argv[1]}/{name}-1.json", encoding="utf-8"))
    jsonschema.Draft202012Validator.check_schema(schema)
    jsonschema.validate(part, schema, jsonschema.Draft202012Validator)
END
}

# field EXPRESSION: a part of the document, `d`, as JSON.
field() { python3 -c 'import json, sys; d = json.load(open(sys.argv[1])); print(json.dumps(eval(sys.argv[2])))' "$desk/out" "$1"; }

expect_field() { [ "$(field "$1")" = "$2" ] || fail "$1 is $(field "$1"), expected $2"; }

@test "a fresh installation is applied, and nothing else is left" {
    given_the_package
    given_plain_xml
    qdn_configure -apply -yes -configure -noimode
    expect_status 0
    expect_no_errors
    expect_no_trace
    expect_value Configuration installdir "$agent"
    grep -qx "Configuration complete." "$desk/out"
    grep -q "The command would succeed" "$desk/out"
}

@test "a caller that ignores the end of its children changes nothing about it" {
    given_the_package
    given_plain_xml
    timeout 100 env --ignore-signal=CHLD "$program" -apply -yes -configure -noimode >"$desk/out" 2>"$desk/err"
    expect_no_errors
    expect_no_trace
    grep -qx "Configuration complete." "$desk/out"
}

@test "an agent in a directory of bytes that are no UTF-8 is applied and stays up" {
    under_dash_and_bash
    directory=$'/opt/caf\xe9'
    given_the_package "$directory"
    given_plain_xml
    sed -i 's/Start="no"/Start="yes"/' /tmp/.qdn-agent-install-config.xml
    qdn_configure -apply -yes -configure -noimode -dir "$directory"
    "$directory/bin/rcscript" stop >"$desk/stopped"
    expect_status 0
    expect_no_errors
    expect_no_trace
    grep -qx "Zorvane Agent is running (pid [0-9]*)\." "$desk/out"
}

@test "an upgrade is applied" {
    given_an_old_agent 6.2
    given_the_package
    export QDN_INSTALL_AUTOSTART=no
    qdn_configure -apply -yes -configure -noimode
    expect_status 0
    expect_no_errors
    expect_no_trace
    expect_value Configuration debug_file_size 777
    expect_file "$agent/var/queue/one.kse" <<<"event one"
}

@test "a first configuration in a directory of another user's is applied" {
    given_the_package /opt/theirs/agent
    given_plain_xml /tmp /opt/theirs/agent
    chown -R 1 /opt/theirs
    qdn_configure -apply -yes -configure -noimode
    expect_status 0
    expect_no_errors
    expect_no_trace
}

@test "a configuration beside an older agent's files in a directory of another user's is applied" {
    given_an_old_agent 6.2 /opt/theirs/agent
    given_the_package /opt/theirs/agent
    given_plain_xml /tmp /opt/theirs/agent
    chown -R 1 /opt/theirs
    qdn_configure -apply -yes -configure -noimode
    expect_status 0
    expect_no_errors
    expect_no_trace
    [ "$(stat -c %u /opt/theirs/agent/etc/client.proto)" -eq 0 ]
}

@test "a clean is applied" {
    given_an_old_agent 6.2
    given_the_package
    qdn_configure -apply -yes -clean "$agent"
    expect_status 0
    expect_no_errors
    expect_no_trace
    expect_missing "$agent" /etc/init.d/zorvane
}

# An agent whose process dies after a second when it has to report to bad.example, and which runs now.
given_a_running_agent() {
    given_the_package
    sed -i '2i grep -q "^server-1=bad" /opt/zorvane/kell/ksagent/etc/client.conf && { echo $$ >"$2"; sleep 1; rm -f "$2"; exit 1; }' \
        "$agent/bin/qdn-pluginmanager.bin"
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    "$agent/bin/rcscript" start >"$desk/start" || fail "the agent does not start"
}

given_other_xml() {
    given_plain_xml /tmp "$agent" 'Upgrade="no"'
    sed -i "s/kell.example/$1/; s/Start=\"no\"/Start=\"yes\"/" "/tmp/$xml"
    host_tree >"$desk/host"
}

expect_running_agent() { "$agent/bin/rcscript" status >"$desk/running" || fail "the agent does not run"; }

stop_the_agent() { "$agent/bin/rcscript" stop >"$desk/stop"; }

@test "an agent that runs is stopped, configured and started, and is watched until it stays up" {
    under_dash_and_bash
    given_a_running_agent
    given_other_xml good.example
    qdn_configure -apply -json -yes -plan /nowhere -configure -noimode
    expect_status 1
    expect_valid "$desk/out"
    expect_field 'd["agent"]["running"]' true # nothing has been stopped
    qdn_configure -apply -yes -configure -noimode
    expect_status 0
    expect_no_errors
    expect_no_trace
    expect_running_agent
    grep -qx "Zorvane Agent is running (pid [0-9]*)\." "$desk/out"
    grep -q "The agent would be stopped\. The agent would be started\." "$desk/out"
    expect_value "Kell Servers" server-1 good.example
    qdn_configure -apply -json -yes -configure -noimode
    expect_status 0
    expect_valid "$desk/out"
    expect_field '[d["agent"]["running"], type(d["agent"]["pid"]).__name__]' '[true, "int"]'
    stop_the_agent
}

@test "an agent that runs is stopped and cleaned" {
    under_dash_and_bash
    given_a_running_agent
    qdn_configure -apply -yes -clean "$agent"
    expect_status 0
    expect_no_errors
    expect_no_trace
    expect_missing "$agent"
    [ -z "$(pgrep -f "$agent/bin/qdn-plug")" ] || fail "the agent runs"
}

@test "what runs and is no agent that could be stopped refuses the run" {
    given_the_package
    given_plain_xml
    cp "$(command -v sleep)" /tmp/qdn-plugin
    /tmp/qdn-plugin 600 >/dev/null 2>&1 &
    local refusal="The Zorvane Agent for UNIX and Linux is already running. Stop the agent before running qdn-configure."
    list_files >"$desk/before"
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -qx "ERROR: $refusal" "$desk/err"
    expect_no_changes
    qdn_configure -apply -json -yes -configure -noimode
    expect_status 1
    expect_valid "$desk/out"
    expect_field 'd["error"]' "\"$refusal\""
    expect_no_changes
    qdn_configure -apply -yes -clean
    expect_status 120
    kill $!
    wait
    "$program" -configure -noimode -quiet >"$desk/configured"
    /tmp/qdn-plugin 600 >/dev/null 2>&1 &
    given_plain_xml
    qdn_configure -apply -yes -configure -noimode # of an agent that does not run itself
    expect_status 1
    grep -qx "ERROR: $refusal" "$desk/err"
    expect_no_changes
    kill $!
    wait
}

@test "an interruption while the agent is being stopped is one, and the agent runs again" {
    under_dash_and_bash
    given_a_running_agent
    # shellcheck disable=SC2016 # for the script
    sed -i '2i [ "$1" != stop ] || kill -INT $(pgrep -o -x qdn-configure.b)' /etc/init.d/zorvane
    given_other_xml good.example
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -qx "ERROR: The run was interrupted\." "$desk/err"
    expect_running_agent
    expect_same_host
    sed -i 2d /etc/init.d/zorvane
    stop_the_agent
}

# README.md shows what it says then.
@test "an agent that dies after a second has everything put back, and the former agent runs" {
    under_dash_and_bash
    given_a_running_agent
    given_other_xml bad.example
    qdn_configure -apply -yes -wait 5 -configure -noimode
    expect_status 1
    expect_errors <<END
ERROR: The agent does not stay up.
  The host has been put back as it was.
  The files of the attempt are in /var/lib/qdn-configure/failed.
END
    expect_running_agent
    grep -qx server-1=bad.example "/var/lib/qdn-configure/failed$agent/etc/client.conf"
    [ "$(stat -c %a /var/lib/qdn-configure)" = 700 ]
    expect_same_host
    stop_the_agent
}

@test "a run that fails half-way leaves the host as it was" {
    given_an_old_agent 6.2
    given_the_package
    export QDN_INSTALL_AUTOSTART=no
    given_a_tool_in_earnest <<END
rm -f $agent/etc/.unfinished
mkdir -p $agent/etc/.unfinished
END
    host_tree >"$desk/host"
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -qx "ERROR: Unable to remove file: $agent/etc/.unfinished" "$desk/err"
    grep -qx "  The host has been put back as it was\." "$desk/err"
    expect_same_host
    qdn_configure -apply -json -yes -configure -noimode
    expect_status 1
    expect_valid "$desk/out"
    expect_field '[d["restored"], d["kept"]]' '[true, "/var/lib/qdn-configure/failed"]'
    expect_same_host
}

@test "what cannot be saved is not begun" {
    given_the_package
    given_plain_xml
    mkdir /opt/.qdn-configure-saved
    list_files >"$desk/before"
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -qx "ERROR: What the run would touch cannot be saved\." "$desk/err"
    expect_no_changes
}

@test "what could not be put back is put back by the next run" {
    given_an_old_agent 6.2
    given_the_package
    export QDN_INSTALL_AUTOSTART=no
    given_a_tool_in_earnest <<'END'
[ "$1" = --add ] || exit 0
mount --bind /etc/init.d /etc/init.d && mount -o remount,bind,ro /etc/init.d
kill -KILL $(pgrep -n -x qdn-configure.b)
END
    host_tree >"$desk/host"
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -qx "ERROR: Not everything could be put back\." "$desk/err"
    grep -qx "  The next run of qdn-configure tries again\." "$desk/err"
    umount /etc/init.d
    qdn_configure -clean /nowhere
    expect_same_host
}

@test "a clean that is ended half-way leaves the agent as it was" {
    given_an_old_agent 6.2
    given_the_package
    given_a_tool_in_earnest <<<'rm -r /opt/zorvane/kell/ksagent/bin; kill -KILL $(pgrep -n -x qdn-configure.b)'
    host_tree >"$desk/host"
    qdn_configure -apply -yes -clean "$agent"
    expect_status 1
    grep -qx "ERROR: The command was ended by a signal\." "$desk/err"
    expect_same_host
}

@test "data that has moved is moved back" {
    given_an_old_agent 6.0SP2
    given_the_package "$elsewhere"
    printf '#!/bin/sh\necho %s/etc/client.proto\n' "$elsewhere" >/usr/sbin/rpm
    chmod 755 /usr/sbin/rpm
    export QDN_INSTALL_AUTOSTART=no
    given_a_tool_in_earnest <<<'[ "$1" != --add ] || kill -KILL $(pgrep -n -x qdn-configure.b)'
    host_tree >"$desk/host"
    qdn_configure -apply -yes -configure -noimode -dir "$elsewhere"
    expect_status 1
    expect_same_host
    rm /usr/sbin/chkconfig
    qdn_configure -apply -yes -configure -noimode -dir "$elsewhere"
    expect_status 0
    expect_file "$elsewhere/var/queue/one.kse" <<<"event one"
}

@test "an interruption has everything put back" {
    given_an_old_agent 6.2
    given_the_package
    export QDN_INSTALL_AUTOSTART=no
    given_a_tool_in_earnest <<<'kill -INT $(pgrep -o -x qdn-configure.b); sleep 2'
    host_tree >"$desk/host"
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -qx "ERROR: The run was interrupted\." "$desk/err"
    expect_same_host
}

@test "the next run of any command puts back what a killed one has left, and says so first" {
    given_an_old_agent 6.2
    given_the_package
    export QDN_INSTALL_AUTOSTART=no
    given_a_tool_in_earnest <<<'kill -KILL $(pgrep -x qdn-configure.b)'
    host_tree >"$desk/host"
    qdn_configure -apply -yes -configure -noimode
    expect_status 137
    [ -e /var/lib/qdn-configure/journal ]
    rm -f "$agent/etc/.unfinished" # a plain run's own mark would be told as well
    qdn_configure -status
    expect_status 1
    grep -q "has not come to its end: run the command again" "$desk/out"
    qdn_configure -clean /nowhere
    expect_status 0
    expect_errors <<<"WARNING! A former -apply was cut off: the host has been put back as it was before it."
    expect_same_host
    [ -z "$(find /var/lib/qdn-configure -mindepth 1 -maxdepth 1 ! -name failed)" ]
}

@test "where no preview is possible, -or-plainly runs the command by itself, once; where one fails, nothing runs" {
    given_the_package
    qdn_configure -apply -yes -or-plainly -configure -noimode
    expect_status 1
    expect_no_changes
    given_plain_xml
    mkdir /tmp/lower /tmp/1 /tmp/2 /tmp/1/upper /tmp/1/work /tmp/2/upper /tmp/2/work
    mount -t overlay overlay -o lowerdir=/tmp/lower:/opt,upperdir=/tmp/1/upper,workdir=/tmp/1/work /opt
    mount -t overlay overlay -o lowerdir=/tmp/lower:/opt,upperdir=/tmp/2/upper,workdir=/tmp/2/work /opt
    qdn_configure -apply -yes -configure -noimode
    expect_status 1
    grep -q '^ERROR: A preview is not possible here: /opt is an overlay of overlays' "$desk/err"
    expect_missing "$agent/etc/client.conf"
    qdn_configure -apply -yes -or-plainly -configure -noimode
    expect_status 0
    grep -q '^WARNING! A preview is not possible here: /opt is an overlay of overlays' "$desk/err"
    [ "$(grep -c '^Configuration complete\.$' "$desk/out")" -eq 1 ]
    expect_value Configuration installdir "$agent"
    qdn_configure -apply -yes -or-plainly -clean "$agent/nowhere" -bogus
    expect_status 120
    grep -q '^Usage: qdn-configure.bin -apply -clean' "$desk/out"
    qdn_configure -apply -yes -json -or-plainly -configure -noimode
    expect_status 120
}

@test "a plan is followed, and refused when the host has changed since" {
    given_the_package
    given_plain_xml
    qdn_configure -preview -out "$desk/plan" -configure -noimode
    expect_status 0
    echo "#" >>"$agent/etc/client.proto"
    qdn_configure -apply -yes -plan "$desk/plan" -configure -noimode
    expect_status 1
    head -n 1 "$desk/err" | grep -qx "ERROR: The host has changed since the plan was made:"
    grep -qx "  $agent/etc/client.proto (planned: change, now: change)" "$desk/err"
    expect_no_changes
    sed -i '$d' "$agent/etc/client.proto"
    qdn_configure -apply -yes -plan "$desk/plan" -clean "$agent"
    expect_status 1
    expect_errors <<<"ERROR: The plan is of another command: $desk/plan"
    qdn_configure -apply -yes -plan "$desk/plan" -configure -noimode
    expect_status 0
    expect_value Configuration installdir "$agent"
}

@test "the document says how the run ended" {
    given_the_package
    qdn_configure -apply -json -yes -configure -noimode
    expect_status 1
    expect_valid "$desk/out"
    expect_field 'd["error"].startswith("No configuration file found")' true
    given_plain_xml
    qdn_configure -apply -json -yes -configure -noimode
    expect_status 0
    expect_valid "$desk/out"
    expect_field '[d["status"], d["error"], d["restored"], d["kept"], d["agent"]]' \
        '[0, null, false, null, {"running": false, "pid": null}]'
    expect_field 'd["preview"]["changed"]' true
}

@test "without a terminal and without -yes nothing is done" {
    given_the_package
    given_plain_xml
    qdn_configure -apply -configure -noimode
    expect_status 120
    expect_errors <<<"Without a terminal to ask on, -apply needs -yes."
    expect_no_changes
    qdn_configure -apply -yes -wait 1 -configure
    expect_status 120
    qdn_configure -apply -yes -plan "" -configure -noimode # of a script whose variable is empty
    expect_status 120
    qdn_configure -apply -yes -configure -bogus
    expect_status 120
    grep -q '^Usage: qdn-configure.bin -apply -configure' "$desk/out"
    cp "$desk/out" "$desk/usage"
    qdn_configure -apply -yes -json -configure -bogus
    expect_output <"$desk/usage"
    expect_no_changes
}

each_test_is_a_session
