# A first configuration that is disturbed on its way: a sample of the points that script/test-faults tries all of.

undisturbed_by() { "$BATS_TEST_DIRNAME/sweep" fresh "$1" --sample "$2"; }

@test "being killed leaves nothing that the next run does not put right" {
    undisturbed_by kill 50
}
