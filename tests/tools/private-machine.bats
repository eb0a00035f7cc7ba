# The private copy of the machine that all tests run in: what is written there stays there.
# shellcheck disable=SC2016 # scripts in single quotes are expanded inside

setup() {
    machine=$BATS_TEST_DIRNAME/../support/private-machine
}

@test "what is written inside is not there outside, and shows as a change" {
    run "$machine" bash -c '
        for directory in /etc /usr/bin /usr/local/bin /var/lib /var/log /opt /root /tmp /var/tmp /run /dev/shm; do
            echo inside >"$directory/private-machine-test" || exit 1
        done
        cd "$PRIVATE_MACHINE_CHANGES" && find . -name private-machine-test | sort'
    [ "$status" -eq 0 ]
    [ "$output" = "./etc/private-machine-test
./usr/bin/private-machine-test
./usr/local/bin/private-machine-test
./var/lib/private-machine-test
./var/log/private-machine-test" ]
    for directory in /etc /usr/bin /usr/local/bin /var/lib /var/log /opt /root /tmp /var/tmp /run /dev/shm; do
        [ ! -e "$directory/private-machine-test" ]
    done
}

@test "files of the host can be replaced and removed inside" {
    run "$machine" bash -e -c '
        rm -r /etc/init.d && mkdir /etc/init.d && rmdir /etc/init.d
        echo changed >/etc/passwd && rm /etc/passwd
        rm /usr/bin/env && [ ! -e /usr/bin/env ]'
    [ "$status" -eq 0 ]
    [ -s /etc/passwd ]
    [ -d /etc/init.d ]
    [ -x /usr/bin/env ]
}

# Runs a script as root among empty file systems of our own, whose places are its arguments; $0 is the machine.
among_scratch_file_systems() {
    local as_root=()
    [ "$(id -u)" -eq 0 ] || as_root=(--user --map-root-user)
    run unshare "${as_root[@]}" --mount --propagation private bash -e -c '
        for directory in /home /opt /srv /var/tmp /usr/local /etc/init.d /run /tmp; do
            [[ $0 != $directory/* ]] || continue # the project itself is there
            mount -t tmpfs -o mode=1777 tmpfs "$directory"
            set -- "$@" "$directory"
        done
        '"$1" "$machine"
}

@test "homes and the rest of the host are read-only, whatever file system they are on" {
    among_scratch_file_systems '
        mkdir -m 777 /home/someone
        "$0" bash -c "for directory in /home/someone /srv /boot /; do
            touch \$directory/x 2>/dev/null && echo \$directory; done; true"'
    [ "$status" -eq 0 ]
    [ "$output" = "" ]
}

@test "the project can be anywhere" {
    among_scratch_file_systems '
        for place; do
            directory=$place/some/where
            mkdir -p "$directory/tests/support"
            cp "$0" "$directory/tests/support/"
            cd "$directory"
            tests/support/private-machine bash -e -c "
                [ \"\$PWD\" = \"\$0\" ]
                [ -x tests/support/private-machine ]
                touch built /tmp/scratch /opt/scratch /etc/scratch /run/scratch" "$directory"
            [ -e built ]
            for scratch in /tmp/scratch /opt/scratch /etc/scratch /run/scratch; do [ ! -e "$scratch" ]; done
            echo "$place"
        done'
    [ "$status" -eq 0 ]
    [ "${#lines[@]}" -ge 7 ]
}

@test "the command is root, its status comes back and its standard input is the caller's" {
    run "$machine" bash -c 'id -u; cat; exit 42' <<<"typed"
    [ "$status" -eq 42 ]
    [ "$output" = "0
typed" ]
    run "$machine" bash -c 'kill -TERM $$'
    [ "$status" -eq 143 ]
}

@test "the caller's temporary directory and sudo's traces are not handed on" {
    TMPDIR=/nowhere SUDO_UID=4711 SUDO_GID=4711 SUDO_USER=joe run "$machine" bash -c '
        mktemp; echo "${TMPDIR:-}${SUDO_UID:-}${SUDO_GID:-}${SUDO_USER:-}"'
    [ "$status" -eq 0 ]
    [[ ${lines[0]} == /tmp/* ]]
    [ "${#lines[@]}" -eq 1 ]
}

@test "a short search path is enough" {
    PATH=/usr/bin:/bin run "$machine" bash -c 'command -v mount insserv update-rc.d >/dev/null'
    [ "$status" -eq 0 ]
}

@test "what the command leaves running ends with it, and orphans are reaped" {
    run "$machine" bash -c '
        orphan=$(bash -c "true & echo \$!")
        timeout 10 bash -c "while [ -e /proc/$orphan ]; do :; done" || echo "a zombie"
        sleep 4711 >/dev/null 2>&1 &
        timeout 10 bash -c "until pgrep -f ^sleep.4711; do :; done" >/dev/null && echo running'
    [ "$output" = running ]
    run pgrep -f '^sleep 4711'
    [ "$status" -eq 1 ]
}

@test "a command that takes too long is killed, and so is what it has started" {
    PRIVATE_MACHINE_SECONDS=1 run "$machine" sh -c 'sleep 4321 & sleep 4321'
    [ "$status" -eq 137 ]
    run pgrep -f '^sleep 4321$'
    [ "$status" -eq 1 ]
}

@test "without a command it tells how to call it" {
    run "$machine"
    [ "$status" -eq 2 ]
    [[ $output == *"tests/support/private-machine COMMAND [ARGUMENT ...]"* ]]
}
