# Previews and -status, disturbed on their way: a sample of the points that script/test-faults tries.

disturbed_by() { "$BATS_TEST_DIRNAME/sweep" "$1" "$2" --sample "$3"; }

@test "a preview that is killed leaves the host as it was" { disturbed_by preview kill 12; }
@test "a preview that meets an error changes nothing, and shows all or says so" { disturbed_by preview EIO 20; }
@test "a preview of an upgrade without memory for its copy says so" { disturbed_by preview_upgrade ENOSPC 10; }
@test "a status that meets an error tells nothing wrong" { disturbed_by status EIO 20; disturbed_by status EMFILE 20; }
