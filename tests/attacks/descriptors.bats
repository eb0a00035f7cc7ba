# What the started agent inherits: nothing of the caller's but three streams that lead nowhere, and no terminal.
# shellcheck disable=SC2154 # a session says where things are
load support

# given_an_agent_that_looks SHELL: an agent that notes what it has inherited before it goes on as the sample does, and
# a host whose /bin/sh is that shell.
given_an_agent_that_looks() {
    local real=$agent/bin/qdn-pluginmanager.sample
    ln -sf "$1" /bin/sh
    given_the_package
    cp "$agent/bin/qdn-pluginmanager.bin" "$real"
    cat >"$agent/bin/qdn-pluginmanager.bin" <<END
#!/bin/bash
case \$1 in
    --pid-file) setsid "\$0" --serve "\$2" </dev/null >/dev/null 2>&1 & ;;
    *)
        find /proc/\$\$/fd -type l ! -name 255 -fprintf /run/session/descriptors '%f %l\\n' # 255 is the script itself
        trap >/run/session/ignored
        cut -d ' ' -f 7 /proc/\$\$/stat >/run/session/tty
        umask >/run/session/umask
        exec $real "\$@"
        ;;
esac
END
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings RunLevel="rc3" StartupOnBoot="no"><InstallDir>$agent</InstallDir></Settings>
</KSAgentConfiguration>
END
}

expect_nothing_inherited() {
    expect_file "$desk/descriptors" <<END
0 /dev/null
1 /dev/null
2 /dev/null
END
    expect_file "$desk/tty" <<<0
    expect_file "$desk/umask" <<<0022
    # A shell that starts something in the background lets it ignore SIGINT and SIGQUIT.
    expect_file "$desk/ignored" <<END
trap -- '' SIGINT
trap -- '' SIGQUIT
END
    "$agent/bin/rcscript" stop
}

@test "an agent that a run from a pipe starts inherits no descriptor and no ignored signal of the caller's" {
    given_an_agent_that_looks bash
    # The caller's pipe is read to its end: nothing that was started holds it open.
    (
        exec 5</etc/passwd 6>>"$desk/open" 77</ 200</dev/zero
        trap '' HUP CHLD
        umask 0
        echo | "$program" -configure -noimode 2>&1
    ) | cat >"$desk/out"
    grep -q '^Zorvane Agent is running (pid [0-9]*)\.$' "$desk/out"
    expect_nothing_inherited
}

@test "an agent that is started with the standard streams closed has three streams that lead nowhere" {
    given_an_agent_that_looks dash
    "$program" -configure -noimode <&- >&- 2>&-
    expect_nothing_inherited
}

each_test_is_a_session
