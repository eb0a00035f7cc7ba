# The command line: the banner, the commands, their options, statuses and usage texts.
load support

list_of_commands() {
    cat <<END
$banner
Usage: qdn-configure.bin <command> [options]

Commands:
  -configure   Automatically configure/upgrade an installation from an XML config file.
  -iconfigure  Interactively configure/reconfigure an installation ignoring any XML file.
  -clean       Remove qdn-configure created files prior to uninstall.
  -preview     Show what a command would do, and change nothing.
  -apply       Have a command take effect as a whole, or leave the host as it was.
  -status      Tell what is installed and whether it is as configured; change nothing.
  -help        List the commands and tell the version; with a command, show how it is used.
  -version     Tell the version.

The manual page qdn-configure(8) tells the rest.
END
}

@test "without a command the banner and the list of commands are shown" {
    qdn_configure
    expect_status 120
    expect_output < <(list_of_commands)
    expect_no_errors
    expect_no_changes
}

@test "help is given under each word that people try, with status 0" {
    local word
    for word in -help -h --help help; do
        qdn_configure $word
        expect_status 0
        expect_output < <(list_of_commands && echo 'This is version 1.1.0.')
        expect_no_errors
        expect_no_changes
    done
}

@test "each word that people try shows the version, with status 0" {
    local word
    for word in -version --version; do
        qdn_configure $word
        expect_status 0
        expect_output <<END
$banner
qdn-configure 1.1.0
END
        expect_no_errors
        expect_no_changes
    done
}

@test "help with a command shows how it is used, and runs nothing" {
    local word
    qdn_configure -clean
    expect_status 120
    cp "$desk/out" "$desk/usage"
    for word in -help -h --help help; do
        qdn_configure $word -clean
        expect_status 0
        expect_output <"$desk/usage"
        expect_no_errors
        expect_no_changes
    done
}

@test "an unknown command is named, made printable" {
    qdn_configure $'-con\033figure'
    expect_status 120
    expect_output < <(list_of_commands)
    expect_errors <<<"Unknown command '-con\\x1bfigure'."
}

@test "an unknown option of -configure shows its usage" {
    qdn_configure -configure -Quiet
    expect_status 120
    expect_no_errors
    printf '%s\n' "$banner" >"$desk/usage"
    printf '%b' 'Usage: qdn-configure.bin -configure [options]\n\n' \
        'Automatically configure/upgrade an installation from an XML config file.\n\nOptions:\n\n' \
        '-noimode\n\t\t[optional] By default, if utility fails to find\teither a previously installed agent or an ' \
        'XML-formatted \tconfiguration file, it steps into the interactive mode.\tBy specifying this option, you ' \
        'may disable this behaviour.\n\n' \
        '-nosearch\n\t[optional] Do not search for the installed agent.\n\n' \
        '-dir <Agent-Base-Dir>\n\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n' \
        '-quiet\n\t[optional] Generate no output.\n\n' >>"$desk/usage"
    expect_output <"$desk/usage"
    expect_no_changes
}

@test "-iconfigure does not know -noimode and shows its usage" {
    qdn_configure -iconfigure -noimode
    expect_status 120
    expect_no_errors
    printf '%s\n' "$banner" >"$desk/usage"
    printf '%b' 'Usage: qdn-configure.bin -iconfigure [-quiet]\n\n' \
        'Interactively configure/reconfigure an installation ignoring any XML file.\n\nOptions:\n\n' \
        '-nosearch\n\t[optional] Do not search for the installed agent.\n\n' \
        '-dir <Agent-Base-Dir>\n\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n\n' \
        '-quiet\n\t[optional] Generate no output.\n\n' >>"$desk/usage"
    expect_output <"$desk/usage"
    expect_no_changes
}

clean_usage() {
    printf '%b' "$banner\n" 'Usage: qdn-configure.bin -clean <Agent-Base-Dir> [-quiet]\n\n' \
        'Remove all files previously created by qdn-configure.\n\nOptions:\n\n<Agent-Base-Dir>\n' \
        '\tAbsolute path to the Zorvane Agent for UNIX and Linux installation root.\n\n' \
        '-quiet\n\t[optional] Generate no output.\n\n'
}

@test "-clean without a base directory shows its usage and touches nothing" {
    given_the_package
    qdn_configure -clean
    expect_status 120
    expect_no_errors
    expect_output < <(clean_usage)
    expect_no_changes
}

@test "-clean takes nothing but -quiet after the base directory" {
    given_the_package
    qdn_configure -clean "$agent" -quiet -nosearch
    expect_status 120
    expect_output < <(clean_usage)
    expect_no_changes
}

@test "-clean of a directory without client.conf says so and succeeds" {
    given_the_package
    for quiet in "" "-quiet" "-quiet -quiet"; do
        # shellcheck disable=SC2086 # no word, one or two
        qdn_configure -clean "$agent" $quiet
        expect_status 0
        expect_no_errors
        expect_output <<END
$banner
Can't find client.conf file: $agent/etc/client.conf
Check parameter <Agent-Base-Dir>.

END
        expect_no_changes
    done
}

@test "-dir needs a directory, in both configure commands" {
    for command in -configure -iconfigure; do
        qdn_configure "$command" -quiet -dir
        expect_status 120
        expect_errors <<<"Option '-dir' requires an argument."
        expect_no_changes
    done
}

@test "a later -dir replaces an earlier one" {
    given_the_package /opt/second
    given_plain_xml
    qdn_configure -configure -quiet -noimode -dir /opt/first -dir /opt/second
    expect_status 0
    expect_missing /opt/first
    expect_value Configuration installdir /opt/second /opt/second/etc/client.conf
}

start_a_plug_in() {
    cp /bin/sleep "$desk/qdn-pluginmanager"
    "$desk/qdn-pluginmanager" 1000 &
    until pgrep qdn-plug >/dev/null; do :; done
}

@test "with the agent running every command is refused before its options are looked at" {
    given_the_package
    given_plain_xml
    start_a_plug_in
    for arguments in "-configure" "-configure -dir" "-configure -nonsense" "-iconfigure -noimode"; do
        # shellcheck disable=SC2086 # several arguments
        qdn_configure $arguments
        expect_status 1
        expect_no_errors
        expect_output <<END
$banner
  The Zorvane Agent for UNIX and Linux is already running. Stop the agent before running qdn-configure.
END
    done
    for arguments in "-clean" "-clean $agent" "-clean $agent -nonsense"; do
        # shellcheck disable=SC2086 # several arguments
        qdn_configure $arguments
        expect_status 1
        expect_no_errors
        expect_output <<END
$banner
  The Zorvane Agent for UNIX and Linux is running. Stop the agent before running qdn-configure.
END
    done
    expect_no_changes
}

@test "solutions that depend on the agent keep it from being cleaned" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    echo '<Solution name="inventory">' >"$agent/etc/config.xml"
    qdn_configure -clean "$agent" -quiet
    expect_status 1
    expect_no_errors
    expect_output <<END
$banner
 There are some solutions that depend on Zorvane Agent for UNIX and Linux.
 Please uninstall them first.
END
    expect_no_changes
}

@test "while another run holds the lock, a run that changes things is refused" {
    given_the_package
    given_plain_xml
    (umask 077 && touch /run/qdn-configure.lock)
    exec 7>/run/qdn-configure.lock
    flock 7
    for arguments in "-configure -noimode" "-iconfigure" "-clean $agent"; do
        # shellcheck disable=SC2086 # several arguments
        qdn_configure $arguments
        expect_status 1
        expect_no_errors
        expect_output <<END
$banner
  Another run of qdn-configure is in progress.
END
        expect_no_changes
    done
}

each_test_is_a_session
