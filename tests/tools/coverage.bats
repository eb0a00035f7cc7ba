# The report on what the tests have run, from measurements that are written here.

setup() {
    cd "$BATS_TEST_TMPDIR" || return
    mkdir app run
    printf '%s\n' "if (a) b();" "    return Result::FromErrno();" "switch (c) {" >app/one.cpp
    printf '%s\n' "return Result::FromErrno();" >run/two.cpp
    measure app/one.cpp 1:4:0 2:0:1 >files
    measure run/two.cpp 1:0:7 >>files
}

# measure FILE LINE:TRUE:FALSE ...: a file as llvm-cov tells of it, with one condition in each line, its fifth letter.
measure() {
    local line number if_true if_false branches=()
    {
        echo "SF:$PWD/$1"
        for line in "${@:2}"; do
            IFS=: read -r number if_true if_false <<<"$line"
            echo "DA:$number,$((if_true + if_false))"
        done
        echo end_of_record
    } >>lines
    for line in "${@:2}"; do
        IFS=: read -r number if_true if_false <<<"$line"
        branches+=("[$number,5,$number,6,$if_true,$if_false,0,0,4]")
    done
    (IFS=, && echo "{\"filename\": \"$PWD/$1\", \"branches\": [${branches[*]}]}")
}

compare() {
    echo "{\"data\": [{\"files\": [$(paste -s -d , files)]}]}" >report.json
    cat >known
    run "$BATS_TEST_DIRNAME/../coverage/report.py" lines report.json known run app
}

@test "the table has a row for each folder, and shares that are never rounded up" {
    compare <<'END'
[memory] there is always enough of it
*: /./
END
    [ "$status" -eq 0 ]
    [ "$(head -n 4 <<<"$output")" = "folder             lines run                   branches taken
run               1 of      1  100.00 %        1 of      2   50.00 %
app               2 of      2  100.00 %        2 of      4   50.00 %
all               3 of      3  100.00 %        3 of      6   50.00 %" ]
}

@test "the functions that are made from one template count as one" {
    : >lines
    measure app/one.cpp 1:4:0 1:0:3 >files
    compare <<<"[memory] there is always enough of it"
    [ "$status" -eq 0 ]
    [[ $output == *"branches not taken: 0; "* ]]
}

@test "a branch that is not taken, and not listed, is told with its condition" {
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: a is never false
END
    [ "$status" -eq 1 ]
    [ "$(tail -n +5 <<<"$output")" = "app/one.cpp:2: r is never true
run/two.cpp:1: r is never true
Lines not run: 0, branches not taken: 3; 2 of these are not listed, 0 of the list lack nothing any more" ]
}

@test "one branch that is listed does not excuse the other" {
    : >lines
    measure app/one.cpp 1:4:0 3:0:0 >files
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: a is never true
app/one.cpp: switch (c) { is never run
app/one.cpp: c is never true
END
    [ "$status" -eq 1 ]
    [ "$(tail -n +5 <<<"$output")" = "app/one.cpp:1: a is never false
app/one.cpp:3: c is never false
[memory] app/one.cpp: a is never true: lacks nothing any more
Lines not run: 1, branches not taken: 3; 2 of these are not listed, 1 of the list lack nothing any more" ]
}

@test "a condition is told in one line" {
    printf '%s\n' "return one &&" "       two;" >app/one.cpp
    : >lines
    echo "{\"filename\": \"$PWD/app/one.cpp\", \"branches\": [[1,8,2,11,3,0,0,0,4]]}" >files
    printf '%s\n' "SF:$PWD/app/one.cpp" DA:1,3 DA:2,3 end_of_record >lines
    compare <<<"[memory] there is always enough of it"
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "app/one.cpp:1: one && two is never false" ]
}

@test "a list with every branch, by its text or by a pattern, is right" {
    compare <<'END'
# what is reviewed
[memory] there is always enough of it
app/one.cpp: a is never false
[kernel] none of those that are tested refuses it
*: /^r is never/
END
    [ "$status" -eq 0 ]
    [ "$(tail -n 1 <<<"$output")" = "Lines not run: 0, branches not taken: 3; 0 of these are not listed, 0 of the list lack nothing any more" ]
}

@test "a branch that is listed, and is taken, is told" {
    : >lines
    measure app/one.cpp 1:4:1 2:0:1 >files
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: a is never false
app/one.cpp: r is never true
END
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "[memory] app/one.cpp: a is never false: lacks nothing any more" ]
}

@test "a line that was not run is told, but not when it is listed" {
    : >lines
    measure app/one.cpp 1:0:0 2:0:0 >files
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: if (a) b(); is never run
app/one.cpp: /^[ar] is never (true|false)$/
END
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "app/one.cpp:2: return Result::FromErrno(); is never run" ]
    [[ ${lines[5]} == "Lines not run: 2, branches not taken: 4; 1 of these are not listed, "* ]]
}

@test "a kind without a reason is refused" {
    compare <<'END'
[memory]
app/one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "known: the kind memory has no reason" ]
}
