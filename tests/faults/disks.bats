# File systems that fill up or turn read-only under a run: it says so, nothing that was there is lost, and the next run
# does the rest. A few amounts of room; QDN_ALL_DISKS=yes bats tests/faults/disks.bats takes 0, 4, 8 ... kilobytes up to
# what a run needs, on tmpfs and, which needs root, on ext4.
load ../scenarios/support
load ../scenarios/old-agent
load disks

# on_disks STORY LEFT ...
on_disks() {
    local kind
    if [ -z "${QDN_ALL_DISKS:-}" ]; then
        on_every_disk "$1" tmpfs "${@:2}"
    else
        for kind in tmpfs ext4 inodes; do on_every_disk "$1" "$kind" all; done
    fi
}

@test "a first configuration survives a disk without room, however much is left" { on_disks fresh 0 8 24 48; }
@test "an upgrade in place survives a disk without room, however much is left" { on_disks in_place 0 8 24 48; }
@test "an upgrade of 5.6 in place survives a disk without room, however much is left" { on_disks in_place_56 0 24; }
@test "an upgrade to another directory survives a disk without room, however much is left" {
    on_disks another_directory 0 8 24 48
}
@test "an upgrade to another disk survives one without room, however much is left" { on_disks another_disk 0 16 48 80; }
@test "a clean survives a disk without room" { on_disks clean 0; }
@test "a first configuration survives a disk without inodes" { on_every_disk fresh inodes 0 2 8; }
@test "an upgrade to another disk survives one without inodes" { on_every_disk another_disk inodes 0 2 8 21; }

@test "an upgrade survives a disk that turns read-only in the middle" {
    given_in_place tmpfs
    cp "$agent/etc/client.conf" "$desk/old.conf"
    # Called when the old agent's service is taken away, and when the new one's is set up.
    bring_a_tool chkconfig "mount -o remount,ro $disk"
    qdn_configure -configure -noimode
    expect_status 1
    grep -q '^ERROR: .' "$desk/err"
    expect_file "$agent/etc/client.conf" <"$desk/old.conf"
    rm /usr/sbin/chkconfig
    mount -o remount,rw "$disk"
    qdn_configure -configure -noimode
    expect_all_done "after it could be written to again"
}

each_test_is_a_session
