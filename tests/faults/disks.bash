# A small file system of its own below the agent, and what fills it up.

# given_a_disk OPTION: a file system for the agent.
given_a_disk() {
    mkdir -p "$agent"
    mount -t tmpfs -o "$1" tmpfs "$agent"
}

given_fresh() {
    given_the_package
    given_plain_xml
    : >"$desk/old.conf"
}

given_upgrade() {
    export QDN_INSTALL_AUTOSTART=no
    given_an_old_agent 6.0SP2
    given_the_package
    cp "$agent/etc/client.conf" "$desk/old.conf"
}

# on_every_disk KIND OPTION LEFT ...: a run of that kind with so many kilobytes or inodes left, and the next one with
# more again.
on_every_disk() {
    local kind=$1 option=$2 left
    for left in "${@:3}"; do
        given_a_disk "$option"
        "given_$kind"
        fill_but "$option" "$left"
        qdn_configure -configure -noimode
        expect_nothing_damaged "$left"
        rm -rf "$agent/filling"
        [ "$kind" = upgrade ] || given_plain_xml
        expect_put_right
        umount "$agent"
        rm -f /etc/rc?.d/[SK]??zorvane
    done
}

fill_but() {
    local blocks inodes
    mkdir "$agent/filling"
    read -r blocks inodes < <(df --output=avail,iavail -k "$agent" | tail -n1)
    case $1 in
        size=*) head -c $(((blocks - $2) * 1024)) /dev/zero >"$agent/filling/zeros" ;;
        *) (cd "$agent/filling" && seq $((inodes - $2)) | xargs -r touch) ;;
    esac
}

expect_nothing_damaged() {
    [ "$status" -eq 0 ] || grep -q '^ERROR: .' "$desk/err" || fail "status $status without a word, with $1 left"
    [ "$status" -eq 1 ] || [ "$status" -eq 0 ] || fail "status $status with $1 left"
    if [ "$status" -eq 0 ]; then
        grep -q '^agent_build' "$agent/etc/client.conf"
    elif [ -e "$agent/etc/client.conf" ]; then
        cmp -s "$agent/etc/client.conf" "$desk/old.conf" || expect_whole "$agent/etc/client.conf"
    fi
}

# The last section of the template and the settings that come last are there.
expect_whole() { expect_value Configuration installdir "$agent" "$1"; }

# The next run ends well, leaves nothing half made, and has every value of the old configuration.
expect_put_right() {
    qdn_configure -configure -noimode
    expect_status 0
    expect_whole "$agent/etc/client.conf"
    [ ! -s "$desk/old.conf" ] || expect_value "Client Details" SerialNumber "SN = 12  34"
    [ -z "$(find /opt /tmp /etc -name '*.unfinished' -o -name '.qdn-configure.*')" ] || fail "something half made stays"
}

# bring_a_tool NAME COMMAND: a tool of the host's that does something else.
bring_a_tool() {
    printf '#!/bin/sh\n%s\n' "$2" >"/usr/sbin/$1"
    chmod 755 "/usr/sbin/$1"
}
