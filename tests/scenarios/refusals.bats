# Runs that cannot go on say why on standard error, end with 1 and leave the host as it was.
load support

no_configuration() {
    cat <<END
ERROR: No configuration file found. File:.qdn-agent-install-config.xml  Search Path: $1
No upgrade possible, and Interactive mode disabled.
To configure install interactively, run the qdn-configure exe (located in the Agent's bin directory).
Install not complete, Setting return status to 1 (configure failed).

END
}

@test "without any configuration, -noimode refuses and says where it looked" {
    given_the_package
    qdn_configure -configure -noimode -dir "$agent"
    expect_status 1
    expect_output <<<"$banner"
    expect_errors < <(no_configuration .:..:/tmp:/var:/opt/zorvane)
    expect_no_changes
}

@test "the search path names what the environment adds, and leaves out a current directory that is the root" {
    export QDNCLIENT_CONFIG_XML_DIR=/srv/first AGENT_INSTALL_DIR=/srv/second
    qdn_configure -configure -noimode
    expect_status 1
    expect_errors < <(no_configuration /srv/first:/srv/second:.:..:/tmp:/var:/opt/zorvane)
    export AGENT_INSTALL_DIR=
    cd /
    qdn_configure -configure -noimode
    expect_errors < <(no_configuration /srv/first:/tmp:/var:/opt/zorvane)
    expect_no_changes
}

@test "-noimode is looked at before -quiet" {
    qdn_configure -configure -quiet -noimode
    expect_status 1
    expect_output <<<"$banner"
    expect_errors < <(no_configuration .:..:/tmp:/var:/opt/zorvane)
    expect_no_changes
}

@test "without any configuration, -quiet refuses and says what would help" {
    qdn_configure -configure -quiet
    expect_status 1
    expect_output <<<"$banner"
    expect_errors <<'END'
ERROR: No configuration file found and -quiet specified.
Remove -quiet to run qdn-configure interactively or specify env var QDNCLIENT_CONFIG_FILE for non default location upgrade.
END
    expect_no_changes
}

@test "a questionnaire whose input ends fails" {
    given_the_package
    qdn_configure -configure
    expect_status 1
    expect_errors <<<"ERROR: Interactive configuration failed."
    head -n 5 "$desk/out" >"$desk/dialogue"
    expect_file "$desk/dialogue" <<END
$banner
Using interactive configuration, cancel with Ctrl-C.
  Please answer the following questions.
  Defaults are in brackets. To accept a default just press enter.

END
    expect_no_changes
}

@test "an install directory that would be two words or two paths is refused, and nothing is made" {
    for name in 'a b' 'a:b'; do
        given_the_package "/opt/$name"
        given_plain_xml /tmp "/opt/$name"
        qdn_configure -configure -noimode -quiet
        expect_status 1
        expect_errors <<<"ERROR: Install directory /opt/$name contains characters that are not allowed."
        expect_missing "/opt/$name/etc/client.conf" "/opt/$name/bin/qdn-env" /etc/init.d/zorvane
    done
    qdn_configure -configure -noimode -quiet -dir $'/opt/a\tb'
    expect_errors <<<$'ERROR: Install directory /opt/a\tb contains characters that are not allowed.'
}

@test "an install directory that is the host's own is refused, and nothing changes" {
    given_plain_xml
    for directory in /usr /etc/ / /opt/zorvane/../../usr/bin; do
        qdn_configure -configure -noimode -quiet -dir "$directory"
        expect_status 1
        grep -x "ERROR: Install directory .* is a directory of the host." "$desk/err"
        expect_no_changes
    done
}

# bats test_tags=second-user
@test "an ordinary user is refused before any question" {
    given_plain_xml
    mkdir -p /opt/tool
    cp "$program" /opt/tool/qdn-configure.bin
    for command in "-configure" "-iconfigure" "-clean $agent"; do
        list_files >"$desk/before"
        status=0
        # shellcheck disable=SC2086 # words
        setpriv --reuid=65534 --clear-groups /opt/tool/qdn-configure.bin $command >"$desk/out" 2>"$desk/err" || status=$?
        expect_status 1
        expect_output <<<"$banner"
        expect_errors <<<"ERROR: qdn-configure has to be run as root."
        expect_no_changes
    done
}

@test "an install directory that a shell would misread is refused before anything changes" {
    for name in "it's" 'a"b' 'a\b' 'a$b' 'a&b' 'a;b' 'a|b' 'a<b' 'a(b' 'a`b'; do
        given_the_package "/opt/$name"
        given_plain_xml
        qdn_configure -configure -noimode -quiet -dir "/opt/$name"
        expect_status 1
        expect_output <<<"$banner"
        expect_errors <<<"ERROR: Install directory /opt/$name contains characters that are not allowed."
        expect_no_changes
    done
}

@test "a host that is not supported is warned of, quiet or not, and configured all the same" {
    given_the_package
    given_plain_xml
    rm /etc/redhat-release
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner

WARNING! The current platform is not officially supported.
You may experience problems with running Zorvane Agent for UNIX and Linux
on this machine.

END
}

each_test_is_a_session
