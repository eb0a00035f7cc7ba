# How the agent's package lies on disk before anything is configured.

setup() {
    lay_down=$BATS_TEST_DIRNAME/../../package/lay-down
    dir="$BATS_TEST_TMPDIR/kell agent"
    program=$BATS_TEST_TMPDIR/program
    echo "the program" >"$program"
}

@test "every file and directory of the package lies in its place with its mode" {
    umask 077
    "$lay_down" "$dir" "$program"
    diff - <(cd "$dir" && find . -mindepth 1 -printf '%m %P\n' | sort -k 2) <<'END'
755 bin
755 bin/qdn-clientconfigupdate.bin
755 bin/qdn-clientevent.bin
755 bin/qdn-clienttransport.bin
755 bin/qdn-configure.bin
755 bin/qdn-diagnose.bin
755 bin/qdn-messagelistener.bin
755 bin/qdn-monitor.bin
755 bin/qdn-objectmanager.bin
755 bin/qdn-pluginmanager.bin
755 bin/qdn-policymanager.bin
755 bin/qdn-swdclientagent.bin
755 bin/qdn-taskscheduler.bin
755 bin/qdn-uninstall.bin
755 etc
644 etc/client.proto
644 etc/rcscript.proto.linux
644 etc/rcscript.proto.suse
644 etc/rcscript.proto.unix
755 lib
644 lib/service-functions
END
    cmp "$program" "$dir/bin/qdn-configure.bin"
}

@test "a package that is laid down again replaces its own files and keeps all others" {
    "$lay_down" "$dir" "$program"
    echo "mine" >"$dir/etc/client.conf"
    echo "changed" >"$dir/etc/client.proto"
    echo "the next program" >"$program"
    "$lay_down" "$dir" "$program"
    [ "$(cat "$dir/etc/client.conf")" = mine ]
    cmp "$BATS_TEST_DIRNAME/../../package/etc/client.proto" "$dir/etc/client.proto"
    cmp "$program" "$dir/bin/qdn-configure.bin"
}

@test "a program that is not there stops the work" {
    run "$lay_down" "$dir" "$BATS_TEST_TMPDIR/none"
    [ "$status" -eq 1 ]
    [ ! -e "$dir/etc/client.proto" ]
}

@test "both arguments are needed" {
    run "$lay_down" "$dir"
    [ "$status" -eq 2 ]
    [ ! -e "$dir" ]
    [ "${lines[1]}" = "  package/lay-down DIR PROGRAM" ]
}

@test "a sample program says what it is and which configuration it would use" {
    "$lay_down" "$dir" "$program"
    QDNCLIENT_CONFIG_FILE=/etc/some.conf run "$dir/bin/qdn-monitor.bin" -x "two words"
    diff <(echo "$output") - <<'END'
This is qdn-monitor of the Zorvane Agent for UNIX and Linux, a sample.
Configuration: /etc/some.conf
Argument: -x
Argument: two words
END
}
