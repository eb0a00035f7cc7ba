# The modules, run by Ansible as it is, with the real program on a private machine; by another Python of the host if QDN_PYTHON
# names one.
# shellcheck disable=SC2154 # what the session sets
load ../scenarios/support

# The collection, where Ansible looks for it, and an agent's package that is not configured.
given_the_collection() {
    export ANSIBLE_COLLECTIONS_PATH=$desk ANSIBLE_NOCOLOR=1 ANSIBLE_LOCALHOST_WARNING=False LC_ALL=C.UTF-8
    export ANSIBLE_INVENTORY_UNPARSED_WARNING=False ANSIBLE_DEVEL_WARNING=False
    export ANSIBLE_CALLBACK_PLUGINS=$project/tests/ansible/callbacks ANSIBLE_CALLBACKS_ENABLED=record
    export ANSIBLE_LOAD_CALLBACK_PLUGINS=True
    export HOME=$desk/home TMPDIR=$desk/home
    mkdir -p "$HOME" "$desk/ansible_collections/zorvane"
    ln -sfn "$project/ansible" "$desk/ansible_collections/zorvane/kell_agent"
    plain='{"server": "kell.example", "run_levels": [3, 5], "start": false}'
}

# task MODULE ARGUMENTS [OPTION ...]: its result is in $desk/result, what is shown in $desk/out.
task() {
    local module=$1 arguments=$2
    shift 2
    rm -f "$desk/result"
    list_files >"$desk/before"
    RECORD=$desk/result /usr/bin/ansible localhost -c local -e ansible_python_interpreter="${QDN_PYTHON:-/usr/bin/python3}" \
        -m "zorvane.kell_agent.$module" -a "$arguments" "$@" >"$desk/out" 2>"$desk/err" || true
}

# expect EXPRESSION: it holds of the result, `r`; `paths` are those of its diff.
expect() {
    python3 - "$desk/result" "$1" <<'END'
import json, sys
row = json.loads(open(sys.argv[1]).readline())
r = dict(row['result'], failed=row['kind'] == 'failed')
paths = [entry['before_header'] for entry in r.get('diff', [])]
if not eval(sys.argv[2]):
    sys.exit('%s does not hold of %s' % (sys.argv[2], json.dumps(r, indent=1)[:3000]))
END
}

@test "check mode shows every change of a first configuration, and makes none" {
    given_the_collection
    given_the_package
    task configure "$plain" --check --diff
    expect 'r["changed"] and r["status"] == 0'
    expect '"/etc/init.d/zorvane" in paths and "/opt/zorvane/kell/ksagent/etc/client.conf" in paths'
    expect 'r["settings"]["KSName"] == {"value": "kell.example", "source": "xml"}'
    grep -q '^+server-1=kell.example' "$desk/out"
    expect_no_changes
    [ ! -e "$agent/etc/client.conf" ]
}

@test "a host without run levels of its own or the task's gets the usual ones" {
    given_the_collection
    given_the_package
    task configure '{"server": "kell.example", "start": false}' --check
    expect 'r["settings"]["RunLevel"]["value"] == "rc2;rc3;rc5" and not r.get("warnings")'
}

@test "a package that is not there is foreseen in check mode, and an error otherwise" {
    given_the_collection
    task configure "$plain" --check
    expect 'r["changed"] and "not installed" in r["warnings"][0]'
    task configure "$plain"
    expect 'r["failed"] and "No package" in r["msg"]'
    task configure '{"state": "absent"}'
    expect 'not r["changed"] and not r["failed"]'
    expect_no_changes
}

@test "what was configured is not changed again, and nothing is started" {
    given_the_collection
    given_the_package
    task configure "$plain"
    expect 'r["changed"]'
    expect_value "Kell Servers" server-1 kell.example
    task configure "$plain" --diff
    expect 'not r["changed"] and r["diff"] == []'
    expect_no_changes
    if pgrep qdn-plug; then fail "an agent runs"; fi
    task configure '' --diff
    expect 'not r["changed"]'
}

@test "one setting is changed, and what nobody named stays" {
    given_the_collection
    given_the_package
    task configure "$plain"
    sed -i 's/^level1-delay=.*/level1-delay=77/' "$agent/etc/client.conf"
    task configure '{"log_size": 1024, "location": "Rack 7", "start": false}' --check --diff
    expect 'r["changed"] and set(p.rsplit("/", 1)[1] for p in paths) == {"client.conf", "client.conf.old"}'
    cp "$desk/result" "$desk/foreseen"
    task configure '{"log_size": 1024, "location": "Rack 7", "start": false}' --diff
    python3 - "$desk/foreseen" "$desk/result" <<'END'
import json, sys
a, b = (json.loads(open(name).readline())['result']['diff'] for name in sys.argv[1:])
sys.exit(a != b)
END
    expect_value Configuration debug_file_size 1024
    expect_value "Client Details" Location "Rack 7"
    expect_value "Event Queue" level1-delay 77
    expect_value "Kell Servers" server-1 kell.example
    task configure '{"location": "", "start": false}'
    expect_value "Client Details" Location ""
    task configure '{"location": "", "start": false}'
    expect 'not r["changed"]'
}

@test "variables and files that somebody else left give no setting" {
    given_the_collection
    given_the_package
    given_plain_xml /tmp
    sed -i 's/kell.example/other.example/' "/tmp/$xml"
    QDN_INSTALL_KSNAME=third.example task configure "$plain"
    expect_value "Kell Servers" server-1 kell.example
}

@test "an agent that runs is restarted by a change, and left alone without one" {
    under_dash_and_bash
    given_the_collection
    given_the_package
    task configure '{"server": "kell.example", "run_levels": [3, 5]}'
    expect 'r["agent"]["running"]'
    pid=$(cat "$agent/var/qdn-agent.pid")
    task configure '{"server": "kell.example"}'
    expect 'not r["changed"]'
    [ "$(cat "$agent/var/qdn-agent.pid")" = "$pid" ]
    task configure '{"log_size": 1024}' --check
    expect 'r["changed"]'
    [ "$(cat "$agent/var/qdn-agent.pid")" = "$pid" ]
    task configure '{"log_size": 1024}'
    expect 'r["changed"] and r["agent"]["running"] and r["agent"]["pid"] != '"$pid"
}

@test "an agent that does not stay up fails the task, and the former configuration is back" {
    under_dash_and_bash
    given_the_collection
    given_the_package
    task configure "$plain"
    printf '#!/bin/sh\nexit 1\n' >"$agent/bin/qdn-pluginmanager.bin"
    cp "$agent/etc/client.conf" "$desk/former"
    task configure '{"log_size": 1024, "wait": 2}'
    expect 'r["failed"] and r["restored"] and not r["changed"] and r["kept"]'
    cmp "$desk/former" "$agent/etc/client.conf"
}

@test "what is wrong fails in check mode, too" {
    given_the_collection
    given_the_package
    mkdir -p "$agent/etc/client.conf"
    task configure "$plain" --check
    expect 'r["failed"] and r["msg"]'
    expect_no_changes
    rmdir "$agent/etc/client.conf"
    task configure '{"wait": 1, "server": "kell.example"}' --check
    expect 'r["failed"] and r["msg"] == "wait is 1, and can be from 2 to 3600."'
}

@test "options that the program cannot take fail the task, and run levels that are none stay so" {
    given_the_collection
    given_the_package
    task configure '{"server": "kell.example", "run_levels": [], "start": false}'
    task configure '{"contact_name": "a\u0007b"}' --check
    expect 'r["failed"] and "control character" in r["msg"] and not r["changed"] and r["status"] == 1'
    task configure '{"start": false}' --check
    expect 'not r["changed"] and r["settings"]["RunLevel"] == {"value": "", "source": "installed"}'
}

@test "the agent is removed, and then there is none to remove" {
    given_the_collection
    given_the_package
    task configure "$plain"
    task configure '{"state": "absent"}' --check --diff
    expect 'r["changed"] and "/opt/zorvane/kell/ksagent" in paths'
    [ -e "$agent/etc/client.conf" ]
    task configure '{"state": "absent"}'
    expect 'r["changed"]'
    [ ! -e "$agent" ]
    task configure '{"state": "absent"}'
    expect 'not r["changed"]'
}

@test "a secret appears in no result, and reaches no log" {
    given_the_collection
    given_the_package
    task configure '{"server": "kell.example", "start": false, "extra_settings":
        [{"section": "SWD", "name": "pkg_access_password", "value": "SesameOpen"}]}' --diff -vvv
    expect 'r["changed"]'
    if grep -r SesameOpen "$desk/out" "$desk/err" /var/log; then fail "it appears"; fi
    [ -z "$(find / -xdev -name '.qdn-agent-install-config.xml' 2>/dev/null)" ]
}

@test "the status module reports a host without an agent, a stopped agent, a running one and one that was tampered with" {
    under_dash_and_bash
    given_the_collection
    task status ''
    expect 'r["kell_agent"]["status"] == 4 and r["ansible_facts"]["kell_agent"] == r["kell_agent"]'
    given_the_package
    task configure "$plain"
    task status ''
    expect 'r["kell_agent"]["status"] == 3 and r["kell_agent"]["differences"] == []'
    "$agent/bin/rcscript" start
    task status ''
    expect 'r["kell_agent"]["status"] == 0 and r["kell_agent"]["agent"]["running"]'
    rm /usr/bin/qdn-monitor
    task status '' --check
    expect 'r["kell_agent"]["status"] == 1 and r["kell_agent"]["differences"][0]["path"] == "/usr/bin/qdn-monitor"'
    expect_no_changes
    "$agent/bin/rcscript" stop
}

each_test_is_a_session
