# A first configuration that is disturbed on its way: a sample of the points that script/test-faults tries all of.

disturbed_by() { "$BATS_TEST_DIRNAME/sweep" fresh "$1" --sample "$2"; }

@test "killed, it leaves nothing that the next run does not put right" { disturbed_by kill 50; }
@test "a full disk is reported, or does not matter" { disturbed_by ENOSPC 20; }
@test "an error of a device is reported, or does not matter" { disturbed_by EIO 20; }
@test "an interrupted call is made again" { disturbed_by EINTR 20; }
@test "too many open files are reported, or do not matter" { disturbed_by EMFILE 20; }
