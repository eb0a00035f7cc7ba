# A hostile user exchanges directories of his for links to root's all the time, in each place that he or the agent's own
# user may own, while root configures, upgrades, moves, cleans and applies: nothing of root's changes, and nothing of it is
# copied to where he can read it. A round for each place and story; QDN_ROUNDS=200 bats tests/attacks/exchange.bats for
# more, each of which is counted.
# shellcheck disable=SC2154 # a session says where things are
load support

name_the_places() {
    theirs=$agent/theirs
    otherDisk=/run/elsewhere/agent
    places="queue tasks packages swd var logs guid tmp"
}

# A directory of the hostile user's with those that the configuration names, each with a link beside it.
given_their_directories() {
    local place
    rm -rf "$theirs"
    mkdir -m 0777 "$theirs"
    for place in $places; do
        mkdir -m 0777 "$theirs/$place"
        echo "event" >"$theirs/$place/one.kse"
        ln -s /root/treasure "$theirs/$place.link"
    done
    echo "{0A1B2C3D-0000-1111-2222-333344445555}" >"$theirs/guid/host.GUID"
    chown -R -h 65534:65534 "$theirs" 2>/dev/null || true
}

# given_the_host DIRECTORY: an agent whose configuration names those directories, and what is to be configured, if
# anything.
given_the_host() {
    rm -rf /run/elsewhere
    forget_the_agent
    given_an_old_agent 6.2
    given_their_directories
    sed -i -E "s,^event_queue_dir=.*,event_queue_dir=$theirs/queue,; s,^task_storage_path=.*,task_storage_path=$theirs/tasks,
        s,^package_storage_path=.*,package_storage_path=$theirs/packages,; s,^swd_storage_path=.*,swd_storage_path=$theirs/swd,
        s,^var=.*,var=$theirs/var,; s,^debug_output=.*,debug_output=$theirs/logs/file,
        s,^guid_guid_file=.*,guid_guid_file=$theirs/guid/host.GUID,; s,^tmpdir=.*,tmpdir=$theirs/tmp," "$agent/etc/client.conf"
    [ -n "$1" ] || return 0
    given_the_package "$1"
    given_plain_xml /tmp "$1"
}

given_a_big_treasure() {
    name_the_places
    mkdir -p /root/treasure/var
    seq 20 | (cd /root/treasure && xargs touch)
    for name in host.GUID file qdn-client.log one.kse; do echo "treasured word" >"/root/treasure/$name"; done
    chmod -R go= /root/treasure
    given_treasure
}

begin_to_swap() {
    local place stranger=(setpriv --reuid 65534 --regid 65534 --clear-groups)
    "${stranger[@]}" true 2>/dev/null || stranger=(env) # only root exists here
    swappers=()
    for place in "$@"; do
        "${stranger[@]}" /usr/bin/python3 - "$theirs/$place" "$theirs/$place.link" <"$project/tests/attacks/swapper.py" &
        swappers+=($!)
    done
}

end_to_swap() {
    kill "${swappers[@]}"
    wait "${swappers[@]}" || true
}

# Nobody but root can read what root's files hold.
expect_no_secret_copied() {
    local found
    found=$(find /opt /tmp /var/tmp /run/elsewhere -path "$project" -prune -o \
        -type f \( -perm -o=r -o -user 65534 \) -exec grep -l "treasured word" {} + 2>/dev/null || true)
    [ -z "$found" ] || fail "copied: $found"
}

# After many rounds script/prove tells how many there were.
tell_rounds() { [ -z "${QDN_ROUNDS:-}" ] || echo "# $rounds rounds" >&3; }

expect_nothing_touched() {
    [ "$status" -le 1 ] || fail "status $status while $1 was exchanged"
    expect_treasure
    expect_no_secret_copied
    rounds=$((${rounds:-0} + 1))
}

# rounds_of DIRECTORY ARGUMENT ...: the command, and the directory that it configures, while one place after another is
# exchanged.
rounds_of() {
    local round place
    given_a_big_treasure
    for ((round = 0; round < ${QDN_ROUNDS:-1}; round++)); do
        for place in ${fewer_places:-$places}; do
            given_the_host "$1"
            begin_to_swap "$place"
            status=0
            timeout 60 "$program" "${@:2}" >"$desk/out" 2>"$desk/err" || status=$?
            end_to_swap
            expect_nothing_touched "$place"
        done
    done
    tell_rounds
}

@test "an upgrade in place, while directories are exchanged for links, touches nothing of root's" {
    rounds_of "$agent" -configure -noimode
}

@test "an upgrade to another directory, while directories are exchanged for links, touches nothing of root's" {
    rounds_of "$elsewhere" -configure -noimode -dir "$elsewhere"
}

@test "an upgrade to another disk, while directories are exchanged for links, touches nothing of root's" {
    name_the_places
    rounds_of "$otherDisk" -configure -noimode -dir "$otherDisk"
}

@test "a clean, while directories are exchanged for links, touches nothing of root's" { rounds_of "" -clean "$agent"; }

# apply_in_rounds DIRECTORY ARGUMENT ...: as rounds_of, but with few places where the rounds are few, since each rehearses.
apply_in_rounds() {
    [ -n "${QDN_ROUNDS:-}" ] || fewer_places="var guid"
    rounds_of "$1" -apply -yes "${@:2}"
}

@test "an upgrade that is applied, while directories are exchanged for links, touches nothing of root's" {
    apply_in_rounds "$agent" -configure -noimode
}

@test "a clean that is applied, while directories are exchanged for links, touches nothing of root's" {
    apply_in_rounds "" -clean "$agent"
}

@test "the same links, standing there from the start, lead no command to anything of root's" {
    local place directory
    given_a_big_treasure
    for directory in "$agent" "$elsewhere" "$otherDisk" ""; do
        set -- -configure -noimode -dir "$directory"
        [ -n "$directory" ] || set -- -clean "$agent"
        for place in $places; do
            given_the_host "$directory"
            rm -rf "${theirs:?}/$place"
            mv "$theirs/$place.link" "$theirs/$place"
            status=0
            timeout 60 "$program" "$@" >"$desk/out" 2>"$desk/err" || status=$?
            [ "$status" -le 1 ] || fail "status $status of $*"
            expect_treasure
            expect_no_secret_copied
        done
    done
}

# in_a_home ARGUMENT ...: an agent that is installed in somebody's home, and the command, while the whole directory is
# exchanged for a link.
in_a_home() {
    local round
    mount -t tmpfs -o mode=0755 tmpfs /home
    given_a_big_treasure
    theirs=/home/alice
    agent=$theirs/agent
    for ((round = 0; round < ${QDN_ROUNDS:-4}; round++)); do
        forget_the_agent
        rm -rf "$theirs"
        given_an_old_agent 6.2 "$agent"
        given_the_package "$agent"
        given_plain_xml /tmp "$agent"
        ln -s /root/treasure "$agent.link"
        chown -R -h 65534:65534 "$theirs" 2>/dev/null || chmod 0777 "$theirs"
        begin_to_swap agent
        status=0
        timeout 60 "$program" "$@" >"$desk/out" 2>"$desk/err" || status=$?
        end_to_swap
        expect_nothing_touched "the home"
    done
    tell_rounds
}

@test "a clean of an agent in a home, while it is exchanged for a link, touches nothing of root's" {
    in_a_home -clean /home/alice/agent
}

@test "an upgrade of an agent in a home, while it is exchanged for a link, touches nothing of root's" {
    in_a_home -configure -noimode -dir /home/alice/agent
}

@test "directories in /tmp, /var/tmp and /run/lock, while they are exchanged for links, lead no run to anything of root's" {
    local place command round
    given_a_big_treasure
    mkdir -p /run/lock
    chmod 1777 /run/lock
    for ((round = 0; round < ${QDN_ROUNDS:-1}; round++)); do
        for place in /tmp/ksclt /var/tmp/theirs /run/lock/theirs; do
            for command in "-configure -noimode" "-clean $agent"; do
                forget_the_agent
                rm -rf "$place" "$place.link"
                given_an_old_agent 6.2
                given_the_package
                given_plain_xml
                sed -i -E "s,^(event_queue_dir|tmpdir|var)=.*,\1=$place," "$agent/etc/client.conf"
                mkdir -m 0777 "$place"
                touch "$place"/{one.kse,.migrate-client.conf,.reinstall-client.conf}
                ln -s /root/treasure "$place.link"
                chown -R -h 65534:65534 "$place" "$place.link" 2>/dev/null || true
                theirs=$(dirname "$place")
                begin_to_swap "$(basename "$place")"
                status=0
                # shellcheck disable=SC2086 # words on purpose
                timeout 60 "$program" $command >"$desk/out" 2>"$desk/err" || status=$?
                end_to_swap
                expect_nothing_touched "$place"
            done
        done
    done
    tell_rounds
}

# The lock is not where everybody may make files.
@test "runs that start together, while a file in /run/lock is exchanged for a link, are never in the host at once" {
    local round run runs
    given_a_big_treasure
    theirs=/run/lock
    chmod 1777 "$theirs"
    # Called between the first change and the last.
    cat >/usr/sbin/chkconfig <<END
#!/bin/sh
mkdir $desk/inside || echo "twice" >>$desk/twice
echo "called" >>$desk/calls
sleep 0.01
rmdir $desk/inside
END
    chmod 0755 /usr/sbin/chkconfig
    for ((round = 0; round < ${QDN_ROUNDS:-2}; round++)); do
        forget_the_agent
        rm -rf "$theirs"/qdn-configure.lock{,.link}
        given_the_package
        given_plain_xml "$HOME" # it stays
        : >"$theirs/qdn-configure.lock"
        ln -s /root/treasure/file "$theirs/qdn-configure.lock.link"
        chown -h 65534:65534 "$theirs"/qdn-configure.lock{,.link} 2>/dev/null || true
        begin_to_swap qdn-configure.lock
        runs=()
        for run in 1 2 3; do
            QDNCLIENT_CONFIG_XML_DIR=$HOME "$program" -configure -noimode >"$desk/out-$run" 2>&1 &
            runs+=($!)
        done
        for run in "${runs[@]}"; do wait "$run" || true; done
        end_to_swap
        grep -qx "Configuration complete." "$desk"/out-[123]
        grep -q called "$desk/calls"
        expect_missing "$desk/twice"
        status=0
        expect_nothing_touched "the lock"
    done
    tell_rounds
}

@test "a clean of a store to which somebody keeps adding files ends, and warns of what stays" {
    local feeder stranger=(setpriv --reuid 65534 --regid 65534 --clear-groups)
    "${stranger[@]}" true 2>/dev/null || stranger=(env) # only root exists here
    given_an_old_agent 6.2
    chmod 0777 "$agent/var/queue"
    "${stranger[@]}" /usr/bin/python3 -c '
import itertools, os, sys
for number in itertools.count():
    try: os.close(os.open(f"{sys.argv[1]}/{number}.kse", os.O_CREAT | os.O_WRONLY))
    except OSError: pass' "$agent/var/queue" &
    feeder=$!
    status=0
    timeout 120 "$program" -clean "$agent" >"$desk/out" 2>"$desk/err" || status=$?
    kill "$feeder"
    wait "$feeder" || true
    expect_status 0
    if [ -e "$agent/var/queue" ]; then
        grep -q "^WARNING! $agent/var/queue" "$desk/err"
        grep -qx "WARNING! $agent/etc/client.conf is kept: not everything could be removed." "$desk/err"
        qdn_configure -clean "$agent"
    fi
    expect_missing "$agent"
}

# Without that, a rig that never meets the moment would show nothing.
@test "what removes by paths is led astray by the same exchange" {
    local round
    name_the_places
    for ((round = 0; round < 2000; round++)); do
        mkdir -p "$agent"
        given_their_directories
        rm -rf /root/treasure
        mkdir -p /root/treasure
        touch /root/treasure/one.kse
        begin_to_swap queue
        # Looks, and removes what it has seen: by the path.
        /usr/bin/python3 -c '
import os, sys
for _ in range(200):
    if not os.path.islink(sys.argv[1]):
        try: os.unlink(sys.argv[1] + "/one.kse")
        except OSError: pass' "$theirs/queue"
        end_to_swap
        [ -e /root/treasure/one.kse ] || return 0
    done
    fail "it was never led astray"
}

each_test_is_a_session
