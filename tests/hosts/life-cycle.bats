# The life of the package with a package manager, in a root where no init runs, as where an image is built.

load host

@test "an installation configures the agent, and an erasure leaves no file" {
    in_root <<'END'
remember_files
given_xml
install 6.0.350
expect_status 0
expect_nothing_told
expect_same 6.0.350 "$(installed_version)"
expect_value server-1 kell.example
expect_unchanged_package
[ ! -e "$xml" ]

erase
expect_status 0
expect_nothing_told
expect_same "" "$(installed_version)"
expect_no_new_files
END
}

@test "where no init runs, the agent is made ready for boot, but not started" {
    in_root <<'END'
given_xml 'Start="yes"'
install 6.0.350
expect_status 0
expect_not_running
expect_same "S01zorvane" "$(ls /etc/rc2.d | grep zorvane)"
END
}

@test "a started agent keeps no pipe open that somebody reads to its end" {
    in_root <<'END'
given_xml
install 6.0.340
"$agent/bin/rcscript" start
timeout 60 bash -c '"$@" | cat' pipe $(install_command 6.0.350) >/session/out
expect_running
END
}

@test "with any umask of the caller all files have their modes" {
    in_root <<'END'
modes() { find /opt /usr/bin/qdn-* /etc/init.d/zorvane -printf '%m %p\n' | sort -k 2; }
given_xml
umask 077
install 6.0.350
expect_status 0
modes >/session/strict
erase
given_xml
umask 022
install 6.0.350
modes | diff /session/strict -
END
}

@test "without a configuration file the package is installed, and says how it goes on" {
    in_root <<'END'
remember_files
install 6.0.350
expect_status 0
expect_told <<TOLD
qdn-ksclt: The Zorvane Agent is installed, but not configured. Answer its questions by
qdn-ksclt:     $program -iconfigure -dir $agent
qdn-ksclt: or put .qdn-agent-install-config.xml into /tmp and run
qdn-ksclt:     $program -configure -noimode -dir $agent
TOLD
given_xml
try $(what_is_told_last)
expect_status 0
expect_value server-1 kell.example

erase
expect_no_new_files
END
}

@test "a first configuration that fails is repaired by what it says" {
    in_root <<'END'
mkdir -p "$agent/var"
: >"$agent/var/tasks"
given_xml
install 6.0.350
expect_failed_configuration
expect_told <<TOLD
qdn-ksclt: The Zorvane Agent has not been configured, for the reason above. Mend what is wrong, then run
qdn-ksclt:     $(repair_command)
TOLD
mend_configuration
try $(what_is_told_last)
expect_status 0
expect_value server-1 kell.example
END
}

@test "a configuration that somebody planted configures no agent" {
    in_root <<'END'
mkdir /tmp/ksclt
printf '%s\n' '[Version]' agent_major=6 agent_minor=0 agent_build=340 '[Kell Servers]' server-1=evil.example \
    '[Configuration]' "installdir=$agent" >/tmp/ksclt/.migrate-client.conf
: >/tmp/ksclt/.agent-ran
chown -R nobody /tmp/ksclt
install 6.0.350
expect_status 0
grep -qx 'WARNING! /tmp/ksclt/.migrate-client.conf is not used: /tmp/ksclt belongs to another user.' /session/err
grep -qx 'qdn-ksclt: The Zorvane Agent is installed, but not configured. Answer its questions by' /session/err
[ ! -e "$conf" ]
END
}

@test "a package that was never configured is erased without a word" {
    in_root <<'END'
remember_files
install 6.0.350
erase
expect_status 0
expect_nothing_told
expect_same "" "$(grep "Can't find" /session/out)"
expect_same "" "$(installed_version)"
expect_no_new_files
END
}

@test "a package whose agent was cleaned by hand is erased without a word" {
    in_root <<'END'
remember_files
given_xml
install 6.0.350
"$program" -clean "$agent" -quiet
erase
expect_status 0
expect_nothing_told
expect_same "" "$(installed_version)"
expect_no_new_files
[ ! -L /usr/bin/qdn-configure ]
END
}

@test "an upgrade carries over what administrators entered and what waits to be sent" {
    for version in 6.0.250 6.0.340; do
        in_root $version <<'END'
given_xml
install "$1"
expect_value agent_build "${1##*.}"
sed -i -e 's/^Location=.*/Location=Rack 7/' -e 's/^debug_file_size=.*/debug_file_size=777/' "$conf"
echo event >"$agent/var/queue/1.kse"

install 6.0.350
expect_status 0
expect_nothing_told
expect_same 6.0.350 "$(installed_version)"
expect_unchanged_package
expect_value agent_build 350
expect_value server-1 kell.example
expect_value Location "Rack 7"
expect_value debug_file_size 777
expect_same event "$(cat "$agent/var/queue/1.kse")"
[ ! -e /tmp/ksclt ]
erase
END
    done
}

@test "an upgrade starts the agent again that ran, and no other" {
    in_root <<'END'
given_xml
install 6.0.340
"$agent/bin/rcscript" start
pid=$(agent_pid)
install 6.0.350
expect_status 0
expect_running
[ "$(agent_pid)" != "$pid" ]

"$agent/bin/rcscript" stop
install 6.0.350
expect_status 0
expect_not_running
END
}

@test "an upgrade whose configuration fails has the former agent run again, and is repaired by what it says" {
    for when in early late; do
        in_root $when <<'END'
remember_files
given_xml
install 6.0.340
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"
"$agent/bin/rcscript" start
"break_configuration_$1"

install 6.0.350
expect_failed_configuration
expect_return
expect_value Location "Rack 7"
try_again
expect_failed_configuration
expect_return

mend_configuration
try_again
expect_status 0
expect_same 6.0.350 "$(installed_version)"
expect_unchanged_package
expect_value agent_build 350
expect_value Location "Rack 7"
expect_running
[ ! -e /tmp/ksclt ]
[ ! -e "$agent/.other-files" ]

erase
expect_status 0
expect_no_new_files
END
    done
}

@test "an upgrade of a stopped agent whose configuration fails loses nothing, and is repaired by what it says" {
    for when in early late; do
        in_root $when <<'END'
given_xml
install 6.0.340
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"
"break_configuration_$1"

install 6.0.350
expect_failed_configuration
former=/tmp/ksclt/.migrate-client.conf
expect_told <<TOLD
qdn-ksclt: The Zorvane Agent has not been configured, for the reason above. Mend what is wrong, then run
qdn-ksclt:     $(repair_command)
qdn-ksclt: Nothing of the former configuration is lost: it is in $former.
TOLD
grep -qx 'Location=Rack 7' "$former"
expect_value Location "Rack 7"

mend_configuration
try $(what_is_told_last)
expect_status 0
expect_value agent_build 350
expect_value Location "Rack 7"
[ ! -e /tmp/ksclt ]
erase
END
    done
}

@test "an upgrade to an agent that does not start has the former one run again" {
    in_root <<'END'
given_xml
install 6.0.340
"$agent/bin/rcscript" start
install 6.0.345
grep -qx 'ERROR: The agent does not stay up.' /session/err
expect_return
try "$program" -status "$agent"
expect_status 0

install 6.0.350
expect_status 0
expect_nothing_told
expect_running
expect_unchanged_package
expect_value agent_build 350
erase
expect_status 0
expect_not_running
END
}

@test "where nothing can be tried beforehand, the agent is configured all the same, and the script says so" {
    in_root <<'END'
given_xml
mkdir /session/layers
mount -t tmpfs tmpfs /session/layers
mkdir -p /session/layers/upper /session/layers/work
# Over the overlay that /opt is on here, which takes no third one.
mount -t overlay overlay -o lowerdir=/opt,upperdir=/session/layers/upper,workdir=/session/layers/work /opt
install 6.0.350
expect_status 0
grep -q '^WARNING! A preview is not possible here: ' /session/err
expect_nothing_told
expect_value server-1 kell.example
END
}

@test "an upgrade after one that was cut off finds the configuration that the program saved" {
    in_root <<'END'
given_xml
install 6.0.340
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"
mv "$conf" "$conf.old"
touch "${conf%/*}/.unfinished" # only a run that comes to its end takes its mark away
install 6.0.350
expect_status 0
expect_nothing_told
expect_value agent_build 350
expect_value server-1 kell.example
expect_value Location "Rack 7"
END
}

@test "a package whose configuration failed is erased without a trace" {
    for when in early late; do
        in_root $when <<'END'
remember_files
given_xml
install 6.0.340
"break_configuration_$1"
install 6.0.350
expect_failed_configuration
erase
expect_status 0
expect_same "" "$(installed_version)"
expect_no_new_files
END
    done
}

@test "a hand-over directory that somebody planted is replaced, and no link of it followed" {
    in_root <<'END'
plant_link() { ln -s /victim /tmp/ksclt; }
plant_file() { echo mine >/tmp/ksclt; }
plant_directory_of_another() {
    mkdir /tmp/ksclt
    ln -s /victim/.migrate-client.conf /tmp/ksclt/.migrate-client.conf
    ln -s /victim /tmp/ksclt/.agent-ran
    chown -h -R nobody /tmp/ksclt
}
plant_directory_open_to_all() {
    mkdir -m 0777 /tmp/ksclt
    ln -s /victim/.migrate-client.conf /tmp/ksclt/.migrate-client.conf
}
plant_directory_in_place_of_the_file() { mkdir -p /tmp/ksclt/.migrate-client.conf/deep; }

given_xml
install 6.0.340
break_configuration_early
mkdir -m 0777 /victim
echo mine >/victim/.migrate-client.conf
for plant in link file directory_of_another directory_open_to_all directory_in_place_of_the_file; do
    rm -rf /tmp/ksclt
    "plant_$plant"
    install 6.0.350
    expect_failed_configuration
    expect_kept "server-1=kell.example"
    expect_same ". d 777;.migrate-client.conf f 644;" "$(find /victim -printf '%P %y %m;' | sed 's/^ /. /')"
    expect_same mine "$(cat /victim/.migrate-client.conf)"
done
END
}

@test "the mark of a pending reinstallation stays in the hand-over directory" {
    in_root <<'END'
given_xml
install 6.0.340
break_configuration_early
mkdir /tmp/ksclt
cp "$conf" /tmp/ksclt/.reinstall-client.conf
install 6.0.350
expect_kept "server-1=kell.example"
cmp "$conf" /tmp/ksclt/.reinstall-client.conf
END
}

@test "an upgrade whose configuration cannot be kept is refused, and the agent runs on" {
    in_root <<'END'
given_xml
install 6.0.340
"$agent/bin/rcscript" start
pid=$(agent_pid)
cp "$conf" /session/conf
mount -t tmpfs -o size=4k tmpfs /tmp
install 6.0.350
umount /tmp
[ "$status" -ne 0 ]
expect_told <<<"qdn-ksclt: $conf cannot be kept as /tmp/ksclt/.migrate-client.conf."
expect_same 6.0.340 "$(installed_version)"
expect_same "$pid" "$(agent_pid)"
cmp /session/conf "$conf"
END
}

@test "an agent that cannot be stopped keeps the package as it is" {
    in_root <<'END'
given_xml
install 6.0.340
cp /bin/sleep /session/qdn-plugin
/session/qdn-plugin 1000 &
remember_files
for action in "install 6.0.350" erase; do
    $action
    [ "$status" -ne 0 ]
    expect_told <<<"qdn-ksclt: The Zorvane Agent runs and cannot be stopped."
    expect_same 6.0.340 "$(installed_version)"
done
expect_no_new_files
END
}

@test "an agent that runs is stopped when its package is erased" {
    in_root <<'END'
remember_files
given_xml
install 6.0.350
"$agent/bin/rcscript" start
erase
expect_status 0
expect_not_running
expect_same "" "$(installed_version)"
expect_no_new_files
END
}

@test "as long as solutions depend on the agent, the package stays and the agent runs" {
    in_root <<'END'
given_xml
install 6.0.350
"$agent/bin/rcscript" start
echo '<Solution name="inventory"/>' >"$agent/etc/config.xml"
erase
[ "$status" -ne 0 ]
expect_told <<<"qdn-ksclt: The package stays, for the reason above."
grep -q 'There are some solutions that depend' /session/out
expect_same 6.0.350 "$(installed_version)"
expect_running
expect_value server-1 kell.example
END
}

@test "a program that cannot be run does not keep the package" {
    in_root <<'END'
given_xml
install 6.0.350
echo garbage >"$program"
erase
expect_status 0
expect_told <<<"qdn-ksclt: Files of the Zorvane Agent may be left: $program -clean ended with status 127."
expect_same "" "$(installed_version)"
END
}

@test "the package is installed again, over itself and after an erasure" {
    in_root <<'END'
given_xml
install 6.0.350
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"
install 6.0.350
expect_status 0
expect_value Location "Rack 7"

erase
given_xml
install 6.0.350
expect_status 0
expect_value server-1 kell.example
expect_value Location ""
END
}
