# A clean, and what -apply does, disturbed on their way: a sample of the points that script/test-faults tries all of.

disturbed_by() { "$BATS_TEST_DIRNAME/sweep" "$1" "$2" --sample "$3"; }

@test "a clean that is killed is continued" { disturbed_by clean kill 40; }
@test "an -apply that is killed is put back, or had come to its end" { disturbed_by apply kill 12; }
@test "an -apply that fails half-way and is killed is put back" { disturbed_by apply_failing kill 8; }
@test "a clean by -apply that is killed is put back, or had come to its end" { disturbed_by apply_clean kill 8; }
@test "a clean that fails can be repeated" { disturbed_by clean EIO 20; disturbed_by clean EMFILE 20; }
