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
        kept_conf=$hand_over/kept && ran_before=$hand_over/ran && other_files=$agent/.other-files && shift 2 && "$@"' \
        sh "$functions" "$BATS_TEST_TMPDIR" "$@"
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
    : >"$BATS_TEST_TMPDIR/etc/client.conf"
    rm "$BATS_TEST_TMPDIR/bin/qdn-configure.bin"
    run scriptlet clean
    [ "$status" -eq 0 ]
    [ -z "$output" ]
}

@test "where no service is to be started, the scripts pass that on to the program" {
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

@test "the configuration is tried once, whether it succeeds or fails" {
    mkdir -p "$BATS_TEST_TMPDIR/bin" "$BATS_TEST_TMPDIR/etc"
    : >"$BATS_TEST_TMPDIR/etc/client.conf"
    # shellcheck disable=SC2016 # as it stands
    printf '#!/bin/sh\necho "$*"; exit "$FAILS"\n' >"$BATS_TEST_TMPDIR/bin/qdn-configure.bin"
    chmod 0755 "$BATS_TEST_TMPDIR/bin/qdn-configure.bin"
    call="-apply -yes -or-plainly -configure -noimode -quiet -dir $BATS_TEST_TMPDIR"
    FAILS=0 run scriptlet eval 'may_run() { return 0; }; configure'
    [ "$status" -eq 0 ]
    [ "$output" = "$call" ]
    FAILS=1 run scriptlet eval 'may_run() { return 0; }; configure'
    [ "$status" -eq 1 ]
    [ "$(grep -cxF -e "$call" <<<"$output")" -eq 1 ]
    [[ $output == *"has not been configured"* ]]
}

@test "the former agent's files come back, and those of the package for another attempt" {
    cd "$BATS_TEST_TMPDIR"
    mkdir bin lib etc hand-over
    for file in bin/agent lib/functions etc/client.proto; do echo former >$file; done
    echo "[Configuration]
installdir=$PWD" | tee etc/client.conf >hand-over/kept
    # shellcheck disable=SC2016 # as it stands
    scriptlet eval ': >"$ran_before"; keep_files'
    for file in bin/agent lib/functions etc/client.proto; do echo package >new; mv new $file; done
    echo package >bin/more
    # shellcheck disable=SC2016
    return_to_former='agent_runs() { return 0; }; control() { echo "$2"; }; return_to_former'
    run scriptlet eval "$return_to_former"
    [ -z "$output" ]
    [ "$(cat bin/agent)" = package ] # it has not failed
    : >.other-files/failed
    mkdir -p .other-files.new/bin && : >.other-files.new/bin/agent # an exchange was cut off
    run scriptlet eval "$return_to_former"
    [ "${lines[0]}" = start ]
    [ "$(cat bin/agent lib/functions etc/client.proto)" = $'former\nformer\nformer' ]
    [ ! -e bin/more ]
    [ ! -e hand-over ]
    scriptlet take_package_files
    [ "$(cat bin/agent lib/functions etc/client.proto bin/more)" = $'package\npackage\npackage\npackage' ]
    mkdir hand-over
    : >.other-files/failed
    : >etc/.unfinished
    run scriptlet eval "$return_to_former" # what is half configured suits neither
    [[ $output == *"The former agent does not run."* ]]
    [ "$(cat bin/agent)" = package ]
}

@test "the scripts work wherever they are started" {
    cd "$BATS_TEST_TMPDIR"
    run scriptlet pwd
    [ "$output" = / ]
}

@test "only a file is handed over, and only in a directory that nobody else can write to" {
    mkdir "$BATS_TEST_TMPDIR/hand-over"
    # shellcheck disable=SC2016 # as it stands
    local handed='handed_over "$kept_conf" && echo yes || echo no'
    [ "$(scriptlet eval "$handed")" = no ]
    mkdir "$BATS_TEST_TMPDIR/hand-over/kept"
    [ "$(scriptlet eval "$handed")" = no ]
    rmdir "$BATS_TEST_TMPDIR/hand-over/kept"
    : >"$BATS_TEST_TMPDIR/hand-over/kept"
    [ "$(scriptlet eval "$handed")" = yes ]
    chmod 0775 "$BATS_TEST_TMPDIR/hand-over"
    [ "$(scriptlet eval "$handed")" = no ]
    chmod 0757 "$BATS_TEST_TMPDIR/hand-over"
    [ "$(scriptlet eval "$handed")" = no ]
}

@test "a client.conf that is not there has no values" {
    [ "$(conf_value installdir)" = "" ]
}
