# SIGHUP, SIGINT and SIGTERM at many moments of a run: it ends by the signal, nothing that it started runs on, nothing
# that it made for itself stays, and the next run works.
# shellcheck disable=SC2154 # a session says where things are
load support

given_fresh() {
    given_the_package
    given_plain_xml
}

given_upgrade() {
    given_an_old_agent 5.6
    given_the_package
    given_plain_xml
}

given_clean() {
    given_an_old_agent 6.2
    given_the_package
}

# What a story has prepared, and the host as it was then once more: that is sooner done than to prepare it again.
keep_the_host() {
    (
        cd /
        shopt -s nullglob
        tar -cf "$desk/host.tar" opt/zorvane etc/init.d etc/rc[0-6].d etc/services* etc/inetd.conf* usr/bin/qdn-* "tmp/$xml"*
    )
}

bring_the_host_back() {
    rm -rf /opt/zorvane /etc/init.d/zorvane /etc/rc[0-6].d/*zorvane /usr/bin/qdn-*
    tar -C / -xf "$desk/host.tar"
}

# Without those that have ended, and without the one that looks.
processes() {
    ps -eo pid=,state=,comm= >"$desk/ps"
    awk '$2 != "Z" && $3 != "ps" { print $1, $3 }' "$desk/ps"
}

leftovers() {
    find /opt /tmp /etc /run -path "$project" -prune -o -path /run/private-machine -prune -o \
        \( -name '.*.unfinished' -o -name '.zorvane-agent-installer.*' -o -name '.qdn-configure.*' -o \
        -name qdn-configure.lock \) -print
}

# The calls that bring a signal, as "NAME when=N" for strace, which counts those of each name by themselves: so many,
# evenly spread over the run, and every flush, since each stands between the making of a file and its renaming. How
# often a shell is looked after is a matter of time.
points_of_run() {
    awk -F '(' '/^[a-z0-9_]+\(/ && !/^(wait4|poll|read|rt_sigprocmask)\(/ { print $1 " when=" ++count[$1] }' \
        "$desk/calls" >"$desk/points"
    awk -v wanted="$1" -v calls="$(wc -l <"$desk/points")" '
        /^fsync/ { print; next }
        NR >= (chosen + 1) * (calls - 2) / wanted && chosen < wanted { print; chosen++ }' "$desk/points"
}

# interrupt_at STORY COUNT ARGUMENT ...
interrupt_at() {
    local story=$1 count=$2 names=(HUP INT TERM) statuses=(129 130 143) points point name when which status
    shift 2
    "given_$story"
    keep_the_host
    processes >"$desk/processes"
    strace -qq -o "$desk/calls" -e signal=none "$program" "$@" >/dev/null 2>&1
    mapfile -t points < <(points_of_run "$count")
    [ "${#points[@]}" -ge "$count" ]
    for point in "${!points[@]}"; do
        which=$((point % 3))
        bring_the_host_back
        status=0
        read -r name when <<<"${points[point]}"
        strace -qq -o "$desk/calls" -e "trace=$name" -e signal=none \
            -e "inject=$name:signal=SIG${names[which]}:$when" "$program" "$@" >"$desk/out" 2>"$desk/err" || status=$?
        [ "$status" -eq "${statuses[which]}" ] || fail "$story, $name:$when: status $status, $(<"$desk/out") $(<"$desk/err")"
        processes >"$desk/processes-after"
        same "the processes, $name:$when" "$desk/processes-after" <"$desk/processes"
        [ -z "$(leftovers)" ] || fail "$story, $name:$when: $(leftovers)"
    done
}

@test "a configuration that a signal ends leaves nothing behind" {
    interrupt_at fresh 12 -configure -noimode
    given_plain_xml
    qdn_configure -configure -noimode
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

@test "an upgrade that a signal ends leaves nothing behind" {
    interrupt_at upgrade 12 -configure -noimode
    given_plain_xml
    qdn_configure -configure -noimode
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

@test "a clean that a signal ends leaves nothing behind" {
    interrupt_at clean 12 -clean "$agent"
    qdn_configure -clean "$agent"
    expect_status 0
    expect_missing "$agent"
}

# Starts the program in the background and returns when the package manager, which it asks, waits for ever with a child.
run_until_it_waits_for_a_tool() {
    mkfifo "$desk/asked"
    cat >/usr/sbin/rpm <<END
#!/bin/sh
$1
sleep 1000 &
echo asked >$desk/asked
wait
END
    chmod 0755 /usr/sbin/rpm
    processes >"$desk/processes"
    set -m # a job of a shell without job control ignores SIGINT
    "$program" -configure -noimode >"$desk/out" 2>"$desk/err" &
    run=$!
    set +m
    read -r _ <"$desk/asked"
}

expect_end_of_everything() {
    processes >"$desk/processes-after"
    same "the processes" "$desk/processes-after" <"$desk/processes"
    [ -z "$(leftovers)" ]
}

@test "a signal to the program alone ends the tools that it runs, too" {
    local name status
    given_the_package
    for name in HUP INT QUIT TERM; do
        run_until_it_waits_for_a_tool :
        kill -"$name" "$run"
        status=0
        wait "$run" || status=$?
        [ "$status" -eq $((128 + $(kill -l "$name"))) ]
        expect_end_of_everything
        rm "$desk/asked"
    done
}

@test "a tool that ignores the signal is ended all the same" {
    local status=0
    given_the_package
    run_until_it_waits_for_a_tool "trap '' TERM"
    kill -TERM "$run"
    wait "$run" || status=$?
    [ "$status" -eq 143 ]
    expect_end_of_everything
}

@test "a run that was started to ignore SIGHUP works on" {
    local status=0
    given_the_package
    given_plain_xml
    (trap '' HUP; exec strace -qq -o "$desk/calls" -e signal=none -e inject=all:signal=SIGHUP:when=1+ \
        "$program" -configure -noimode >"$desk/out" 2>"$desk/err") || status=$?
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
}

each_test_is_a_session
