# The list of branches that no test takes, against measurements that are written here.

setup() {
    cd "$BATS_TEST_TMPDIR" || return
    printf '%s\n' "if (a) b();" "    return Result::FromErrno();" "switch (c) {" >one.cpp
    printf '%s\n' "return Result::FromErrno();" >two.cpp
    measure one.cpp 1:4:0 2:0:1 >files
    measure two.cpp 1:0:7 >>files
}

# measure FILE LINE:COUNT:COUNT ...: a file as gcovr measured it, with two branches in each line.
measure() {
    local line number first second lines=()
    for line in "${@:2}"; do
        IFS=: read -r number first second <<<"$line"
        lines+=("{\"line_number\": $number, \"count\": $((first + second)), \"gcovr/noncode\": false, \"branches\": [{\"count\": $first}, {\"count\": $second}]}")
    done
    (IFS=, && echo "{\"file\": \"$1\", \"lines\": [${lines[*]}]}")
}

compare() {
    echo "{\"files\": [$(paste -s -d , files)]}" >report.json
    cat >known
    run "$BATS_TEST_DIRNAME/../coverage/untaken.py" report.json known
}

@test "a line that has a branch not taken, and is not listed, is told" {
    compare <<'END'
[memory] there is always enough of it
one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [ "$output" = "one.cpp: return Result::FromErrno();
two.cpp: return Result::FromErrno();
Lines not run: 0; branches not taken: 3, in 3 lines, of which 2 are not listed; 0 of the list are none any more" ]
}

@test "a list with every line, by its text or by a pattern, is right" {
    compare <<'END'
# what is reviewed
[memory] there is always enough of it
one.cpp: if (a) b();
[kernel] none of those that are tested refuses it
*: /^return Result::FromErrno/
END
    echo "$output"
    [ "$status" -eq 0 ]
    [ "$output" = "Lines not run: 0; branches not taken: 3, in 3 lines, of which 0 are not listed; 0 of the list are none any more" ]
}

@test "a line that is listed, and has all its branches taken, is told" {
    measure one.cpp 1:4:1 2:0:1 >files
    compare <<'END'
[memory] there is always enough of it
one.cpp: if (a) b();
one.cpp: return Result::FromErrno();
END
    [ "$status" -eq 1 ]
    [ "${lines[0]}" = "[memory] one.cpp: if (a) b();: has no such branch any more" ]
}

@test "a line that was not run is told" {
    measure one.cpp 1:0:0 >files
    compare <<'END'
[memory] there is always enough of it
one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [[ $output == "Lines not run: 1; "* ]]
}

@test "a kind without a reason is refused" {
    compare <<'END'
[memory]
one.cpp: if (a) b();
END
    [ "$status" -eq 1 ]
    [ "$output" = "known: the kind memory has no reason" ]
}
