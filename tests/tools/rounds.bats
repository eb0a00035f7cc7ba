# How many lives are lived and counted, with a stand-in for them.

setup() {
    root=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)
    cd "$BATS_TEST_TMPDIR" || exit
    mkdir -p script tests/rounds tests/faults tests/scenarios tests/support package build/release bin
    cp "$root/script/test-rounds" "$root/script/common.bash" "$root/script/resumed.bash" script
    printf '#!/bin/sh\n' | tee script/setup >script/build
    : | tee build/release/qdn-configure.bin >tests/scenarios/session.bash
    cat >bin/bats <<'END'
#!/bin/sh
echo "$SEED" >>calls
echo "1..1"
if grep -qx "$SEED" bad; then echo "not ok 1 it broke"; exit 1; fi
printf '# %s\n' "$LIVES lives" "70 killed" "20 ended" "${CUTS:-25} cuts"
echo "ok 1 it held"
END
    chmod 0755 script/* bin/bats
    : >bad
}

# again OPTION ...: how often hosts lived, and the last line.
again() {
    rm -f calls
    PATH=$BATS_TEST_TMPDIR/bin:$PATH run script/test-rounds "$@"
    result="$(wc -l <calls 2>/dev/null || echo none); ${lines[-1]}"
}

@test "hosts live in rows of 25, each life with a seed of its own" {
    again 60
    [ "$status" -eq 0 ]
    [ "$result" = "3; Total: 75 lives, 210 runs killed, 60 ended by a signal, 75 cuts of the power, all held" ]
    [ "$(sort -n calls | awk 'NR > 1 { print $1 - last } { last = $1 }' | sort -u)" = 25 ]
    again
    [ "$result" = "20; Total: 500 lives, 1400 runs killed, 400 ended by a signal, 500 cuts of the power, all held" ]
}

@test "a row that has not held is shown, and lived again with its seed by a call that resumes" {
    again 75
    seed=$(head -n 1 calls)
    echo "$seed" >bad
    rm "build/rounds/$seed"
    again --resume 75
    [ "$status" -eq 0 ] # another row takes the place of one that nobody knows of
    mv "build/rounds/$(cat calls)" "build/rounds/$seed"
    echo "broken off" >>"build/rounds/$seed"
    again --resume 75
    [ "$status" -eq 1 ]
    [ "$(cat calls)" = "$seed" ]
    [[ $output == *"not ok 1 it broke"* ]]
    [ "$result" = "1; Total: 50 lives, 140 runs killed, 40 ended by a signal, 50 cuts of the power, not all held; 50 lives by an earlier call" ]
    : >bad
    again --resume 75
    [ "$status" -eq 0 ]
    [ "$(cat calls)" = "$seed" ]
    again --resume 75
    [ "$result" = "none; Total: 75 lives, 210 runs killed, 60 ended by a signal, 75 cuts of the power, all held; 75 lives by an earlier call" ]
}

@test "nothing counts that was lived with another program, and lives without cuts of the power are too quiet" {
    again 25
    echo new >>build/release/qdn-configure.bin
    again --resume 25
    [ "$result" = "1; Total: 25 lives, 70 runs killed, 20 ended by a signal, 25 cuts of the power, all held" ]
    CUTS=24 again 25
    [ "$status" -eq 1 ]
    [ "$result" = "1; Total: 25 lives, 70 runs killed, 20 ended by a signal, 24 cuts of the power, not all held" ]
}
