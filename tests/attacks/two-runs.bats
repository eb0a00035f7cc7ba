# Two runs at once: one works, the other says so and changes nothing.
# shellcheck disable=SC2154 # a session says where things are
load support

# A configuration that holds the lock until `let_it_go`: it waits for what its package manager says.
given_a_run_in_progress() {
    mkfifo "$desk/asked" "$desk/answer"
    printf '#!/bin/sh\n: >%s\nread -r line <%s\n' "$desk/asked" "$desk/answer" >/usr/sbin/rpm
    chmod 0755 /usr/sbin/rpm
    given_the_package
    given_plain_xml
    "$program" -configure -noimode >"$desk/first-out" 2>"$desk/first-err" &
    first=$!
    : <"$desk/asked"
    rm /usr/sbin/rpm # the second one would not get so far
}

let_it_go() {
    echo >"$desk/answer"
    wait "$first"
    expect_value "Kell Servers" server-1 kell.example
    expect_missing /run/qdn-configure.lock
}

expect_refusal() {
    expect_status 1
    expect_output <<END
$banner
  Another run of qdn-configure is in progress.
END
    expect_no_errors
    expect_no_changes
}

@test "while a configuration runs every other run is refused" {
    given_a_run_in_progress
    local command
    for command in "-configure" "-configure -noimode -quiet" "-configure -dir /opt/elsewhere" "-iconfigure" "-clean $agent"; do
        # shellcheck disable=SC2086 # words on purpose
        qdn_configure $command
        expect_refusal
    done
    let_it_go
}

# An agent's configuration that is being cleaned, likewise: it waits for the tool that registers services.
given_a_clean_in_progress() {
    mkfifo "$desk/asked" "$desk/answer"
    given_an_old_agent 6.2
    given_the_package
    printf '#!/bin/sh\n: >%s\nread -r line <%s\n' "$desk/asked" "$desk/answer" >/usr/sbin/chkconfig
    chmod 0755 /usr/sbin/chkconfig
    "$program" -clean "$agent" >"$desk/first-out" 2>"$desk/first-err" &
    first=$!
    : <"$desk/asked"
    rm /usr/sbin/chkconfig
}

@test "while a clean runs every other run is refused" {
    given_a_clean_in_progress
    given_plain_xml
    local command
    for command in "-configure" "-configure -noimode -quiet" "-iconfigure" "-clean $agent"; do
        # shellcheck disable=SC2086 # words on purpose
        qdn_configure $command
        expect_refusal
    done
    echo >"$desk/answer"
    wait "$first"
    expect_missing "$agent" /run/qdn-configure.lock
}

is_refused() { grep -qx "  Another run of qdn-configure is in progress." "$1"; }

@test "a clean and a configuration that start together end as if one had come after the other" {
    local round cleaning cleaned configured refused=0
    for ((round = 0; round < 30; round++)); do
        given_the_package
        given_plain_xml
        "$program" -configure -noimode >/dev/null
        given_plain_xml
        cleaned=0 configured=0
        "$program" -clean "$agent" >"$desk/clean" 2>&1 &
        cleaning=$!
        "$program" -configure -noimode >"$desk/configure" 2>&1 || configured=$?
        wait "$cleaning" || cleaned=$?
        if is_refused "$desk/clean"; then
            [ "$cleaned $configured" = "1 0" ]
            expect_value "Kell Servers" server-1 kell.example
            [ -x /etc/init.d/zorvane ]
            refused=$((refused + 1))
        else
            [ "$cleaned" -eq 0 ]
            [ "$configured" -eq 0 ] || is_refused "$desk/configure" || grep -q "^ERROR: Missing file in install" "$desk/configure"
            expect_missing "$agent/etc/client.conf" /etc/init.d/zorvane
        fi
        expect_missing /run/qdn-configure.lock
    done
    [ "$refused" -gt 0 ]
}

@test "the script of a package that is installed meanwhile fails, and its configuration file stays for the next run" {
    given_a_run_in_progress
    given_plain_xml /var
    status=0
    (cd / && env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "$program" -configure -noimode -quiet | cat >"$desk/out") || status=$?
    [ -e "/var/$xml" ]
    grep -qx "  Another run of qdn-configure is in progress." "$desk/out"
    let_it_go
    qdn_configure -configure -noimode
    expect_status 0
    expect_missing "/var/$xml"
}

@test "of many runs that start together at least one works, and each of the others says so" {
    local run runs status worked refused=0
    given_the_package
    given_plain_xml "$HOME" # it stays
    export QDNCLIENT_CONFIG_XML_DIR=$HOME
    for _ in {1..5}; do
        runs=() worked=0
        for run in {0..7}; do
            "$program" -configure -noimode >"$desk/out-$run" 2>&1 &
            runs+=($!)
        done
        for run in {0..7}; do
            status=0
            wait "${runs[run]}" || status=$?
            if is_refused "$desk/out-$run"; then
                [ "$status" -eq 1 ]
                refused=$((refused + 1))
            else
                [ "$status" -eq 0 ]
                worked=$((worked + 1))
            fi
        done
        [ "$worked" -ge 1 ]
        expect_value "Kell Servers" server-1 kell.example
        expect_missing /run/qdn-configure.lock
    done
    [ "$refused" -gt 0 ]
}

@test "a run that was killed does not stop the next one" {
    given_a_run_in_progress
    kill -KILL "$first"
    wait "$first" || true
    [ -e /run/qdn-configure.lock ]
    given_plain_xml
    qdn_configure -configure -noimode
    expect_status 0
    expect_missing /run/qdn-configure.lock
}

# Where everybody may make files the lock is not: what stands there decides nothing.
@test "what another user puts where everybody may lock neither stops a run nor is touched" {
    given_treasure
    given_the_package
    local kind
    for kind in link fifo directory strangers; do
        case $kind in
            link) ln -s /root/treasure/below/file /run/lock/qdn-configure.lock ;;
            fifo) mkfifo /run/lock/qdn-configure.lock ;;
            directory) mkdir /run/lock/qdn-configure.lock ;;
            strangers) : >/run/lock/qdn-configure.lock; given_strangers_file /run/lock/qdn-configure.lock </dev/null ;;
        esac
        given_plain_xml
        qdn_configure -configure -noimode
        expect_status 0
        expect_treasure
        umount /run/lock/qdn-configure.lock 2>/dev/null || true
        rm -rf /run/lock/qdn-configure.lock
    done
}

each_test_is_a_session
