# What a preview shows, how it ends, and that the host is as it was whatever becomes of it.
load support
load old-agent

truth() { "$project/tests/support/preview-truth.py" "$@"; }

# The document, checked against its schema.
expect_valid() {
    python3 - "$project/docs/schema/preview-1.json" "$1" <<'END'
import json, sys
import jsonschema
schema, document = (json.load(open(name, encoding="utf-8")) for name in sys.argv[1:])
jsonschema.Draft202012Validator.check_schema(schema)
jsonschema.validate(document, schema, jsonschema.Draft202012Validator)
END
}

# field EXPRESSION [FILE]: a part of the document, `d`, as JSON.
field() {
    python3 -c 'import json, sys; d = json.load(open(sys.argv[1])); print(json.dumps(eval(sys.argv[2])))' "${2:-$desk/out}" "$1"
}

expect_field() { [ "$(field "$1")" = "$2" ] || fail "$1 is $(field "$1"), expected $2"; }

@test "a directory of bytes that are no UTF-8 is told with its bytes, and what lies in its stores is not shown" {
    directory=$'/opt/caf\xe9'
    path_of='__import__("base64").b64decode(c["path_base64"]).decode("latin-1")'
    given_the_package "$directory"
    given_plain_xml
    qdn_configure -preview -json -configure -noimode -dir "$directory"
    expect_status 0
    expect_valid "$desk/out"
    expect_field "'/opt/caf\xe9/etc/client.conf' in [$path_of for c in d['changes'] if 'path_base64' in c]" true
    qdn_configure -configure -noimode -quiet -dir "$directory"
    mount -t tmpfs none "$directory/var/queue"
    echo "event one" >"$directory/var/queue/one.kse"
    qdn_configure -preview -json -clean "$directory"
    expect_valid "$desk/out"
    expect_field "[c['diff'] for c in d['changes'] if c['path'].endswith('one.kse')]" '[null]'
}

@test "the report lists what would change, and nothing is changed" {
    given_the_package
    given_plain_xml
    truth snapshot "$desk/tree-before"
    qdn_configure -preview -configure -noimode
    truth snapshot "$desk/tree-after"
    truth same "$desk/tree-before" "$desk/tree-after"
    expect_no_changes
    expect_status 0
    expect_no_errors
    grep -qx "  create   -r-xr--r-- 0:0  /etc/init.d/zorvane" "$desk/out"
    grep -qx "  change   -r--r--r-- 0:0  $agent/etc/client.proto (was -rw-r--r-- 0:0)" "$desk/out"
    grep -qx "  remove   -rw------- 0:0  /tmp/$xml" "$desk/out"
    grep -qx "Creating directory: $agent/var/queue  Result: OK" "$desk/out"
    [ "$(head -n 1 "$desk/out")" = "$banner" ]
    tail -n 1 "$desk/out" | grep -qx '[0-9]* changes: [0-9]* created, [0-9]* changed, 1 removed\. The command would succeed (status 0)\.'
}

@test "the differences of a file that is replaced are shown" {
    given_an_old_agent 6.2
    sed -i '/^Location=/d' "$agent/etc/client.conf" # it is no UTF-8
    given_the_package
    qdn_configure -preview -configure -noimode
    expect_status 0
    grep -qx -e "--- $agent/etc/client.conf" "$desk/out"
    grep -qx -e "+++ $agent/etc/client.conf" "$desk/out"
    grep -qx -e "-# Configuration of the agent" "$desk/out"
}

@test "where the host's diff does not work, what is replaced is told without a difference" {
    given_an_old_agent 6.2
    given_the_package
    export QDN_INSTALL_AUTOSTART=no
    local tool
    tool=$(realpath "$(command -v diff)")
    cp -p "$tool" "$desk/diff"
    # shellcheck disable=SC2016 # for the script
    for body in 'exit 2' 'kill -KILL $$'; do
        printf '#!/bin/sh\n%s\n' "$body" >"$desk/stand-in"
        cp "$desk/stand-in" "$tool"
        qdn_configure -preview -json -configure -noimode
        cp "$desk/diff" "$tool"
        expect_status 0
        expect_valid "$desk/out"
        expect_field '[c["diff"] for c in d["changes"] if c["path"].endswith("/client.conf")]' '[null]'
    done
}

@test "of what the agent has stored, no contents are shown" {
    given_an_old_agent 6.2
    mount -t tmpfs none "$agent/var/queue" # stays, so that what goes from below it is told one by one
    echo "event one" >"$agent/var/queue/one.kse"
    qdn_configure -preview -json -clean "$agent"
    expect_status 0
    expect_field '[(c["action"], c["diff"]) for c in d["changes"] if c["path"].endswith("/var/queue/one.kse")]' '[["remove", null]]'
    expect_field '["-log\n" in c["diff"] for c in d["changes"] if c["path"].endswith("/var/qdn-client.log")]' '[true]'
}

@test "the document is valid and is all that standard output holds" {
    given_the_package
    given_plain_xml
    qdn_configure -preview -json -configure -noimode
    expect_status 0
    expect_no_errors
    expect_valid "$desk/out"
    expect_field 'd["command"]' '["-configure", "-noimode"]'
    expect_field 'd["version"] + d["output"].split("\n")[0]' "\"$("$program" -version | sed -n 's/^qdn-configure //p')$banner\""
    expect_field '[c["action"] for c in d["changes"] if c["path"] == "/etc/init.d/zorvane"]' '["create"]'
    expect_field '[k["value"] for k in d["client_conf"]["keys"] if k["key"] == "installdir"]' "[\"$agent\"]"
    expect_field 'd["agent"]' '{"stop": false, "start": false}'
    expect_field '[s for s in d["settings"] if s["name"] == "KSName"]' \
        "[{\"name\": \"KSName\", \"value\": \"kell.example\", \"source\": {\"kind\": \"xml\", \"file\": \"/tmp/$xml\", \"line\": 2, \"column\": 3}, \"unused\": []}]"
    expect_field '[(s["value"], s["source"], [u["source"]["kind"] for u in s["unused"]]) for s in d["settings"] if s["name"] == "Start"]' \
        "[[\"no\", {\"kind\": \"xml\", \"file\": \"/tmp/$xml\", \"line\": 3, \"column\": 13}, [\"default\"]]]"
    [ "$(tail -c 1 "$desk/out" | od -An -c | tr -d ' ')" = '\n' ]
}

# Every setting that an XML file can give, one a line, each with a value of its own.
given_xml_of_all_settings() {
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <KSProtocol>https</KSProtocol>
  <Guid>{AB-12}</Guid>
  <Settings
    UseKSIPAddress="no"
    UseDomain="no"
    EnableNICError="no"
    Upgrade="yes"
    Start="no"
    AllowNonRoot="no"
    StartupOnBoot="no"
    RunLevel="rc3">
    <CurlSSL
      SSLVerifyPeer="yes"
      SSLVerifyHost="yes"
      CAInfo="/etc/ca.pem"
      CAPath="/etc/ca"/>
    <EventLog
      LogDir="/var/log/zorvane"
      LogFile="a.log"
      LogSize="512"
      LogLevel="Warning"
      SysLogLevel="Error"/>
    <InstallDir>$agent</InstallDir>
    <BinDir>/usr/local/bin</BinDir>
    <TempDir>/var/tmp</TempDir>
    <GuidDir>/var/zorvane</GuidDir>
    <GuidFile>id</GuidFile>
    <EventQueueDir>/var/zorvane/queue</EventQueueDir>
    <TasksDir>/var/zorvane/tasks</TasksDir>
    <PackagesDir>/var/zorvane/packages</PackagesDir>
    <SWDDir>/var/zorvane/swd</SWDDir>
    <SerialNumber>1</SerialNumber>
    <AssetTag>2</AssetTag>
    <EmployeeID>3</EmployeeID>
    <ContactName>4</ContactName>
    <ContactPhone>5</ContactPhone>
    <ContactEmail>6</ContactEmail>
    <Location>7</Location>
    <Department>8</Department>
    <Description>9</Description>
  </Settings>
</KSAgentConfiguration>
END
}

# The source of every setting is the line and column of its attribute or element, in the document of a
# preview. The settings that the file has none for are the program's own.
expect_sources_in_xml() {
    python3 - "$desk/out" "/tmp/$xml" <<'END'
import json, re, sys
document = json.load(open(sys.argv[1], encoding="utf-8"))
places = {}
for number, line in enumerate(open(sys.argv[2], encoding="utf-8"), 1):
    found = re.match(r'\s*(?:<(\w+)>[^<\n]|(\w+)=")', line)
    if found:
        name = found.group(1) or found.group(2)
        places[name] = (number, line.index("<" + name if found.group(1) else name) + 1)
assert len(places) == 38, len(places)
seen = set()
for setting in document["settings"]:
    name, source = setting["name"], setting["source"]
    if name == "KSUrlFormat":  # of the server's protocol
        assert source["kind"] == "xml", setting
    elif name == "Upgrade":  # there is no agent to upgrade
        assert source == {"kind": "program"} and setting["unused"][-1]["source"]["kind"] == "xml", setting
        seen.add(name)
    elif name in places:
        line, column = places[name]
        assert source == {"kind": "xml", "file": sys.argv[2], "line": line, "column": column}, (setting, line, column)
        assert [lost["source"]["kind"] for lost in setting["unused"]] in (["default"], []), setting
        seen.add(name)
    else:
        assert name in ("XML",), setting
assert seen == set(places) - {"KSProtocol"} or seen == set(places), set(places) - seen
keys = {(key["section"], key["key"]): key["source"] for key in document["client_conf"]["keys"]}
assert keys["Kell Servers", "server-1"] == {"kind": "setting", "setting": "KSName"}
assert keys["Tickle", "enabled"]["kind"] == "template" and keys["Tickle", "enabled"]["line"] > 1
END
}

@test "the source of every setting of a first configuration is its place in the XML file" {
    given_the_package
    given_xml_of_all_settings
    mkdir -p /var/zorvane
    qdn_configure -preview -json -configure -noimode
    expect_status 0
    expect_valid "$desk/out"
    expect_sources_in_xml
}

@test "the sources of settings are the defaults, the environment, the command line, and the program's own" {
    given_the_package "$elsewhere"
    QDN_INSTALL_KSNAME=kell.example QDN_INSTALL_AUTOSTART=no QDN_INSTALL_RUNLEVELS=35 \
        qdn_configure -preview -json -configure -noimode -dir "$elsewhere"
    expect_status 0
    expect_valid "$desk/out"
    expect_field '{s["name"]: s["source"].get("variable") for s in d["settings"] if s["source"]["kind"] == "environment"}' \
        '{"KSName": "QDN_INSTALL_KSNAME", "KSProtocol": "QDN_INSTALL_KSNAME", "KSUrlFormat": "QDN_INSTALL_KSNAME", "RunLevel": "QDN_INSTALL_RUNLEVELS", "Start": "QDN_INSTALL_AUTOSTART"}'
    expect_field '[s["source"] for s in d["settings"] if s["name"] == "InstallDir"]' '[{"kind": "option"}]'
    expect_field 'sorted({s["source"]["kind"] for s in d["settings"]} - {"default"})' '["environment", "option", "program"]'
    expect_field 'len([s for s in d["settings"] if s["source"]["kind"] == "default"]) > 20' true
}

@test "the sources of an upgrade are the lines of the installed agent's file, and the values that it overrides are listed" {
    given_an_old_agent 6.2
    given_the_package
    given_xml /tmp <<'END'
<KSAgentConfiguration><Settings Start="no"><EventLog LogSize="512"/></Settings></KSAgentConfiguration>
END
    qdn_configure -preview -json -configure -noimode
    expect_status 0
    expect_valid "$desk/out"
    local line
    line=$(grep -n '^debug_file_size=' "$agent/etc/client.conf" | cut -d : -f 1)
    expect_field '[(s["source"], [u["value"] for u in s["unused"]]) for s in d["settings"] if s["name"] == "LogSize"]' \
        "[[{\"kind\": \"installed\", \"file\": \"$agent/etc/client.conf\", \"line\": $line}, [\"256\", \"512\"]]]"
    line=$(grep -n '^package_retry_delay=' "$agent/etc/client.conf" | cut -d : -f 1)
    expect_field '[k["source"] for k in d["client_conf"]["keys"] if k["key"] == "package_retry_delay"]' \
        "[{\"kind\": \"installed\", \"file\": \"$agent/etc/client.conf\", \"line\": $line}]"
    qdn_configure -preview -configure -noimode
    grep -qx "  \[Configuration\] package_retry_delay  *61  *client.conf:$line" "$desk/out"
    grep -qx "  and [0-9]* from the settings, [0-9]* as in the package's template" "$desk/out"
    expect_no_line '^  Guid  *default' "$desk/out"
}

@test "a preview says that the agent would be started, and does not start it" {
    given_the_package
    given_plain_xml
    sed -i 's/Start="no"/Start="yes"/' "/tmp/$xml"
    qdn_configure -preview -json -configure -noimode
    expect_status 0
    expect_valid "$desk/out"
    expect_field 'd["agent"]["start"]' true
    if pgrep qdn-; then fail "something runs"; fi
}

@test "with -exit-code, status 2 means that something would change" {
    given_the_package
    given_plain_xml
    qdn_configure -preview -exit-code -configure -noimode
    expect_status 2
    qdn_configure -preview -exit-code -clean /nowhere
    expect_status 0
    tail -n 1 "$desk/out" | grep -qx 'Nothing would change\. The command would succeed (status 0)\.'
}

@test "a command that would fail gives its error and its status" {
    given_the_package
    qdn_configure -preview -exit-code -configure -noimode
    expect_status 1
    grep -q '^ERROR: No configuration file found' "$desk/err"
    tail -n 1 "$desk/out" | grep -q 'The command would fail (status 1)\.$'
    qdn_configure -preview -json -configure -noimode
    expect_status 1
    expect_valid "$desk/out"
    expect_field 'd["error"].startswith("No configuration file found")' true
}

@test "a wrong command line shows the usage of the preview or of the previewed command" {
    local words
    for words in "" "-json" "-out" "-bogus" "-preview -configure" "-help" "-json -nothing"; do
        # shellcheck disable=SC2086 # several words
        qdn_configure -preview $words
        expect_status 120
        grep -q '^Usage: qdn-configure.bin -preview \[-json\]' "$desk/out"
    done
    qdn_configure -preview -configure -bogus
    expect_status 120
    grep -q '^Usage: qdn-configure.bin -preview -configure \[options\]' "$desk/out"
    cp "$desk/out" "$desk/usage"
    qdn_configure -preview -json -configure -bogus
    expect_status 120
    expect_output <"$desk/usage"
    qdn_configure -preview -configure -dir
    expect_status 120
    expect_errors <<<"Option '-dir' requires an argument."
    qdn_configure -preview -clean
    expect_status 120
    grep -q '^Usage: qdn-configure.bin -preview -clean <Agent-Base-Dir>' "$desk/out"
    expect_no_changes
}

@test "a preview says what would refuse the command, and goes on" {
    given_the_package
    given_plain_xml
    cp "$(command -v sleep)" /tmp/qdn-plugin
    /tmp/qdn-plugin 600 >/dev/null 2>&1 &
    qdn_configure -preview -json -configure -noimode
    expect_status 0
    expect_valid "$desk/out"
    expect_field 'd["refused"]' '"The Zorvane Agent for UNIX and Linux is already running. Stop the agent before running qdn-configure."'
    expect_field 'd["changed"]' true
    qdn_configure -preview -json -clean "$agent"
    expect_field 'd["refused"]' '"The Zorvane Agent for UNIX and Linux is running. Stop the agent before running qdn-configure."'
    kill $!
    wait

    flock /run/qdn-configure.lock sleep 600 &
    local holder=$!
    until grep -q 'FLOCK.*WRITE' /proc/locks; do sleep 0.01; done
    qdn_configure -preview -json -configure -noimode
    expect_status 0
    expect_field 'd["refused"]' '"Another run of qdn-configure is in progress."'
    qdn_configure -preview -json -clean "$agent"
    expect_field 'd["refused"]' '"Another run of qdn-configure is in progress."'
    pkill -P $holder sleep
    wait $holder || true

    echo '<Solution name="x"/>' >"$agent/etc/config.xml"
    qdn_configure -preview -json -clean "$agent"
    expect_status 0
    expect_field 'd["refused"].split("\n")[0]' '"There are some solutions that depend on Zorvane Agent for UNIX and Linux."'
}

@test "no password is shown, and only the document of -out has the checksum of a file with one" {
    given_an_old_agent 6.2
    given_the_package
    printf '[Client Transport]\nProxy_PassWord = geheim!\n[SWD]\npkg_access_password=secret!\n' >>"$agent/etc/client.conf"
    given_plain_xml
    sed -i 's,</KSAgentConfiguration>,<ExtraConfigSettings><Setting Section="Proxy" Name="password" Value="secret!"/></ExtraConfigSettings>&,' "/tmp/$xml"
    qdn_configure -preview -json -out "$desk/kept" -configure -noimode
    expect_status 0
    local document
    for document in "$desk/out" "$desk/kept"; do
        expect_valid "$document"
        expect_no_line 'geheim\|secret!' "$document"
    done
    grep -q 'Name=..password.. Value=..\*\*\*' "$desk/out"
    expect_field '[k["value"] for k in d["client_conf"]["keys"] if k["key"] == "pkg_access_password"]' '["***"]'
    expect_field '[c["before"]["sha256"] for c in d["changes"] if c["path"].endswith("/client.conf")]' '[null]'
    expect_field '[c["after"]["sha256"] for c in d["changes"] if c["path"].endswith("/client.conf.old")]' '[null]'
    [ "$(stat -c %a "$desk/kept")" = 600 ]
    qdn_configure -preview -out "$desk/kept-beside-text" -configure -noimode
    expect_no_line 'geheim\|secret!' "$desk/out"
    cmp "$desk/kept" "$desk/kept-beside-text"
    qdn_configure -configure -noimode
    expect_status 0
    grep -q 'geheim' "$agent/etc/client.conf.old"
    [ "$(field '[c["after"]["sha256"] for c in d["changes"] if c["path"].endswith("/client.conf.old")][0]' "$desk/kept")" = "\"$(sha256sum <"$agent/etc/client.conf.old" | cut -d ' ' -f 1)\"" ]
}

@test "the file that -out writes is its owner's alone; what is no file is not replaced by one" {
    echo old >/etc/plan
    chown 1234:1234 /etc/plan
    ln -s "$desk/nothing" "$desk/link"
    mkfifo "$desk/fifo"
    qdn_configure -preview -out /etc/plan -clean /nowhere
    expect_status 0
    [ "$(stat -c '%a %u:%g' /etc/plan)" = "600 0:0" ]
    expect_valid /etc/plan
    for place in /dev/null "$desk/link" "$desk/fifo"; do
        qdn_configure -preview -out "$place" -clean /nowhere
        expect_status 1
        expect_errors <<END
ERROR: Unable to write to file: $place
  It is not a regular file.
END
    done
    qdn_configure -preview -out /nowhere/plan -clean /nowhere
    expect_status 1
    expect_errors <<END
ERROR: Unable to write to file: /nowhere/plan
  /nowhere/plan: No such file or directory
END
    if [ ! -c /dev/null ] || [ ! -L "$desk/link" ] || [ ! -p "$desk/fifo" ]; then fail "something was replaced"; fi
    qdn_configure -preview -out "" -clean /nowhere
    expect_status 120
}

@test "questions are asked before the preview is shown" {
    given_the_package
    printf '%s\n' https://kell.example.com:8083 "$agent" no 'rc3;rc5' '' '' '' '' '' '' '' '' '' no >"$desk/answers"
    list_files >"$desk/before"
    status=0
    "$program" -preview -json -iconfigure <"$desk/answers" >"$desk/out" 2>"$desk/err" || status=$?
    expect_status 0
    expect_valid "$desk/out"
    expect_field '[k["value"] for k in d["client_conf"]["keys"] if k["key"] == "server-1"]' '["kell.example.com:8083"]'
    expect_no_changes
}

@test "where no preview is possible, one line says why, and the status is 1" {
    given_the_package
    given_plain_xml
    chmod 755 /run /run/session
    status=0
    setpriv --reuid 1234 --clear-groups "$program" -preview -configure -noimode >"$desk/out" 2>"$desk/err" || status=$?
    expect_status 1
    expect_output <<<"$banner"
    grep -q '^ERROR: A preview is not possible here: ' "$desk/err"
    [ "$(wc -l <"$desk/err")" -eq 1 ]
    status=0
    setpriv --reuid 1234 --clear-groups "$program" -preview -json -configure -noimode >"$desk/out" 2>"$desk/err" || status=$?
    expect_status 1
    expect_valid "$desk/out"
    expect_field 'd["possible"]' false
}

@test "an agent on a file system that cannot be copied is refused" {
    given_the_package
    given_plain_xml
    mkdir -p /opt/other/lower /opt/other/upper /opt/other/work /opt/other/top
    local deep=/opt/other/deep
    mkdir -p $deep/upper $deep/work
    mount -t overlay overlay -o lowerdir=/usr/share,upperdir=/opt/other/upper,workdir=/opt/other/work /opt/other/top
    mkdir /opt/other/deepest
    mount -t overlay overlay -o lowerdir=/opt/other/lower:/etc/init.d,upperdir=$deep/upper,workdir=$deep/work /opt/other/deepest
    sed -i "s,<InstallDir>,<BinDir>/opt/other/top</BinDir>&," "/tmp/$xml"
    qdn_configure -preview -configure -noimode
    expect_status 1
    grep -q '^ERROR: A preview is not possible here: /opt/other/top is on a file system (overlay at /opt/other/top) that cannot be copied' "$desk/err"
}

@test "previews run beside each other and beside a run" {
    given_the_package
    given_plain_xml
    local number
    for number in 1 2 3 4 5 6 7 8 9; do
        "$program" -preview -json -configure -noimode >"$desk/document$number" 2>/dev/null &
    done
    qdn_configure -configure -noimode
    expect_status 0
    wait
    for number in 1 2 3 4 5 6 7 8 9; do expect_valid "$desk/document$number"; done
    expect_value Configuration installdir "$agent"
}

@test "a preview that cannot read the client.conf that was made, or its template, fails rather than leave out its keys" {
    local file
    given_the_package
    given_plain_xml
    for file in client.conf client.proto; do
        printf '#!/bin/sh\nrm -f %s\nmkdir -p %s\n' "$agent/etc/$file" "$agent/etc/$file" >/usr/sbin/chkconfig
        chmod 0755 /usr/sbin/chkconfig
        qdn_configure -preview -configure -noimode
        expect_status 1
        expect_errors <<<"ERROR: The preview failed: $agent/etc/$file: Is a directory."
        expect_no_changes
    done
}

each_test_is_a_session
