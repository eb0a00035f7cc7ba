# The report on what the tests have run, from measurements that are written here.

setup() {
    cd "$BATS_TEST_TMPDIR" || return
    mkdir app run
    printf '%s\n' "if (a) b();" "    return Result::FromErrno();" "switch (c) {" >app/one.cpp
    printf '%s\n' "return Result::FromErrno();" >run/two.cpp
    measure app/one.cpp 1:4:0 2:0:1 >files
    measure run/two.cpp 1:0:7 >>files
}

# measure FILE LINE:TRUE:FALSE ...: a file as llvm-cov tells of it, with one condition in each line.
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
    [[ $output == *"with branches not taken: 0, "* ]]
}

@test "a line that has a branch not taken, and is not listed, is told" {
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [ "$(tail -n +5 <<<"$output")" = "app/one.cpp: return Result::FromErrno();
run/two.cpp: return Result::FromErrno();
Lines not run: 0, of which 0 are not listed; with branches not taken: 3, of which 2 are not listed; 0 of the list lack nothing any more" ]
}

@test "a list with every line, by its text or by a pattern, is right" {
    compare <<'END'
# what is reviewed
[memory] there is always enough of it
app/one.cpp: if (a) b();
[kernel] none of those that are tested refuses it
*: /^return Result::FromErrno/
END
    [ "$status" -eq 0 ]
    [ "$(tail -n 1 <<<"$output")" = "Lines not run: 0, of which 0 are not listed; with branches not taken: 3, of which 0 are not listed; 0 of the list lack nothing any more" ]
}

@test "a line that is listed, and has all its branches taken, is told" {
    : >lines
    measure app/one.cpp 1:4:1 2:0:1 >files
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: if (a) b();
app/one.cpp: return Result::FromErrno();
END
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "[memory] app/one.cpp: if (a) b();: lacks nothing any more" ]
}

@test "a line that was not run is told, but not when it is listed" {
    : >lines
    measure app/one.cpp 1:0:0 2:0:0 >files
    compare <<'END'
[memory] there is always enough of it
app/one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "not run: app/one.cpp:2: return Result::FromErrno();" ]
    [[ ${lines[6]} == "Lines not run: 2, of which 1 are not listed; "* ]]
}

@test "a kind without a reason is refused" {
    compare <<'END'
[memory]
app/one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [ "${lines[4]}" = "known: the kind memory has no reason" ]
}
