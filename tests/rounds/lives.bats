# Random lives of a host: an agent is configured, asked about, upgraded, reinstalled, moved, damaged and removed, its disk is
# filled, its runs are killed and the power is cut, in any order, beside a model of what must hold after each step. The
# host's own files stay as they were; no event that the agent has not sent is lost; the server and the identifier are
# those that the model expects; and after a run that failed, or was killed, the next one completes. SEED=number repeats
# a life that went wrong, LIVES and STEPS make more.
load ../scenarios/support
load ../scenarios/old-agent

eval "seed() { echo ${SEED:-$SRANDOM}; }" # functions are what a session is given
eval "lives() { echo ${LIVES:-5}; }"
eval "steps() { echo ${STEPS:-20}; }"

pick() {
    local -a choices=("$@")
    picked=${choices[RANDOM % $#]}
}

# --- The model: which agent there is, and what it must know

begin_a_life() {
    life=/opt/life
    places=("$life/one" "$life/two" "$life/three/deep")
    mkdir -p "$life"
    given_a_disk
    export QDN_INSTALL_START=never
    forget_the_agent
    server='' identifier='' events=() number_of_events=0
    hosts_files >"$desk/hosts-files"
}

# Nothing gets to the disk by chance, nor by care of the file system's.
mount_the_disk() { mount -o loop,noauto_da_alloc,commit=600,noinit_itable "$desk/image" "$life"; }

# Where there are no loop devices the power cannot be cut.
given_a_disk() {
    rm -f "$desk/image"
    truncate -s 48M "$desk/image"
    mkfs.ext4 -q -F -b 1024 -m 0 -N 4096 -J size=4 -E lazy_itable_init=0,lazy_journal_init=0 "$desk/image"
    mount_the_disk 2>/dev/null || mount -t tmpfs -o size=48m tmpfs "$life"
    rm -rf "$life/lost+found"
}

is_on_a_disk() { [ "$(stat -f -c %T "$life")" != tmpfs ]; }

# What has not got to the disk is gone.
cut_the_power() {
    is_on_a_disk || return 0
    # Something may still be written to it, and a tool of a killed run may still be there.
    while ! cmp -s "$desk/image" "$desk/image.then"; do cp "$desk/image" "$desk/image.then"; done
    umount -l "$life"
    mv "$desk/image.then" "$desk/image"
    mount_the_disk
    cuts=$((cuts + 1))
}

end_a_life() {
    umount -l "$life"
    rm -rf /tmp/.qdn* /tmp/.zorvane* /etc/init.d/zorvane /etc/zorvane /usr/bin/qdn-*
    find /etc -name '[SK][0-9][0-9]zorvane' -delete
}

# What is not the agent's: name, kind, mode, owner, size, and of files the time.
hosts_files() {
    find /etc /usr/bin /usr/sbin /usr/lib/systemd -name '*zorvane*' -prune -o -name 'qdn-*' -prune -o \
        -type f -printf '%p %y %m %u %s %T@\n' -o -printf '%p %y %m %u %l\n' | LC_ALL=C sort
}

# The agent's own part of a life: it makes an identifier where there is none, and has events to send.
let_the_agent_live() {
    local file=$where/etc/host.GUID
    [ -s "$file" ] || printf '{%08x-0000-1111-2222-333344445555}\nnull' "$RANDOM" >"$file"
    identifier=$(head -n 1 "$file")
    if [ "${#events[@]}" -lt 5 ]; then
        events+=("event-$((++number_of_events)).kse")
        echo "${events[-1]}" >"$where/var/queue/${events[-1]}"
    fi
    sync -f "$life"
}

# The agent's own environment names its configuration to whatever runs in it.
remember_the_agent() { where=$1 && export QDNCLIENT_CONFIG_FILE=$where/etc/client.conf; }

forget_the_agent() { where='' && unset QDNCLIENT_CONFIG_FILE; }

# --- What must hold

expect_the_host_as_it_was() {
    hosts_files >"$desk/hosts-files-now"
    same "the host's files" "$desk/hosts-files-now" <"$desk/hosts-files"
}

expect_events() {
    local event
    for event in "${events[@]}"; do
        [ -n "$(find "$life" -name "$event" -type f -size +0 -print -quit)" ] || fail "$event is lost"
    done
}

# After a run that ended well: everything is in its place.
expect_the_agent() {
    local event found
    expect_value "Kell Servers" server-1 "$server" "$where/etc/client.conf"
    expect_value Configuration installdir "$where" "$where/etc/client.conf"
    [ "$(stat -c %a "$where/etc/client.conf")" = 644 ] || fail "client.conf has mode $(stat -c %a "$where/etc/client.conf")"
    [ -x "$where/bin/qdn-env" ] || fail "qdn-env cannot be run"
    [ -x "$where/bin/rcscript" ] || fail "rcscript cannot be run"
    [ -x /etc/init.d/zorvane ] || fail "the service script cannot be run"
    [ "$(readlink -f /usr/bin/qdn-monitor)" = "$where/bin/qdn-monitor" ] || fail "qdn-monitor is not linked"
    for event in "${events[@]}"; do
        [ -f "$where/var/queue/$event" ] || fail "$event is not where the agent looks"
    done
    if [ -n "$identifier" ]; then
        found=$(head -n 1 "$where/etc/host.GUID" 2>/dev/null) || true
        [ "$found" = "$identifier" ] || fail "the identifier is '$found', expected '$identifier'"
    fi
    expect_missing "$where/etc/.unfinished"
    expect_state 3 # in order, but no agent is started here
}

# -status tells the truth.
expect_state() {
    call -status
    [ "$status" -eq "$1" ] || { cat "$desk/out" "$desk/err"; fail "-status ends with $status, expected $1"; }
}

expect_no_agent() {
    local place
    for place in "${places[@]}"; do expect_missing "$place/etc/client.conf"; done
    expect_missing /etc/init.d/zorvane /usr/bin/qdn-monitor
    [ -z "$(find /etc -name '[SK][0-9][0-9]zorvane')" ] || fail "the service is still registered"
    expect_state 4
}

# --- The steps

tell() { echo "    $1" >>"$desk/story"; }

call() {
    status=0
    (cd / && "$program" "$@" >"$desk/out" 2>"$desk/err") </dev/null || status=$?
}

# A configuration without questions, in the agent's place or at another.
configure() {
    local place=$1
    shift
    given_the_package "$place"
    pick alpha beta gamma
    given_plain_xml /tmp "$place" 'Upgrade="yes"' && sed -i "s,kell.example,$picked.example," "/tmp/$xml"
    tell "at $place, for $picked.example"
    [ "$server" = "$picked.example" ] || identifier='' # another server means another identifier
    server=$picked.example
    "$@" -configure -noimode -dir "$place"
    rm -f "/tmp/$xml"
}

place_of_the_agent() {
    if [ -n "$where" ]; then picked=$where; else pick "${places[@]}"; fi
}

expect_configured() {
    [ "$status" -eq 0 ] || { cat "$desk/err"; fail "the run ended with $status"; }
    remember_the_agent "$1"
    expect_the_agent
    let_the_agent_live
}

step_configure() {
    place_of_the_agent
    local place=$picked
    configure "$place" call
    expect_configured "$place"
}

step_move() {
    pick "${places[@]}"
    local place=$picked
    configure "$place" call
    expect_configured "$place"
}

step_answer() {
    place_of_the_agent
    local place=$picked
    given_the_package "$place"
    pick delta.example epsilon.example
    { echo "$picked"; echo "$place"; printf '\n%.0s' {1..20}; } >"$desk/answers"
    status=0
    (cd / && "$program" -iconfigure -dir "$place" <"$desk/answers" >"$desk/out" 2>"$desk/err") || status=$?
    [ "$server" = "$picked" ] || identifier=''
    server=$picked
    expect_configured "$place"
}

# An older agent was there, and is upgraded where it is or to another place.
step_upgrade() {
    step_clean
    pick "${places[@]}"
    local place=$picked
    pick 6.0SP2 6.1 6.2
    tell "from $picked at $place"
    given_an_old_agent "$picked" "$place"
    remember_the_agent "$place"
    events=(one.kse)
    step_move
}

# The package is laid down anew, and nobody says again what was configured.
step_reinstall() {
    [ -n "$where" ] || return 0
    given_the_package "$where"
    call -configure -noimode -dir "$where"
    expect_configured "$where"
}

step_clean() {
    [ -n "$where" ] || return 0
    call -clean "$where"
    [ "$status" -eq 0 ] || fail "the clean ended with $status"
    forget_the_agent
    server='' identifier='' events=()
    expect_no_agent
}

step_damage() {
    [ -n "$where" ] || return 0
    pick "rm -f /usr/bin/qdn-monitor" "chmod 0777 $where/bin/qdn-env" "rm -f $where/bin/rcscript" "rm -f /etc/init.d/zorvane" \
        "chmod 0666 $where/etc/client.conf" "truncate -s 0 $where/bin/qdn-env" "rm -rf $where/var/tasks"
    $picked
    tell "$picked"
    expect_state 1
    step_configure
}

# The run ends one way or the other, and the next one, with room again, completes.
step_full_disk() {
    place_of_the_agent
    local place=$picked
    given_the_package "$place"
    head -c $(($(df --output=avail -k "$life" | tail -n 1) * 1024 - RANDOM % 32768)) /dev/zero >"$life/filling" 2>/dev/null || true
    configure_again "$place" call
    rm -f "$life/filling"
    [ "$status" -eq 0 ] || grep -q '^ERROR: .' "$desk/err" || fail "status $status without a word"
    expect_events
    configure_again "$place" call
    expect_configured "$place"
}

step_kill() {
    if [ -n "$where" ] && ((RANDOM % 2)); then pick "${places[@]}"; else place_of_the_agent; fi
    local place=$picked
    configure "$place" call_and_kill
    expect_events
    configure_again "$place" call
    expect_configured "$place"
}

# With the server that the model has.
configure_again() {
    local place=$1
    [ -n "$server" ] || { pick alpha beta gamma && server=$picked.example; }
    given_plain_xml /tmp "$place" 'Upgrade="yes"' && sed -i "s,kell.example,$server," "/tmp/$xml"
    tell "again at $place, for $server"
    "$2" -configure -noimode -dir "$place"
    rm -f "/tmp/$xml"
}

call_and_kill() {
    "$program" "$@" >"$desk/out" 2>"$desk/err" </dev/null &
    sleep "0.00$((RANDOM % 10))$((RANDOM % 10))"
    kill -KILL $! 2>/dev/null || true
    status=0
    wait $! 2>/dev/null || status=$?
    tell "ended with $status, and left $(find "$life" \( -name client.conf\* -o -name host.GUID -o -name .unfinished \) -print0 | xargs -0)"
}

step_power_cut() {
    if [ -n "$where" ] && ((RANDOM % 2)); then pick "${places[@]}"; else place_of_the_agent; fi
    local place=$picked
    given_the_package "$place"
    sync -f "$life"
    pick call call_and_kill
    configure_again "$place" "$picked"
    cut_the_power
    step_reboot
    expect_events
    configure_again "$place" call
    expect_configured "$place"
}

step_reboot() {
    find /run/lock /tmp /run -maxdepth 1 -name '*qdn-configure*' -delete
    find /tmp -mindepth 1 -maxdepth 1 -name '.*' -delete
}

live() {
    local step
    begin_a_life
    for ((step = 1; step <= $(steps); ++step)); do
        pick configure configure move answer clean upgrade reinstall damage full_disk kill kill power_cut reboot
        echo "step $step: $picked ${where:-no agent} $server" >>"$desk/story"
        "step_$picked"
        expect_the_host_as_it_was
    done
    end_a_life
}

@test "whatever a host lives through, nothing is lost and the next run completes" {
    echo "seed $(seed)"
    trap 'tail -n 25 "$desk/story"; cat "$desk/err"; ls -l /usr/bin/qdn-configure' EXIT
    RANDOM=$(seed)
    cuts=0
    for ((number = 1; number <= $(lives); ++number)); do
        : >"$desk/story"
        live
    done
    trap - EXIT
    printf '# %d lives\n# %d cuts\n' "$(lives)" "$cuts" >&3
}

each_test_is_a_session
