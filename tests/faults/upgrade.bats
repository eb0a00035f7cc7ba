# Upgrades that are disturbed on their way: a sample of the points that script/test-faults tries all of.

disturbed_by() { "$BATS_TEST_DIRNAME/sweep" "$1" "$2" --sample "$3"; }

@test "an upgrade in place that is killed is continued" { disturbed_by in_place kill 40; }
@test "an upgrade of 5.6 that is killed is continued" { disturbed_by in_place_56 kill 30; }
@test "an upgrade to another disk that is killed is continued" { disturbed_by elsewhere kill 20; }
@test "an upgrade to another directory of the disk that is killed is continued" { disturbed_by beside kill 20; }
@test "an upgrade that is denied something reports it" { disturbed_by in_place EACCES 20; }
@test "an upgrade of 5.6 that meets a full disk does all of it, or is repeated" { disturbed_by in_place_56 ENOSPC 20; }
@test "an upgrade to another disk loses nothing to errors of a device" { disturbed_by elsewhere EIO 20; }
