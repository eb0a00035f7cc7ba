# Whatever is wrong with what the program finds: it says so, does no harm, and goes on where it can.
load support

# A run that is told to fail: with which text and, where the system stopped it, which reason; and nothing is left behind
# in /tmp.
expect_refusal() {
    expect_status 1
    { echo "ERROR: $1"; [ $# -eq 1 ] || echo "  $2"; } | expect_errors
    expect_missing /tmp/.zorvane-agent-installer.*
}

# --- The package

@test "without the package in the directory a run fails and changes nothing" {
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_refusal "Missing file in install. File:$agent/etc/client.proto"
    expect_no_changes
}

@test "an empty template fails the run, and nothing changes" {
    given_the_package
    : >"$agent/etc/client.proto"
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_refusal "Missing or unreadable file in install. File:$agent/etc/client.proto"
    expect_no_changes
}

@test "a template that is a directory, or a pipe that nobody writes to, fails the run at once" {
    given_the_package
    given_plain_xml
    rm "$agent/etc/client.proto"
    mkdir "$agent/etc/client.proto"
    qdn_configure -configure -noimode -quiet
    expect_refusal "Missing or unreadable file in install. File:$agent/etc/client.proto" \
        "$agent/etc/client.proto: Is a directory"
    rmdir "$agent/etc/client.proto"
    mkfifo "$agent/etc/client.proto"
    qdn_configure -configure -noimode -quiet
    expect_refusal "Missing or unreadable file in install. File:$agent/etc/client.proto" \
        "$agent/etc/client.proto: Invalid argument"
    expect_no_changes
}

@test "without the template of the service script the run fails, and registers no service" {
    given_the_package
    rm "$agent/etc/rcscript.proto.linux"
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_refusal "Failed to set up the RC scripts." "$agent/etc/rcscript.proto.linux: No such file or directory"
    expect_no_changes
}

# --- Directories

@test "a directory for links that does not exist is never made" {
    given_the_package
    given_plain_xml
    sed -i 's,</Settings>,<BinDir>/opt/bin</BinDir></Settings>,' "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_refusal "Directory /opt/bin specified in Configuration file, must exist and be writable." \
        "/opt/bin: No such file or directory"
    expect_no_changes
}

@test "a file where a directory belongs fails the run and stays" {
    given_the_package
    given_plain_xml
    mkdir "$agent/var"
    echo "precious" >"$agent/var/queue"
    qdn_configure -configure -noimode -quiet
    expect_refusal "Directory $agent/var/queue specified in Configuration file, already exists but is not writable." \
        "$agent/var/queue: Not a directory"
    expect_no_changes
}

@test "a file in the way to a directory fails the run and stays" {
    given_the_package
    given_plain_xml
    sed -i "s,</Settings>,<EventQueueDir>/opt/zorvane/file/queue</EventQueueDir></Settings>," "/tmp/$xml"
    echo "precious" >/opt/zorvane/file
    qdn_configure -configure -noimode
    expect_refusal "Error creating directory: /opt/zorvane/file/queue" "/opt/zorvane/file/queue: Not a directory"
    expect_output <<<"$banner"
    expect_no_changes
}

@test "an install directory on a read-only file system fails the run" {
    given_the_package
    given_plain_xml
    mount --bind "$agent" "$agent"
    mount -o remount,bind,ro "$agent"
    qdn_configure -configure -noimode -quiet
    expect_refusal "Failed to create the new config file: $agent/etc/client.conf" \
        "$agent/etc/client.conf: Read-only file system"
    expect_no_changes
}

@test "a directory where client.conf has to be fails the run and stays" {
    given_the_package
    given_plain_xml
    mkdir -p "$agent/etc/client.conf/below"
    qdn_configure -configure -noimode
    expect_refusal "Failed to create the new config file: $agent/etc/client.conf" "$agent/etc/client.conf: Is a directory"
    expect_output <<<"$banner"
    expect_no_changes
}

@test "a FIFO where client.conf has to be is replaced" {
    given_the_package
    given_plain_xml
    mkfifo "$agent/etc/client.conf"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value Configuration installdir "$agent" "$agent/etc/client.conf"
    expect_missing "$agent/etc/client.conf.old"
}

@test "without room for the new configuration in /tmp a run fails and changes nothing" {
    given_the_package
    mount -t tmpfs -o size=16k,mode=1777 tmpfs /tmp
    mkdir -p "$project"
    mount --rbind /run/private-machine/project "$project" # it may lie below /tmp
    given_plain_xml
    head -c 100k /dev/zero >/tmp/full 2>/dev/null || true
    qdn_configure -configure -noimode -quiet
    expect_status 1
    sed 's/\(installer\)\.[A-Za-z0-9]*/\1/' "$desk/err" >"$desk/message"
    expect_file "$desk/message" <<'END'
ERROR: Unable to write to file: /tmp/.zorvane-agent-installer
  /tmp/.zorvane-agent-installer: No space left on device
END
    expect_no_changes
}

@test "without room where the agent is a run fails and changes nothing" {
    mkdir -p "$agent"
    mount -t tmpfs -o size=64m tmpfs "$agent"
    given_the_package
    given_plain_xml
    head -c 96m /dev/zero >"$agent/full" 2>/dev/null || true
    qdn_configure -configure -noimode -quiet
    expect_refusal "Failed to create the new config file: $agent/etc/client.conf" \
        "$agent/etc/client.conf: No space left on device"
    expect_no_changes
}

# --- The XML file

@test "an XML file that is not well-formed is not used, and stays" {
    given_the_package
    given_xml /tmp <<'END'
<KSAgentConfiguration>
  <KSName>kell.example</KSNam>
</KSAgentConfiguration>
END
    qdn_configure -configure -noimode
    expect_status 1
    expect_output <<<"$banner"
    head -n 1 "$desk/err" >"$desk/warning"
    expect_file "$desk/warning" <<<"WARNING! /tmp/$xml:2:25: mismatched tag. The file is not used."
    grep -q "^ERROR: No configuration file found\\. " "$desk/err"
    expect_no_changes
}

@test "an XML file that is not used does not hide the agent's server from the environment" {
    given_the_package
    echo "<KSAgentConfiguration>" | given_xml /tmp
    export QDN_INSTALL_KSNAME=kell.example QDN_INSTALL_AUTOSTART=no
    qdn_configure -configure -noimode -quiet -dir "$agent"
    expect_status 0
    expect_errors <<<"WARNING! /tmp/$xml:2:1: no element found. The file is not used."
    expect_value "Kell Servers" server-1 kell.example
    expect_plain_files "/tmp/$xml"
}

@test "an XML file that is too large to be one is not used" {
    given_the_package
    given_plain_xml
    { echo "<!--"; head -c 17M /dev/zero | tr '\0' x; echo "-->"; } >>"/tmp/$xml"
    qdn_configure -configure -noimode -quiet -dir "$agent"
    expect_status 1
    [ "$(grep -c '^WARNING! ' "$desk/err")" = 1 ]
    grep -q "^WARNING! /tmp/$xml:.* The file is not used\.\$" "$desk/err"
    grep -q "^ERROR: No configuration file found\. " "$desk/err"
    expect_no_changes
}

@test "entities of an XML file open no other file and fill no memory" {
    given_the_package
    given_xml /tmp <<'END'
<!DOCTYPE KSAgentConfiguration [<!ENTITY secret SYSTEM "file:///etc/passwd">]>
<KSAgentConfiguration><KSName>&secret;</KSName></KSAgentConfiguration>
END
    qdn_configure -configure -noimode -quiet -dir "$agent"
    expect_status 1
    [ "$(grep -c '^WARNING! ' "$desk/err")" = 1 ]
    expect_no_line root: "$desk/err"
    given_xml /tmp <<'END'
<!DOCTYPE KSAgentConfiguration [<!ENTITY a "aaaaaaaaaaaaaaaa"><!ENTITY b "&a;&a;&a;&a;&a;&a;&a;&a;">
<!ENTITY c "&b;&b;&b;&b;&b;&b;&b;&b;"><!ENTITY d "&c;&c;&c;&c;&c;&c;&c;&c;"><!ENTITY e "&d;&d;&d;&d;&d;&d;&d;&d;">
<!ENTITY f "&e;&e;&e;&e;&e;&e;&e;&e;"><!ENTITY g "&f;&f;&f;&f;&f;&f;&f;&f;"><!ENTITY h "&g;&g;&g;&g;&g;&g;&g;&g;">]>
<KSAgentConfiguration><KSName>&h;</KSName></KSAgentConfiguration>
END
    qdn_configure -configure -noimode -quiet -dir "$agent"
    expect_status 1
    [ "$(grep -c '^WARNING! ' "$desk/err")" = 1 ]
    expect_no_changes
}

@test "a directory, a pipe or a link by the name of the XML file in /tmp is passed over" {
    given_the_package
    given_plain_xml /opt/zorvane
    mkdir "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    rm -r "/tmp/$xml"
    for kind in pipe link; do
        case $kind in
            pipe) mkfifo "/tmp/$xml" ;;
            link) ln -s /run/elsewhere "/tmp/$xml"; : >/run/elsewhere ;;
        esac
        given_plain_xml /opt/zorvane
        qdn_configure -configure -noimode -quiet
        expect_status 0
        expect_errors <<<"WARNING! /tmp/$xml is not used: it is not a regular file."
        expect_missing "/opt/zorvane/$xml"
        rm "/tmp/$xml"
    done
}

# A file of somebody else: chown as root; an ordinary user's machine maps nobody else, and shows the host's files so.
belongs_to_somebody_else() {
    chown 65534 "$1" 2>/dev/null || mount --bind /usr/bin/env "$1"
}

# bats test_tags=second-user
@test "somebody else's XML file in /tmp is not used and not removed" {
    given_the_package
    given_plain_xml
    belongs_to_somebody_else "/tmp/$xml"
    qdn_configure -configure -noimode -quiet -dir "$agent"
    expect_status 1
    head -n 1 "$desk/err" >"$desk/warning"
    expect_file "$desk/warning" <<<"WARNING! /tmp/$xml is not used: it belongs to another user."
    grep -q "^ERROR: No configuration file found\. " "$desk/err"
    expect_no_changes
}

@test "an XML file that others can write to is not used" {
    given_the_package
    given_plain_xml
    chmod 0666 "/tmp/$xml"
    qdn_configure -configure -noimode -quiet -dir "$agent"
    expect_status 1
    head -n 1 "$desk/err" >"$desk/warning"
    expect_file "$desk/warning" <<<"WARNING! /tmp/$xml is not used: other users can write to it."
    expect_no_changes
}

# --- The environment

@test "variables full of nonsense are warned of and change nothing" {
    given_the_package
    given_plain_xml
    export QDN_INSTALL_KSNAME="ftp://kell.example" QDN_INSTALL_AUTOSTART=perhaps QDN_INSTALL_RUNLEVELS=none
    export QDNCLIENT_CONFIG_FILE=/nowhere QDNCLIENT_CONFIG_XML_DIR=$'::/nowhere:a\tb' AGENT_INSTALL_DIR=$'\xff:::'
    export LC_ALL=xx_YY.ZZ LANG="" TMPDIR=/nowhere IFS=e
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_output <<<"$banner"
    expect_errors <<'END'
WARNING! Environment variable QDN_INSTALL_KSNAME contains an invalid value.
A default value for the appropriate setting will be used.
WARNING! Environment variable QDN_INSTALL_AUTOSTART contains an invalid value.
A default value for the appropriate setting will be used.
WARNING! Environment variable QDN_INSTALL_RUNLEVELS contains an invalid value.
A default value for the appropriate setting will be used.
END
    expect_value "Kell Servers" server-1 kell.example
    expect_value "Client Transport" ks_url_format "http://%server%/Zorvane/"
    expect_value Configuration runlevels_start "3 5"
}

# --- Where files are written

@test "a link where a file is to be written is replaced, and what it leads to is left alone" {
    given_the_package
    given_plain_xml
    for path in "$agent/bin/qdn-env" "$agent/bin/rcscript" /etc/init.d/zorvane; do
        echo "precious" >"/opt/precious-${path##*/}"
        ln -s "/opt/precious-${path##*/}" "$path"
    done
    ln -s /opt/client.conf "$agent/etc/client.conf" # to nothing: it is not an installed agent's
    qdn_configure -configure -noimode -quiet
    expect_status 0
    for name in qdn-env rcscript zorvane; do expect_file "/opt/precious-$name" <<<"precious"; done
    expect_missing /opt/client.conf
    expect_plain_files "$agent/etc/client.conf" "$agent/bin/qdn-env" /etc/init.d/zorvane
}

each_test_is_a_session
