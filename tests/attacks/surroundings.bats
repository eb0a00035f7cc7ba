# Surroundings that lack something: limits of resources, closed or full streams, a host without /proc or /dev. A run
# either does all that it does elsewhere, or fails and says why, and the next one elsewhere does it all.
# shellcheck disable=SC2154 # a session says where things are
load support

# The files of the agent and of the host's configuration.
result() {
    find /opt /etc -path "$project" -prune -o \( -type f -o -type l \) -printf '%p %M %l\n' | sort
    find /opt -path "$project" -prune -o -type f -exec sha256sum {} + | sort -k2
}

# The stories, each with its command.
fresh() {
    given_the_package
    given_plain_xml
    command=("$program" -configure -noimode)
}

upgrade() {
    given_an_old_agent 6.2
    fresh
}

clean() {
    given_an_old_agent 6.2
    command=("$program" -clean "$agent")
}

apply() {
    upgrade
    command=("$program" -apply -yes -configure -noimode)
}

preview() {
    upgrade
    command=("$program" -preview -configure -noimode)
}

status() {
    fresh
    "${command[@]}" >/dev/null
    command=("$program" -status)
}

# A name, how the command is run there, and how a first configuration, an upgrade, a clean, an upgrade that is applied, a
# preview of one and a status end: 0 as elsewhere, or with this status and this among what is written. The limits are for
# the program as it ships: one that needs shared libraries needs more.
surroundings() {
    cat <<'END'
five descriptors|with_descriptors 5 COMMAND|1 Too many open files|1 Too many open files|1 Please uninstall them first.|1 Too many open files|1 ERROR: A preview is not possible here: /proc/self/mountinfo cannot be read|3 Differences not looked for: A preview is not possible here: /proc/self/mountinfo cannot be read
twelve descriptors|with_descriptors 12 COMMAND|0|0|0|1 /opt/zorvane/kell/ksagent/etc/client.conf: Too many open files|1 /opt/zorvane/kell/ksagent/etc/client.conf: Too many open files|1 /opt/zorvane/kell/ksagent/etc/client.conf: Too many open files
files of at most 1000 bytes|prlimit --fsize=1000 COMMAND|1 File too large|1 File too large|0|1 File too large|1 File too large|1 File too large
a megabyte of memory|prlimit --data=1000000 COMMAND|1 ERROR: Not enough memory.|1 ERROR: Not enough memory.|1 ERROR: Not enough memory.|1 ERROR: The preview failed: the command was ended by a signal.|1 ERROR: The preview failed: the command was ended by a signal.|1 ERROR: Not enough memory.
sixteen megabytes of addresses|prlimit --as=16000000 COMMAND|0|0|0|0|0|0
a quarter of a megabyte of stack|prlimit --stack=262144 COMMAND|0|0|0|0|0|0
no memory to lock, no queues, no priority|prlimit --memlock=0 --msgqueue=0 --nice=0 --rtprio=0 COMMAND|0|0|0|0|0|0
no input|COMMAND <&-|0|0|0|0|0|0
no output|COMMAND >&-|0|0|0|0|0|0
no output for errors|COMMAND 2>&-|0|0|0|0|0|0
no streams|COMMAND <&- >&- 2>&-|0|0|0|0|0|0
an output that takes nothing|COMMAND >/dev/full|0|0|0|0|0|0
an output for errors that takes nothing|COMMAND 2>/dev/full|0|0|0|0|0|0
no /proc|without /proc COMMAND|0|0|0|1 ERROR: A preview is not possible here: /proc/self/mountinfo cannot be read|1 ERROR: A preview is not possible here: /proc/self/mountinfo cannot be read|3 Differences not looked for: A preview is not possible here: /proc/self/mountinfo cannot be read
no /sys|without /sys COMMAND|0|0|0|0|0|0
no /dev|without /dev COMMAND|0|0|1 Please uninstall them first.|0|0|0
no place for temporary files|read_only /tmp COMMAND|1 Read-only file system|1 Read-only file system|0|1 Read-only file system|1 Read-only file system|1 Read-only file system
a mask that denies all|umask 0777; COMMAND|0|0|0|0|0|0
a current directory that is gone|cd "$(mktemp -d)"; rmdir "$PWD"; COMMAND|0|0|0|0|0|0
ignored signals|trap '' CHLD PIPE HUP XFSZ; COMMAND|0|0|0|0|0|0
END
}

# with_descriptors COUNT COMMAND...: those that the caller of the tests left open are not among them.
with_descriptors() {
    local descriptor
    for descriptor in /proc/self/fd/*; do
        descriptor=${descriptor##*/}
        [ "$descriptor" -le 2 ] || eval "exec $descriptor>&-"
    done
    exec prlimit --nofile="$1" "${@:2}"
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

# expect_end STORY NAME END: as the table says, and where it failed, the next run elsewhere completes it. An upgrade that
# is not applied leaves the host as it was.
expect_end() {
    if [ "$3" = 0 ]; then
        [ "$status" -eq "$usual" ] || fail "$2: it ended with $status: $(cat "$desk/out" "$desk/err")"
    else
        [ "$status" -eq "${3%% *}" ] || fail "$2: it ended with $status: $(cat "$desk/out" "$desk/err")"
        cat "$desk/out" "$desk/err" | grep -qF -- "${3#* }" || fail "$2: $(cat "$desk/out" "$desk/err")"
        [ "$1" != apply ] || result | same "$2" "$desk/before"
        given_plain_xml
        status=0
        "${command[@]}" >"$desk/out" 2>"$desk/err" || status=$?
        [ "$status" -eq "$usual" ] || fail "$2: the next run: $(cat "$desk/out" "$desk/err")"
    fi
    result | same "$2" "$desk/elsewhere"
}

# ends_as_told STORY COLUMN
ends_as_told() {
    local name how end count=0 usual
    export QDN_INSTALL_AUTOSTART=no
    "$1"
    [[ $1 != preview && $1 != status ]] || result >"$desk/before"
    run_in COMMAND
    usual=$status
    result >"$desk/elsewhere"
    [[ $1 != preview && $1 != status ]] || same "the host" "$desk/elsewhere" <"$desk/before"
    surroundings | cut -d '|' -f "1,2,$2" >"$desk/table"
    while IFS='|' read -r name how end; do
        forget_the_agent
        "$1"
        result >"$desk/before"
        run_in "$how" </dev/null
        expect_end "$1" "$name" "$end"
        count=$((count + 1))
    done <"$desk/table"
    [ "$count" -eq 20 ]
    [ -z "${QDN_ROUNDS:-}" ] || echo "# $count surroundings" >&3 # as script/prove tells it
}

@test "a first configuration whose surroundings lack something does all of it, or says why not" { ends_as_told fresh 3; }

@test "an upgrade whose surroundings lack something does all of it, or says why not" { ends_as_told upgrade 4; }

@test "a clean whose surroundings lack something does all of it, or says why not" { ends_as_told clean 5; }

@test "an upgrade that is applied where something is lacking is done wholly, or not at all and says why" { ends_as_told apply 6; }

@test "a preview where something is lacking changes nothing, and shows all or says why not" { ends_as_told preview 7; }

@test "a status where something is lacking changes nothing, and tells all or says why not" { ends_as_told status 8; }

each_test_is_a_session
