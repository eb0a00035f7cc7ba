# What the scriptlets of both packages share, as far as it can be seen without a host. The rest is tested by
# script/test-hosts.

setup() {
    functions=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)/packaging/scriptlet-functions
    conf=$BATS_TEST_TMPDIR/client.conf
}

# conf_value KEY: as a scriptlet reads it.
conf_value() {
    sh -c '. "$1" && conf_value "$2" "$3"' sh "$functions" "$1" "$conf"
}

@test "a value of client.conf is read as the program reads it" {
    printf '%s\r\n' '[Version]' 'installdir=/not/here' '[Configuration]' '; installdir=/nor/here' \
        ' installdir = /opt/an agent	 ' 'installdir=/second' 'bindir=' '[Client Details]' 'tmpdir=/nor/here' >"$conf"
    [ "$(conf_value installdir)" = "/opt/an agent" ]
    [ "$(conf_value bindir)" = "" ]
    [ "$(conf_value tmpdir)" = "" ]
}

# Runs a function of the scriptlets with `agent` in a directory of the test's. No agent that runs on the machine is its.
scriptlet() {
    sh -c '. "$1" && agent_runs() { return 1; } && agent=$2 && program=$agent/bin/qdn-configure.bin && hand_over=$2/hand-over &&
        kept_conf=$hand_over/kept && shift 2 && "$@"' sh "$functions" "$BATS_TEST_TMPDIR" "$@"
}

@test "a package without its program, or that was never configured, is cleaned without a word" {
    run scriptlet clean
    [ "$status" -eq 0 ]
    [ -z "$output" ]
    mkdir -p "$BATS_TEST_TMPDIR/bin"
    printf '#!/bin/sh\necho called; exit 1\n' >"$BATS_TEST_TMPDIR/bin/qdn-configure.bin"
    chmod 0755 "$BATS_TEST_TMPDIR/bin/qdn-configure.bin"
    run scriptlet clean
    [ "$status" -eq 0 ]
    [ -z "$output" ]
    mkdir "$BATS_TEST_TMPDIR/etc"
    : >"$BATS_TEST_TMPDIR/etc/.unfinished"
    run scriptlet clean
    [ "$status" -eq 1 ]
    [ "${lines[0]}" = called ]
}

@test "where no service is to be started, the program is told never to" {
    mkdir -p "$BATS_TEST_TMPDIR/bin" "$BATS_TEST_TMPDIR/allow" "$BATS_TEST_TMPDIR/forbid"
    # shellcheck disable=SC2016 # as it stands
    printf '#!/bin/sh\necho "${QDN_INSTALL_START:-unset} ${QDN_INSTALL_AUTOSTART:-unset}"\n' \
        >"$BATS_TEST_TMPDIR/bin/qdn-configure.bin"
    printf '#!/bin/sh\nexit 104\n' >"$BATS_TEST_TMPDIR/allow/policy-rc.d"
    printf '#!/bin/sh\nexit 101\n' >"$BATS_TEST_TMPDIR/forbid/policy-rc.d"
    chmod 0755 "$BATS_TEST_TMPDIR"/*/*
    PATH=$BATS_TEST_TMPDIR/allow:$PATH run scriptlet eval 'host_runs_services() { return 0; }; configure'
    [ "$output" = "unset unset" ]
    PATH=$BATS_TEST_TMPDIR/allow:$PATH run scriptlet eval 'host_runs_services() { return 1; }; configure'
    [ "$output" = "never unset" ]
    PATH=$BATS_TEST_TMPDIR/forbid:$PATH run scriptlet eval 'host_runs_services() { return 0; }; configure'
    [ "$output" = "never unset" ]
}

@test "a client.conf that is not there has no values" {
    [ "$(conf_value installdir)" = "" ]
}
