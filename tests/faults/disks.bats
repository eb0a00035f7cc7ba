# File systems that fill up or turn read-only under a run: it says so, nothing that was there is damaged, and the next
# run puts everything right.
load ../scenarios/support
load ../scenarios/old-agent
load disks

@test "a first configuration survives a disk without space, however much is left" {
    on_every_disk fresh size=6m 0 4 8 16 24 32 48 64 96
}

@test "an upgrade survives a disk without space, however much is left" {
    on_every_disk upgrade size=6m 0 4 8 16 24 32 48 64 96
}

@test "a first configuration survives a disk without inodes, however many are left" {
    on_every_disk fresh nr_inodes=200 0 1 2 3 5 8 13 21
}

@test "an upgrade survives a disk without inodes, however many are left" {
    on_every_disk upgrade nr_inodes=200 0 1 2 3 5 8 13 21
}

@test "an upgrade survives a disk that turns read-only in the middle" {
    given_a_disk size=16m
    given_upgrade
    # Called when the old agent's service is taken away, and when the new one's is set up.
    bring_a_tool chkconfig "mount -o remount,ro $agent"
    qdn_configure -configure -noimode
    expect_status 1
    grep -q '^ERROR: .' "$desk/err"
    expect_file "$agent/etc/client.conf" <"$desk/old.conf"
    rm /usr/sbin/chkconfig
    mount -o remount,rw "$agent"
    expect_put_right
}

each_test_is_a_session
