# Small file systems for the agent, or for the place that it moves to, and what fills them up.
# shellcheck disable=SC2154 # a session says where things are

# given_a_disk DIRECTORY KIND: a file system of its own. One of ext4 needs root.
given_a_disk() {
    disk=$1
    mkdir -p "$disk"
    case $2 in
        tmpfs) mount -t tmpfs -o size=6m tmpfs "$disk" ;;
        inodes) mount -t tmpfs -o nr_inodes=300 tmpfs "$disk" ;;
        ext4)
            rm -f "$desk/image"
            truncate -s 12M "$desk/image"
            mkfs.ext4 -q -F -b 1024 -m 0 -N 512 -J size=1 "$desk/image"
            mount -o loop "$desk/image" "$disk"
            ;;
    esac
}

# fill_but KIND LEFT: so many kilobytes or inodes are left.
fill_but() {
    local blocks inodes try
    mkdir "$disk/filling"
    for try in 1 2 3; do
        sync -f "$disk"
        read -r blocks inodes < <(df --output=avail,iavail -k "$disk" | tail -n1)
        case $1 in
            inodes) [ "$inodes" -le "$2" ] || (cd "$disk/filling" && seq -f "$try.%g" $((inodes - $2)) | xargs -r touch) ;;
            *) [ "$blocks" -le "$2" ] || head -c $(((blocks - $2) * 1024)) /dev/zero >"$disk/filling/$try" 2>/dev/null || true ;;
        esac
    done
}

# --- The stories: each says where the agent was, where it will be, and which command changes that

given_fresh() {
    new=$agent old=
    given_a_disk "${agent%/*}" "$1"
    given_the_package
    given_plain_xml
    command=(-configure -noimode)
}

given_upgrade() {
    export QDN_INSTALL_AUTOSTART=no
    old=$agent new=$3
    given_a_disk "$4" "$1"
    [ "$4" = "${agent%/*}" ] || mkdir -p "${agent%/*}"
    given_an_old_agent "$2" "$old"
    given_data
    given_the_package "$new"
    bring_a_tool rpm "echo $new/etc/client.proto" # by which the next run finds what this one has made elsewhere
    command=(-configure -noimode -dir "$new")
}

given_in_place() { given_upgrade "$1" 6.2 "$agent" "${agent%/*}"; }
given_in_place_56() { given_upgrade "$1" 5.6 "$agent" "${agent%/*}"; }
given_another_directory() { given_upgrade "$1" 6.0SP2 "${agent%/*}/another" "${agent%/*}"; }
given_another_disk() { given_upgrade "$1" 6.0SP2 "$elsewhere" "${elsewhere%/*}"; }

given_clean() {
    given_in_place "$1"
    new=
    command=(-clean "$agent")
}

# What takes room where the agent moves to, besides what every old agent has.
given_data() {
    local store number
    : >"$desk/data"
    for store in queue tasks swd; do
        [ -d "$old/var/$store" ] || continue
        for number in 1 2 3 4; do
            content_of "$number" >"$old/var/$store/data.$number"
            echo "var/$store/data.$number $number" >>"$desk/data"
        done
    done
}

content_of() { printf '%03000d' "$1"; }

# --- What holds

# on_every_disk STORY KIND LEFT ...: the story's run with so many kilobytes or inodes left, and the next one with more
# again. With "all" for the amounts, all of them up to what the run needs.
on_every_disk() {
    local story=$1 kind=$2 left amounts=("${@:3}") needed=
    [ "$3" != all ] || mapfile -t amounts < <(if [ "$kind" = inodes ]; then seq 0 60; else seq 0 4 400; fi)
    for left in "${amounts[@]}"; do
        forget_what_was
        "given_$story" "$kind"
        fill_but "$kind" "$left"
        qdn_configure "${command[@]}"
        expect_nothing_lost "$left"
        rm -rf "$disk/filling"
        if [ "$status" -eq 0 ] && [ ! -s "$desk/err" ]; then
            needed=$left
        else
            [ "$story" != fresh ] || given_plain_xml
            qdn_configure "${command[@]}"
            expect_all_done "with $left left, then more"
        fi
        umount "$disk"
        [ "$3" != all ] || [ -z "$needed" ] || return 0
    done
    [ "$3" != all ] || fail "no run came to its end by itself"
}

forget_what_was() {
    rm -rf "${agent%/*}" /opt/elsewhere /etc/init.d/zorvane /etc/rc[0-6].d/*zorvane /usr/bin/qdn-* /tmp/ksclt "/tmp/$xml"
    mkdir -p "${agent%/*}"
}

# The run has done everything, or says what it has not done; whatever it says, values, identifier and data are there.
expect_nothing_lost() {
    [ "$status" -le 1 ] || fail "status $status with $1 left"
    [ "$status" -eq 0 ] || grep -q '^ERROR: .' "$desk/err" || fail "status 1 without a word, with $1 left"
    if [ "$status" -eq 0 ] && [ ! -s "$desk/err" ]; then
        expect_all_done "with $1 left"
    elif [ ${#new} -gt 0 ] && [ ${#old} -gt 0 ]; then
        expect_values "with $1 left"
        expect_data "with $1 left" "$old" "$new"
        [ "$status" -eq 1 ] || expect_undone_is_told "$1"
    elif [ -z "$new" ]; then
        [ ! -e "$agent" ] || [ -e "$agent/etc/client.conf" ] || fail "nothing leads to what is left, with $1 left"
    fi
}

# One of the places in which the next run looks has all values, and one has the identifier.
expect_values() {
    local conf
    for conf in {"$old","$new"}/etc/client.conf{,.old}; do
        [ ! -e "$conf" ] || ! grep -q '^SerialNumber *= *SN = 12  34$' "$conf" || break
        conf=
    done
    [ -n "$conf" ] || fail "no configuration has the old values, $1"
    grep -qs '^{0A1B2C3D-0000-1111-2222-333344445555}' {"$old","$new"}/etc/host.GUID || fail "no identifier, $1"
}

# expect_data WHEN DIRECTORY ...: each file of it is whole in one of them.
expect_data() {
    local file number place
    while read -r file number; do
        for place in "${@:2}" ""; do
            [ -n "$place" ] || fail "$file is lost, $1"
            ! cmp -s "$place/$file" <(content_of "$number") || break
        done
    done <"$desk/data"
}

# Data that has stayed behind, a tree that has stayed.
expect_undone_is_told() {
    local file
    [ "$old" != "$new" ] || return 0
    while read -r file _; do
        [ ! -e "$old/$file" ] || grep -q "^WARNING! $old/var.* is kept: " "$desk/err" || fail "$file stays, and nobody is told, with $1 left"
    done <"$desk/data"
    [ ! -e "$old" ] || grep -q "^WARNING! $old is kept: " "$desk/err" || fail "$old stays, and nobody is told, with $1 left"
}

# The run ended well, left nothing half made, and all that was to be done is.
expect_all_done() {
    { expect_status 0 && expect_no_errors; } || fail "not all is done, $1"
    if [ -n "$new" ]; then
        expect_value Configuration installdir "$new" "$new/etc/client.conf"
        grep -q '^agent_build' "$new/etc/client.conf" || fail "client.conf is not whole, $1"
        [ ! -e "$new/etc/.unmoved" ] || fail "data has still to be moved, $1"
    fi
    if [ -n "$old" ] && [ -n "$new" ]; then
        expect_value "Client Details" SerialNumber "SN = 12  34" "$new/etc/client.conf"
        expect_data "$1" "$new"
        grep -q '^{0A1B2C3D-0000-1111-2222-333344445555}' "$new/etc/host.GUID" || fail "no identifier, $1"
        [ "$old" = "$new" ] || expect_missing "$old"
    fi
    [ -n "$new" ] || expect_missing "$agent"
    [ -z "$(find /opt /tmp /etc -name '*.unfinished' -o -name '.qdn-configure.*')" ] || fail "something half made stays, $1"
}

# bring_a_tool NAME COMMAND: a tool of the host's that does something else.
bring_a_tool() {
    printf '#!/bin/sh\n%s\n' "$2" >"/usr/sbin/$1"
    chmod 755 "/usr/sbin/$1"
}
