# What a hostile user plants at the paths that the program reads, writes or removes where others can write: nothing of
# root's changes, nothing of the attacker's is used, and the run does what it would have done.
# shellcheck disable=SC2154 # a session says where things are
load support

evil_xml() {
    cat <<END
<KSAgentConfiguration>
  <KSName>evil.example</KSName>
  <Settings Start="no"><InstallDir>/opt/evil</InstallDir></Settings>
</KSAgentConfiguration>
END
}

# plant KIND PATH: in the place of a file that the program would read. A link leads to root's treasure.
plant() {
    rm -rf "$2"
    case $1 in
        link) ln -s /root/treasure/below/file "$2" ;;
        dangling) ln -s /root/treasure/made "$2" ;;
        loop) ln -s "$2" "$2" ;;
        fifo) mkfifo "$2" ;;
        directory) mkdir "$2"; echo kept >"$2/file" ;;
        socket) /usr/bin/python3 -c 'import socket, sys; socket.socket(socket.AF_UNIX).bind(sys.argv[1])' "$2" ;;
        open) evil_xml >"$2"; chmod 0666 "$2" ;;
        strangers) evil_xml | given_strangers_file "$2" ;;
    esac
}

take_away() {
    umount "$1" 2>/dev/null || true
    rm -rf "$1"
}

# In turn with each kind of thing at a path, the configuration works with the administrator's own file in /var.
configure_with_planted() {
    local path=$1 kind
    given_treasure
    for kind in link dangling loop fifo directory socket open strangers; do
        given_the_package
        given_plain_xml /var
        mkdir -p "$(dirname "$path")"
        plant "$kind" "$path"
        status=0
        timeout 60 "$program" -configure -noimode >"$desk/out" 2>"$desk/err" || status=$?
        expect_status 0
        expect_value "Kell Servers" server-1 kell.example
        expect_missing /opt/evil /root/treasure/made
        expect_treasure
        take_away "$path"
        forget_the_agent
    done
}

@test "whatever stands in the place of the XML configuration file, the run uses the next one" { configure_with_planted "/tmp/$xml"; }

@test "whatever stands in the place of the hand-over configuration of an upgrade is not taken over" {
    configure_with_planted /tmp/ksclt/.migrate-client.conf
}

@test "whatever stands in the place of the mark of a reinstallation marks none" { configure_with_planted /tmp/ksclt/.reinstall-client.conf; }

@test "whatever stands in the place of the hand-over directory, a run works" { configure_with_planted /tmp/ksclt; }

@test "whatever stands in the place of the installer's log and bootstrap, a clean reaches nothing else" {
    local path kind
    given_treasure
    for path in /tmp/ksclt/qdn-bootstrap /tmp/ksclt/qdn-ksclt-install.log /tmp/ksclt/below; do
        for kind in link dangling loop fifo directory socket open; do
            given_an_old_agent 6.2
            mkdir -p /tmp/ksclt
            plant "$kind" "$path"
            qdn_configure -clean "$agent"
            expect_status 0
            expect_missing "$agent" /root/treasure/made
            expect_treasure
            forget_the_agent
            take_away /tmp/ksclt
        done
    done
}

@test "what others put into the current directory and the one above it is not used" {
    local kind directory
    given_treasure
    mkdir -p /tmp/theirs/below
    chmod 0777 /tmp/theirs /tmp/theirs/below
    for directory in /tmp/theirs /tmp/theirs/below; do
        for kind in link fifo directory open strangers; do
            given_the_package
            given_plain_xml /var
            plant "$kind" "$directory/$xml"
            status=0
            (cd /tmp/theirs/below && exec timeout 60 "$program" -configure -noimode >"$desk/out" 2>"$desk/err") || status=$?
            expect_status 0
            expect_value "Kell Servers" server-1 kell.example
            expect_missing /opt/evil
            expect_treasure
            take_away "$directory/$xml"
        done
    done
}

@test "a second name of root's file, where one is removed or replaced, leads to no change of it" {
    local path
    mount -t tmpfs tmpfs /opt/zorvane # where hard links can be made, as on a host with one file system
    mkdir -p /opt/zorvane/secret
    echo "precious" >/opt/zorvane/secret/file
    chmod 0600 /opt/zorvane/secret/file
    given_an_old_agent 6.2
    for path in "$agent/etc/client.conf.old" "$agent/var/qdn-client.log" "$agent/bin/qdn-env" \
        "$agent/var/tasks/two.kst"; do
        ln -f /opt/zorvane/secret/file "$path"
    done
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode
    expect_status 0
    expect_file /opt/zorvane/secret/file <<<"precious"
    [ "$(stat -c %a:%u /opt/zorvane/secret/file)" = 600:0 ]
}

# The stores may belong to the agent's own user, who may plant links there.
@test "links in the agent's directories lead no run to root's files and directories" {
    local place command
    given_treasure
    for command in "-clean $agent" "-configure -noimode" "-configure -noimode -dir $elsewhere"; do
        given_an_old_agent 6.0
        for place in "$agent/var" "$agent/var/queue" "$agent/var/tasks" "$agent/var/packages" "$agent/var/swd"; do
            mkdir -p "$place"
            ln -sfn /root/treasure "$place/tree"
            ln -sfn /root/treasure/below/file "$place/file"
            ln -sfn /root/treasure/below "$place/x.kst"
            ln -sfn /root/treasure/below/file "$place/$package.qdn-pkg-info"
            mkfifo "$place/fifo"
        done
        rm "$agent/var/qdn-client.log"
        ln -s /root/treasure/below/file "$agent/var/qdn-client.log"
        case $command in
            *"$elsewhere") given_the_package "$elsewhere"; given_plain_xml /tmp "$elsewhere" ;;
            -configure*) given_the_package; given_plain_xml ;;
        esac
        status=0
        # shellcheck disable=SC2086 # words on purpose
        timeout 60 "$program" $command >"$desk/out" 2>"$desk/err" || status=$?
        expect_status 0
        expect_treasure
        forget_the_agent
    done
}

@test "directories of the agent that are links to root's lead no run there" {
    local store
    for store in queue tasks packages swd; do
        given_an_old_agent 6.2
        given_treasure
        rm -rf "${agent:?}/var/$store"
        ln -s /root/treasure "$agent/var/$store"
        given_the_package
        given_plain_xml
        qdn_configure -configure -noimode
        expect_status 0
        expect_file /root/treasure/below/file <<<"precious"
        forget_the_agent
    done
}

# An agent in a user's home, whose client.conf the user can write.
given_somebodys_agent() {
    theirs=/home/alice/agent
    mount -t tmpfs -o mode=0755 tmpfs /home
    mkdir -p /home/bob/jobs
    echo "theirs" | tee /home/bob/jobs/one.kst /home/bob/jobs/host.GUID /home/bob/agent.log /home/bob/agent.log.1 >/dev/null
    given_an_old_agent "$1" "$theirs"
    rm -rf "$theirs/var/queue" # what is below the directory goes with it
    mkdir -p "$theirs/var/queue"
    sed -i -E "s,^(event_queue_dir ?= ?).*,\1/etc/ssh,; s,^(task_storage_path ?= ?).*,\1/home/bob/jobs,
        s,^(guid_guid_file ?= ?).*,\1/home/bob/jobs/host.GUID,; s,^(debug_output ?= ?).*,\1/home/bob/agent.log," "$theirs/etc/client.conf"
    mkdir -p /etc/ssh
    touch /etc/ssh/host.kse /var/tmp/qdn-file
}

expect_kept_outside() {
    local path
    for path; do echo "WARNING! $path is kept: it lies outside of $theirs, whose client.conf is not root's."; done
}

@test "a client.conf of another user leads a clean to nothing but the directory that it is in" {
    local version
    for version in 5.6 6.0 6.2; do
        given_somebodys_agent "$version"
        made_theirs /home/alice
        given_treasure
        clean "$theirs"
        expect_status 0
        expect_output <<<"$banner"
        expect_kept_outside /usr/bin /etc/ssh /home/bob/jobs /var/tmp /home/bob/jobs/host.GUID /home/bob/agent.log \
            /etc/init.d/zorvane | expect_errors
        expect_no_changes
        expect_plain_files /home/bob/jobs/{one.kst,host.GUID} /home/bob/agent.log{,.1}
        expect_treasure
        [ "$version" = 5.6 ] || expect_missing "$theirs"
        expect_missing "$theirs/etc"
        umount /home
        forget_the_agent
    done
}

@test "root's client.conf below a directory of another user's leads a clean no further" {
    given_somebodys_agent 6.2
    made_theirs /home/alice
    chown 0:0 "$theirs/etc/client.conf"
    clean "$theirs"
    expect_status 0
    expect_kept_outside /usr/bin /etc/ssh /home/bob/jobs /var/tmp /home/bob/jobs/host.GUID /home/bob/agent.log \
        /etc/init.d/zorvane | expect_errors
    expect_no_changes
    expect_missing "$theirs"
}

@test "another user's client.conf that names an agent of root's leads a clean to nothing of that" {
    given_an_old_agent 6.2
    theirs=/home/alice/agent
    mount -t tmpfs -o mode=0755 tmpfs /home
    mkdir -p "$theirs/etc"
    cp "$agent/etc/client.conf" "$theirs/etc/"
    made_theirs /home/alice
    clean "$theirs"
    expect_status 0
    expect_no_changes
    expect_kept_outside "$agent" /usr/bin "$agent"/var/{queue,tasks,swd,packages} "$agent/var" /var/tmp \
        "$agent/etc/host.GUID" "$agent/var/qdn-client.log" /etc/init.d/zorvane | expect_errors
    expect_plain_files "$theirs/etc/client.conf"
}

@test "a link in another user's install directory leads a clean nowhere" {
    given_somebodys_agent 6.2
    given_treasure
    rm -rf "$theirs/var/swd"
    ln -s /root/treasure/below "$theirs/var/swd"
    made_theirs /home/alice "$theirs/var"
    clean "$theirs"
    expect_status 0
    { expect_kept_outside /usr/bin /etc/ssh /home/bob/jobs /var/tmp /home/bob/jobs/host.GUID /home/bob/agent.log /etc/init.d/zorvane
        echo "WARNING! $theirs/var/swd is not used: $theirs/var belongs to another user."
        echo "WARNING! $theirs/etc/client.conf is kept: not everything could be removed."; } | expect_errors
    clean "$theirs"
    expect_missing "$theirs"
    expect_no_changes
    expect_treasure
}

each_test_is_a_session
