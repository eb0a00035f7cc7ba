# A hostile user exchanges directories of his for links to root's all the time, in each place that he or the agent's own
# user may own, while root configures, upgrades, moves, cleans, previews and applies: nothing of root's or of the host's
# changes, and nothing that only root may read is copied to where he can read it. QDN_ROUNDS=200 bats
# tests/attacks/exchange.bats for a hundred rounds with each place in each story, half of them for each of the two places
# where links lead. Only a run during which there were exchanges is a round.
# shellcheck disable=SC2154 # a session says where things are
load support

# A place, and what stands there: by the key of client.conf and the setting of an XML configuration file that name it.
places() {
    cat <<END
bin|bindir|BinDir
tmp|tmpdir|TempDir
var|var|
queue|event_queue_dir|EventQueueDir
tasks|task_storage_path|TasksDir
packages|package_storage_path|PackagesDir
swd|swd_storage_path|SWDDir
guid|guid_guid_file|GuidDir
logs|debug_output|LogDir
lib|libdir|
END
}

# A story, the version of the agent that is there, and its directory; the directory that is configured; the command, and
# its status when nothing disturbs it; and the places that are exchanged, one after the other. Those without a path are in a
# directory of the user's.
stories() {
    local settings="bin tmp queue tasks packages swd guid logs" home=/home/alice/agent
    local old="$settings var" old56="bin tmp var queue tasks guid logs lib loader"
    local within="$home $home/etc $home/bin $home/lib $home/var" shared="/tmp/ksclt /var/tmp/theirs /run/lock/theirs"
    cat <<END
a first configuration|-|-|$agent|-configure -noimode|0|$settings
an upgrade in place|6.2|$agent|$agent|-configure -noimode|0|$old
an upgrade to another directory|6.2|$agent|$elsewhere|-configure -noimode -dir $elsewhere|0|$old
an upgrade to another disk|6.2|$agent|$otherDisk|-configure -noimode -dir $otherDisk|0|$old
a clean|6.2|$agent|-|-clean $agent|0|$old
an upgrade of 5.6|5.6|$agent|$agent|-configure -noimode|0|$old56
a clean of 5.6|5.6|$agent|-|-clean $agent|0|$old56
an upgrade that is applied|6.2|$agent|$agent|-apply -yes -configure -noimode|0|$old
an upgrade to another directory that is applied|6.2|$agent|$elsewhere|-apply -yes -configure -noimode -dir $elsewhere|0|$old
an upgrade to another disk that is applied|6.2|$agent|$otherDisk|-apply -yes -configure -noimode -dir $otherDisk|0|$old
a clean that is applied|6.2|$agent|-|-apply -yes -clean $agent|0|$old
a preview of an upgrade|6.2|$agent|$agent|-preview -out $theirs/out/document -configure -noimode|0|out $old
a status|6.2|$agent|$agent|-status|1|$old
a first configuration in a home|-|-|$home|-configure -noimode -dir $home|0|$within
an upgrade in a home|6.2|$home|$home|-configure -noimode -dir $home|0|$within
a clean in a home|6.2|$home|-|-clean $home|0|$within
a first configuration in a home that is applied|-|-|$home|-apply -yes -configure -noimode -dir $home|0|$within
an upgrade in a home that is applied|6.2|$home|$home|-apply -yes -configure -noimode -dir $home|0|$within
a clean in a home that is applied|6.2|$home|-|-apply -yes -clean $home|0|$within
a search for the XML configuration file|-|-|$agent|-configure -noimode|0|named chosen above above/current
an upgrade beside directories that all share|6.2|$agent|$agent|-configure -noimode|0|$shared
a clean beside directories that all share|6.2|$agent|-|-clean $agent|0|$shared
END
}

# Of the places of a row, those that are tried: a third where the rounds are few, another one in each row.
tried_places() {
    local number
    number=$(stories | grep -n "^$1|" | cut -d : -f 1)
    tr ' ' '\n' | awk -v number="$number" -v all="${QDN_ROUNDS:-}" 'all != "" || (NR + number) % 3 == 0'
}

name_the_desk() {
    theirs=/opt/theirs
    otherDisk=/run/elsewhere/agent
    targets=(/root/treasure /var/lib/hosts)
}

# Where the links lead: to an agent of root's whose files nobody else can read, and to one of which everybody can. They
# hold all that a run looks for where a link stands in the place of a directory.
given_the_targets() {
    local name
    given_an_old_agent 6.2 /root/treasure
    rm -rf /etc/init.d/zorvane /etc/rc[0-6].d/*zorvane /usr/bin/qdn-*
    sed -i "s,^Location=.*,Location=treasured word," /root/treasure/etc/client.conf
    for name in host.GUID file one.kse one.kst qdn-client.log client.conf qdn-env qdn-file qdn-clientevent Pkg_1 libssl.so.1 \
        document; do
        echo "treasured word" >"/root/treasure/$name"
    done
    sed "s,kell.example,treasured word," "/tmp/$xml" >"/root/treasure/$xml"
    cp -a /root/treasure /var/lib/hosts
    find /var/lib/hosts -type f -exec sed -i "s,/root/treasure,/var/lib/hosts,; s,treasured word,known to all," {} +
    chmod -R go= /root/treasure
    touch /etc/rc[0-6].d # so that they are this machine's own
    given_treasure
}

# path_of PLACE
path_of() { case $1 in /*) echo "$1" ;; *) echo "$theirs/$1" ;; esac; }

# The files that places hold, and what would be believed of them if they were root's.
given_their_place() {
    local path=$1
    mkdir -p "$path"
    case $path in /home/*) return ;; esac # the agent is there
    chmod 0777 "$path"
    echo "event" >"$path/one.kse"
    touch "$path"/{libomniORB.so,Pkg_1,qdn-file,.migrate-client.conf,.reinstall-client.conf,qdn-clientevent}
    echo "{0A1B2C3D-0000-1111-2222-333344445555}" >"$path/host.GUID"
    sed "s,kell.example,evil.example," "/tmp/$xml" >"$path/$xml"
}

# name_the_places: the client.conf that is there names the user's directories, and so do the settings for a new one.
name_the_places() {
    local name key setting settings=""
    while IFS='|' read -r name key setting; do
        [[ " $1 " = *" $name "* ]] || continue
        case $name in
            guid) sed -i -E "s,^($key ?= ?).*,\1$theirs/guid/host.GUID," "$oldConf" ;;
            logs) sed -i -E "s,^($key ?= ?).*,\1$theirs/logs/file," "$oldConf" ;;
            *) sed -i -E "s,^($key ?= ?).*,\1$theirs/$name," "$oldConf" ;;
        esac
        case $setting in
            "") ;;
            LogDir) settings+="<EventLog LogDir=\"$theirs/logs\"/>" ;;
            *) settings+="<$setting>$theirs/$name</$setting>" ;;
        esac
    done < <(places)
    [ "$2" = - ] || return 0
    sed -i "s,<InstallDir>,$settings&," "/tmp/$xml"
}

# given_the_host OLD DIRECTORY CONFIGURED PLACES: as the story finds it.
given_the_host() {
    local place oldConf=$2/etc/client.conf
    given_plain_xml /tmp "$3"
    given_the_targets
    [ "$1" != - ] || oldConf=$desk/none
    touch "$desk/none"
    [ "$1" = - ] || given_an_old_agent "$1" "$2"
    [ "$3" = - ] || given_the_package "$3"
    for place in $4; do given_their_place "$(path_of "$place")"; done
    name_the_places "$4" "$1"
    case " $4 " in
        *" loader "*) printf 'LD_LIBRARY_PATH=%s/loader:$LD_LIBRARY_PATH\n' "$theirs" >"$2/bin/qdn-env" ;;
        *" /var/tmp/theirs "*)
            sed -i -E "s,^(event_queue_dir|tmpdir)=.*,\1=/var/tmp/theirs,; s,^var=.*,var=/run/lock/theirs," "$oldConf"
            ;;
    esac
    for place in "$theirs" /home/alice /tmp/ksclt /var/tmp/theirs /run/lock/theirs; do
        [ ! -e "$place" ] || made_theirs "$place"
    done
    [ "$3" != - ] || rm "/tmp/$xml"
}

# What a story's command or the user changes, and each round finds as it was at first.
changing() {
    cd /
    find opt/{zorvane,elsewhere,theirs} run/elsewhere home/alice var/lib/qdn-configure etc/init.d/zorvane etc/rc[0-6].d/*zorvane \
        etc/services etc/inetd.conf usr/bin/qdn-* {opt,home,run,etc,usr,var,tmp}/.qdn-configure-saved "tmp/$xml" \
        {tmp/ksclt,var/tmp/theirs,run/lock/theirs}{,.link} -maxdepth 0 2>/dev/null || true
}

keep_the_host() { changing | tar -C / --numeric-owner -cf "$desk/host.tar" -T -; }

bring_the_host_back() {
    (changing | xargs sh -c 'cd / && rm -rf "$@"' sh)
    tar -C / --numeric-owner -xpf "$desk/host.tar"
}

# All that this machine has of its own in /etc, /usr and /var but for what is the agent's and the user's. Of directories,
# neither size nor time, which change with what is in them.
list_of_the_host() {
    (cd "$PRIVATE_MACHINE_CHANGES" && find . \( -path ./etc/init.d/zorvane -o -path './etc/rc?.d/*zorvane' \
        -o -path './etc/services*' -o -path './etc/inetd.conf*' -o -path './usr/bin/qdn-*' \
        -o -path ./var/lib/qdn-configure -o -name .qdn-configure-saved -o -path ".$project" \) -prune -o \
        -type d -printf '%p %M %U:%G\n' -o -printf '%p %M %U:%G %s %T@ %l\n') | sort
}

# Nobody but root can read what root's files hold.
expect_no_secret_copied() {
    local found
    found=$(find /opt /home /tmp /var/tmp /run /dev/shm "$PRIVATE_MACHINE_CHANGES"/{etc,usr,var} \
        \( -path "$project" -o -path "$desk" -o -path /run/private-machine -o \
        \( -path "*/var/lib/qdn-configure" -o -name .qdn-configure-saved \) -perm 0700 -user 0 \) -prune -o \
        -type f \( -perm /044 -o -user "$attacker" \) -exec grep -l "treasured word" {} + 2>/dev/null || true)
    [ -z "$found" ] || fail "copied: $found"
}

# What a run may do where the links are root's own is not looked at: that is where only root exists.
expect_nothing_touched() {
    # Of what changes while it is looked at, -status tells no differences, and then that the agent does not run is all.
    [ "$status" -le 1 ] || { [ "$status" -eq 3 ] && grep -q "^  Differences not looked for: The preview failed: " "$desk/out"; } ||
        fail "status $status while $1 was exchanged: $(cat "$desk/out" "$desk/err")"
    [ "$attacker" -ne 0 ] || return 0
    expect_treasure
    list_of_the_host >"$desk/host-after"
    same "the host" "$desk/host-after" <"$desk/host"
    expect_no_secret_copied
    ! grep -sl "evil.example" "$agent/etc/client.conf" "$elsewhere/etc/client.conf" || fail "his settings were used"
}

# race STORY: rounds of each of its places. What the host is like after the command has run undisturbed is what it is like
# after each round.
race() {
    local old directory configured arguments ends places place count=0
    name_the_desk
    IFS='|' read -r _ old directory configured arguments ends places < <(stories | grep "^$1|")
    [[ $places != */home/* ]] || mount -t tmpfs -o mode=0755 tmpfs /home
    given_the_host "$old" "$directory" "$configured" "$places"
    keep_the_host
    # shellcheck disable=SC2086 # words on purpose
    set -- "$1" $arguments
    command_of "$@"
    status=0
    "${command[@]}" >"$desk/out" 2>"$desk/err" || status=$?
    expect_status "$ends"
    expect_treasure
    list_of_the_host >"$desk/host"
    given_a_swapper
    for place in $(tried_places "$1" <<<"$places"); do
        count=$((count + (${QDN_ROUNDS:-1} + 1) / 2))
        rounds_at "$(path_of "$place")"
    done
    tell_rounds
}

# rounds_at PATH: until there have been so many in all.
rounds_at() {
    local tries=0 paces=(0 300 3000 9000)
    while [ "$rounds" -lt "$count" ]; do
        [ "$tries" -lt $((10 + 2 * ${QDN_ROUNDS:-1})) ] || fail "there are no exchanges of $1"
        bring_the_host_back
        ln -sn "${targets[tries % 2]}" "$1.link"
        made_theirs "$1.link"
        while_exchanged "${paces[tries / 2 % 4]}" "$1" "${command[@]}"
        expect_nothing_touched "$1"
        tries=$((tries + 1))
    done
}

# command_of STORY ARGUMENT ...: a search for the file begins in a directory of the user's, which its caller has entered.
command_of() {
    command=("$program" "${@:2}")
    [[ $1 = "a search"* ]] || return 0
    cat >"$desk/search" <<END
#!/bin/sh
until cd "$theirs/above/current" 2>/dev/null && [ "\$(pwd -P)" = "$theirs/above/current" ]; do :; done
QDNCLIENT_CONFIG_XML_DIR=$theirs/named AGENT_INSTALL_DIR=$theirs/chosen exec "$program" ${*:2}
END
    chmod 0755 "$desk/search"
    command=("$desk/search")
}

@test "a first configuration, while directories are exchanged for links, touches nothing of root's" { race "a first configuration"; }

@test "an upgrade in place, while directories are exchanged for links, touches nothing of root's" { race "an upgrade in place"; }

@test "an upgrade to another directory, while directories are exchanged for links, touches nothing of root's" { race "an upgrade to another directory"; }

@test "an upgrade to another disk, while directories are exchanged for links, touches nothing of root's" { race "an upgrade to another disk"; }

@test "a clean, while directories are exchanged for links, touches nothing of root's" { race "a clean"; }

@test "an upgrade of 5.6, while directories are exchanged for links, touches nothing of root's" { race "an upgrade of 5.6"; }

@test "a clean of 5.6, while directories are exchanged for links, touches nothing of root's" { race "a clean of 5.6"; }

@test "an upgrade that is applied, while directories are exchanged for links, touches nothing of root's" { race "an upgrade that is applied"; }

@test "an upgrade to another directory that is applied, while directories are exchanged for links, touches nothing of root's" { race "an upgrade to another directory that is applied"; }

@test "an upgrade to another disk that is applied, while directories are exchanged for links, touches nothing of root's" { race "an upgrade to another disk that is applied"; }

@test "a clean that is applied, while directories are exchanged for links, touches nothing of root's" { race "a clean that is applied"; }

@test "a preview of an upgrade, while directories are exchanged for links, touches nothing of root's" { race "a preview of an upgrade"; }

@test "a status, while directories are exchanged for links, touches nothing of root's" { race "a status"; }

@test "a first configuration in a home, while directories are exchanged for links, touches nothing of root's" { race "a first configuration in a home"; }

@test "an upgrade in a home, while directories are exchanged for links, touches nothing of root's" { race "an upgrade in a home"; }

@test "a clean in a home, while directories are exchanged for links, touches nothing of root's" { race "a clean in a home"; }

@test "a first configuration in a home that is applied, while directories are exchanged for links, touches nothing of root's" { race "a first configuration in a home that is applied"; }

@test "an upgrade in a home that is applied, while directories are exchanged for links, touches nothing of root's" { race "an upgrade in a home that is applied"; }

@test "a clean in a home that is applied, while directories are exchanged for links, touches nothing of root's" { race "a clean in a home that is applied"; }

@test "a search for the XML configuration file, while directories are exchanged for links, touches nothing of root's" { race "a search for the XML configuration file"; }

@test "an upgrade beside directories that all share, while directories are exchanged for links, touches nothing of root's" { race "an upgrade beside directories that all share"; }

@test "a clean beside directories that all share, while directories are exchanged for links, touches nothing of root's" { race "a clean beside directories that all share"; }

@test "each story of the table is tried, and a hundred rounds with each of its places are more than ten thousand" {
    local number=0 name places
    name_the_desk
    while IFS='|' read -r name _ _ _ _ _ places; do
        grep -qF "{ race \"$name\"; }" "$project/tests/attacks/exchange.bats" || fail "$name is not tried"
        number=$((number + $(wc -w <<<"$places")))
    done < <(stories)
    [ $((number * 100)) -ge 10000 ]
}

@test "the same links, standing there from the start, lead no command to anything of root's" {
    local name old directory configured arguments places place path
    name_the_desk
    while IFS='|' read -r name old directory configured arguments _ places; do
        case $arguments in -configure* | -clean*) ;; *) continue ;; esac
        [[ $places != *"/"* ]] || continue
        rm -rf /root/treasure /var/lib/hosts
        given_the_host "$old" "$directory" "$configured" "$places"
        keep_the_host
        list_of_the_host >"$desk/host"
        for place in $(tried_places "$name" <<<"$places"); do
            bring_the_host_back
            path=$(path_of "$place")
            rm -rf "$path"
            ln -s /root/treasure "$path"
            made_theirs "$path"
            status=0
            # shellcheck disable=SC2086 # words on purpose
            timeout 60 "$program" $arguments >"$desk/out" 2>"$desk/err" || status=$?
            expect_nothing_touched "$path"
        done
        rm -rf /run/elsewhere /opt/theirs
        forget_the_agent
    done < <(stories)
}

# The lock is not where everybody may make files.
@test "runs that start together, while a file in /run/lock is exchanged for a link, are never in the host at once" {
    local lock=/run/lock/qdn-configure.lock
    name_the_desk
    given_plain_xml
    given_the_targets
    chmod 1777 /run/lock
    # Called between the first change and the last.
    cat >/usr/sbin/chkconfig <<END
#!/bin/sh
mkdir $desk/inside || echo "twice" >>$desk/twice
echo "called" >>$desk/calls
sleep 0.01
rmdir $desk/inside
END
    cat >"$desk/three" <<END
#!/bin/sh
for run in 1 2 3; do QDNCLIENT_CONFIG_XML_DIR=$HOME $program -configure -noimode >$desk/out-\$run 2>&1 & done
wait
END
    chmod 0755 /usr/sbin/chkconfig "$desk/three"
    given_a_swapper
    list_of_the_host >"$desk/host"
    while [ "$rounds" -lt "${QDN_ROUNDS:-2}" ]; do
        forget_the_agent
        rm -rf "$lock"{,.link}
        given_the_package
        given_plain_xml "$HOME" # it stays
        : >"$lock"
        ln -s /root/treasure/file "$lock.link"
        made_theirs "$lock"{,.link}
        while_exchanged 0 "$lock" "$desk/three"
        grep -qx "Configuration complete." "$desk"/out-[123]
        grep -q called "$desk/calls"
        expect_missing "$desk/twice"
        expect_nothing_touched "the lock"
    done
    tell_rounds
}

@test "a clean of a store to which somebody keeps adding files ends, and warns of what stays" {
    local feeder stranger=()
    [ "$(attacker)" -eq 0 ] || stranger=(setpriv --reuid "$(attacker)" --regid "$(attacker)" --clear-groups)
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

@test "an exchange that fails is noticed" {
    mkdir -p /opt/theirs/place
    ln -s /root/treasure /opt/theirs/place.link
    mount --bind /opt/theirs/place /opt/theirs/place
    made_theirs /opt/theirs
    given_a_swapper
    ! (while_exchanged 0 /opt/theirs/place true) || fail "nobody noticed"
    expect_file "$desk/swapper" <<END
swapper: OSError(16, 'Device or resource busy')
swapper: it ended before it had exchanged every place
END
}

# Without that, a rig that never meets the moment would show nothing. The victim passes over its files once, looks at each
# and removes it or gives it away: by the path.
@test "what removes and gives away by paths is led astray by the same exchanges, in no more time than a clean takes" {
    local astray=0 programs=0 victims=0
    name_the_desk
    given_an_old_agent 6.2
    touch "$agent"/var/queue/{1..20}.kse
    made_theirs "$agent/var"
    keep_the_host
    cat >"$desk/victim" <<END

import os, sys
for number in range(1, 21):
    for change in (lambda path: os.chown(path, 1, 1), os.unlink):
        if not os.path.islink(sys.argv[1]):
            try: change(sys.argv[1] + f"/{number}.kse")
            except OSError: pass
END
    given_a_swapper
    while [ "$astray" -eq 0 ] || [ "$rounds" -lt $((2 * ${QDN_ROUNDS:-5})) ]; do
        [ "$rounds" -lt 400 ] || [ "$astray" -gt 0 ] || fail "it was never led astray"
        given_a_moment
        while_exchanged 0 "$agent/var/queue" "$program" -clean "$agent"
        programs=$((programs + took))
        is_all_there || fail "the program was led astray"
        given_a_moment
        while_exchanged 0 "$agent/var/queue" /usr/bin/python3 -I -S "$desk/victim" "$agent/var/queue"
        victims=$((victims + took))
        is_all_there || astray=$((astray + 1))
    done
    [ "$victims" -le $((2 * programs)) ] || fail "the victim took $victims microseconds, the program $programs"
    [ -z "${QDN_ROUNDS:-}" ] || echo "# $astray astray" >&3
}

given_a_moment() {
    rm -rf /root/treasure
    mkdir -p /root/treasure
    touch /root/treasure/{1..20}.kse
    bring_the_host_back
    ln -s /root/treasure "$agent/var/queue.link"
    made_theirs "$agent/var/queue.link"
}

is_all_there() { [ "$(find /root/treasure -name '*.kse' -user 0 | wc -l)" -eq 20 ]; }

each_test_is_a_session
