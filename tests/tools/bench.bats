# How the benchmarks judge: bench/table.bash, with a stand-in for the program that takes the time.

setup() {
    # shellcheck source=bench/table.bash
    source "$BATS_TEST_DIRNAME/../../bench/table.bash"
    binaries=$BATS_TEST_TMPDIR/bin
    work=$BATS_TEST_TMPDIR/work
    mkdir "$binaries" "$work"
    printf '#!/bin/sh\ncat %s/times\n' "$work" >"$binaries/paired"
    chmod +x "$binaries/paired"
}

# times OURS THEIRS CPU-RATIO NAME: what the stand-in tells, of two commands.
times() {
    printf '%s\t%s\t%s\t%s\t%s\t%s\n' ours "$1" "$1" 4.2 1 1 \
        "$4" "$2" "$2" 2.1 "$(awk "BEGIN { print $1 / $2 }")" "$3" >"$work/times"
}

# The last column of the rows that a comparison makes.
verdict() { compare work 10 1 | sed 's/.*| *//'; }

@test "a row shows both times, both memories and both ratios" {
    times 12 10 0.9 "limit: other@1.3"
    run compare work 10 1
    [ "$(tr -s ' ' <<<"$output")" = "work 10 | 12.00 4.2 | limit: other 10.00 2.1 | 1.200 0.900 | 1.3 ok" ]
}

@test "a ratio may be what its row allows, and no more" {
    times 13 10 9 "limit: other@1.3"
    [ "$(verdict)" = "1.3 ok" ]
    times 13.01 10 9 "limit: other@1.3"
    [ "$(verdict)" = "1.3 MISSED" ]
}

@test "where the processor time is judged, too, neither may be more" {
    times 10 10 1.0 "limit: other@1.0,1.0"
    [ "$(verdict)" = "1.0,1.0 ok" ]
    times 10 10 1.01 "limit: other@1.0,1.0"
    [ "$(verdict)" = "1.0,1.0 MISSED" ]
    times 11 10 1.0 "limit: other@1.0,1.0"
    [ "$(verdict)" = "1.0,1.0 MISSED" ]
}

@test "a row without a limit is not judged" {
    times 1000 1 1000 "peer: other"
    [ "$(verdict)" = "" ]
}

# growth_of TIMES-OF-LARGER-SIZE...: ours and the limit's, after 1 ms each at the size of 10.
growth_of() {
    local size=10
    times 1 1 1 "limit: other"
    compare work 10 1 >/dev/null
    while [ $# -gt 0 ]; do
        size=$((size * 10))
        times "$1" "$2" 1 "limit: other"
        compare work "$size" 1 >/dev/null
        shift 2
    done
    growth work
}

@test "time may grow as the limit's does, and a quarter more" {
    [ "$(growth_of 10 8 100 80 | tr -s ' ')" = \
        "work sizes 10 100 1000: ours grows x10.0 x10.0, the limit x8.0 x10.0 | at worst 1.25 times the limit | 1.25 ok" ]
    [ "$(growth_of 10 10 130 100 | sed 's/.*| //')" = "1.25 MISSED" ]
}

@test "the table's files stay where they belong" {
    cd "$work"
    growth_of 10 10 >/dev/null
    [ "$(find . -type f | sort | tr '\n' ' ')" = "./paired ./times " ]
}

@test "nothing is measured on the real machine" {
    unset PRIVATE_MACHINE_CHANGES
    run prepare
    [ "$status" -ne 0 ]
    [[ $output == *"use script/bench"* ]]
}

@test "another work is refused before anything is built" {
    run "$BATS_TEST_DIRNAME/../../script/bench" fun
    [ "$status" -eq 2 ]
    [[ $output == *"script/bench [--quick] [--size N] [WORK ...]"* ]]
}
