# Upgrades from the packages of release 1.0.0, whose scriptlets and program are on the host when these come.
# shellcheck disable=SC2154 # the root is host.bash's

load host

given_the_release() { cp "$PWD/build/hosts/release-packages"/* "$root/session"; }

@test "an upgrade from the packages of 1.0.0 carries values, data and the running agent over" {
    given_the_release
    in_root <<'END'
remember_files
given_xml
install 6.0.330
expect_status 0
try "$program" -help
grep -qx 'This is version 1\.0\.0\.' /session/out
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"
printf '%s\n' '{0A1B2C3D-0000-1111-2222-333344445555}' null >"$agent/etc/host.GUID"
echo event >"$agent/var/queue/1.kse"
"$agent/bin/rcscript" start
pid=$(agent_pid)

install 6.0.350
expect_status 0
expect_nothing_told
expect_same 6.0.350 "$(installed_version)"
expect_unchanged_package
expect_value agent_build 350
expect_value Location "Rack 7"
expect_same '{0A1B2C3D-0000-1111-2222-333344445555}' "$(head -n 1 "$agent/etc/host.GUID")"
expect_same event "$(cat "$agent/var/queue/1.kse")"
expect_running
[ "$(agent_pid)" != "$pid" ]
try "$program" -status "$agent"
expect_status 0

erase
expect_status 0
expect_no_new_files
END
}

@test "an upgrade from the packages of 1.0.0 to an agent that does not start has the former one run again" {
    given_the_release
    in_root <<'END'
remember_files
given_xml
install 6.0.330
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"
"$agent/bin/rcscript" start
install 6.0.345
grep -qx 'ERROR: The agent does not stay up.' /session/err
expect_running
expect_value agent_build 330
expect_value Location "Rack 7"

install 6.0.350
expect_status 0
expect_nothing_told
expect_running
expect_unchanged_package
expect_value agent_build 350
expect_value Location "Rack 7"
erase
expect_status 0
expect_no_new_files
END
}
