# Surroundings that lack something: limits of resources, closed or full streams, a host without /proc or /dev. A run
# either does all that it does elsewhere, or fails and says why, and the next one elsewhere does it all.
# shellcheck disable=SC2154 # a session says where things are
load support

# The files of the agent and of the host's configuration.
result() {
    find /opt /etc -path "$project" -prune -o \( -type f -o -type l \) -printf '%p %M %l\n' | sort
    find /opt -path "$project" -prune -o -type f -exec sha256sum {} + | sort -k2
}

upgrade() {
    given_an_old_agent 6.2
    given_the_package
    given_plain_xml
    command=("$program" -configure -noimode)
}

clean() {
    given_an_old_agent 6.2
    command=("$program" -clean "$agent")
}

# A name, how the command is run there, and how an upgrade and a clean end: 0, or 1 and this among what is written. The
# limits are for the program as it ships: one that needs shared libraries needs more.
surroundings() {
    cat <<'END'
five descriptors|prlimit --nofile=5 COMMAND|Too many open files|Please uninstall them first.
twelve descriptors|prlimit --nofile=12 COMMAND|0|0
files of at most 1000 bytes|prlimit --fsize=1000 COMMAND|File too large|0
a megabyte of memory|prlimit --data=1000000 COMMAND|ERROR: Not enough memory.|ERROR: Not enough memory.
sixteen megabytes of addresses|prlimit --as=16000000 COMMAND|0|0
a quarter of a megabyte of stack|prlimit --stack=262144 COMMAND|0|0
no memory to lock, no queues, no priority|prlimit --memlock=0 --msgqueue=0 --nice=0 --rtprio=0 COMMAND|0|0
no input|COMMAND <&-|0|0
no output|COMMAND >&-|0|0
no output for errors|COMMAND 2>&-|0|0
no streams|COMMAND <&- >&- 2>&-|0|0
an output that takes nothing|COMMAND >/dev/full|0|0
an output for errors that takes nothing|COMMAND 2>/dev/full|0|0
no /proc|without /proc COMMAND|0|0
no /sys|without /sys COMMAND|0|0
no /dev|without /dev COMMAND|0|Please uninstall them first.
no place for temporary files|read_only /tmp COMMAND|Read-only file system|0
a mask that denies all|umask 0777; COMMAND|0|0
a current directory that is gone|cd "$(mktemp -d)"; rmdir "$PWD"; COMMAND|0|0
ignored signals|trap '' CHLD PIPE HUP XFSZ; COMMAND|0|0
END
}

without() { unshare --mount sh -c 'mount -t tmpfs tmpfs "$1" && shift && exec "$@"' sh "$@"; }
read_only() { unshare --mount sh -c 'mount -o remount,bind,ro "$1" && shift && exec "$@"' sh "$@"; }

# run_in SURROUNDINGS: the story's command there.
run_in() {
    local quoted
    quoted=$(printf '%q ' "${command[@]}")
    status=0
    (eval "${1/COMMAND/$quoted}" >"$desk/out" 2>"$desk/err") || status=$?
}

# expect_end NAME END: as the table says, and the next run completes it.
expect_end() {
    if [ "$2" = 0 ]; then
        [ "$status" -eq 0 ] || fail "$1: $(cat "$desk/out" "$desk/err")"
    else
        [ "$status" -eq 1 ] || fail "$1: it ended with $status"
        cat "$desk/out" "$desk/err" | grep -qF -- "$2" || fail "$1: $(cat "$desk/out" "$desk/err")"
        given_plain_xml
        "${command[@]}" >"$desk/out" 2>"$desk/err" || fail "$1: the next run: $(cat "$desk/out" "$desk/err")"
    fi
    result | same "$1" "$desk/elsewhere"
}

# ends_as_told STORY COLUMN
ends_as_told() {
    local name how end count=0
    export QDN_INSTALL_AUTOSTART=no
    "$1"
    "${command[@]}" >"$desk/out"
    result >"$desk/elsewhere"
    surroundings | cut -d '|' -f "1,2,$2" >"$desk/table"
    while IFS='|' read -r name how end; do
        forget_the_agent
        "$1"
        run_in "$how" </dev/null
        expect_end "$name" "$end"
        count=$((count + 1))
    done <"$desk/table"
    [ "$count" -eq 20 ]
    [ -z "${QDN_ROUNDS:-}" ] || echo "# $count surroundings" >&3 # as script/prove tells it
}

@test "an upgrade whose surroundings lack something does all of it, or says why not" { ends_as_told upgrade 3; }

@test "a clean whose surroundings lack something does all of it, or says why not" { ends_as_told clean 4; }

each_test_is_a_session
