# What only dpkg knows: packages that are unpacked without being configured, and ones that are given up half-way.

load host

@test "an erasure leaves nothing to purge, and dpkg finds nothing amiss" {
    in_root <<'END'
given_xml
install 6.0.350
expect_same "" "$(dpkg --audit)"
expect_same "" "$(dpkg-query -W -f '${Conffiles}' qdn-ksclt)"
erase
expect_same 0 "$(grep -c qdn-ksclt /var/lib/dpkg/status || true)"
expect_same "" "$(find /var/lib/dpkg/info -name 'qdn-ksclt*')"
END
}

@test "a package is purged in one step" {
    in_root <<'END'
remember_files
given_xml
install 6.0.350
try dpkg --purge qdn-ksclt
expect_status 0
expect_same "" "$(installed_version)"
expect_no_new_files
END
}

@test "a package that is only unpacked is configured by and by" {
    in_root <<'END'
given_xml
try dpkg --unpack /session/qdn-ksclt_6.0.350_*.deb
expect_status 0
[ ! -e "$conf" ]
try dpkg --configure qdn-ksclt
expect_status 0
expect_value server-1 kell.example
END
}

@test "a configuration that goes with the files of the former package is carried over" {
    in_root <<'END'
mkdir -p "/session/former$agent/etc" /session/former/DEBIAN
printf '%s\n' '[Version]' agent_major=6 agent_minor=0 agent_build=330 '[Kell Servers]' server-1=kell.example \
    '[Configuration]' "installdir=$agent" bindir=/usr/bin '[Client Details]' 'Location=Rack 7' >"/session/former$conf"
printf '%s\n' 'Package: qdn-ksclt' 'Version: 6.0.330' 'Architecture: all' 'Maintainer: nobody <root@localhost>' \
    'Description: Former agent' >/session/former/DEBIAN/control
dpkg-deb --build /session/former /session/former.deb
dpkg -i /session/former.deb

try dpkg --unpack /session/qdn-ksclt_6.0.350_*.deb
[ ! -e "$conf" ]
try dpkg --configure qdn-ksclt
expect_status 0
expect_value agent_build 350
expect_value server-1 kell.example
expect_value Location "Rack 7"
END
}

@test "an upgrade that dpkg gives up leaves the former agent running" {
    in_root <<'END'
given_xml
install 6.0.340
"$agent/bin/rcscript" start
head -c 300000 /session/qdn-ksclt_6.0.350_*.deb >/session/cut.deb
try dpkg -i /session/cut.deb
[ "$status" -ne 0 ]
expect_same 6.0.340 "$(installed_version)"
expect_same "" "$(dpkg --audit)"
expect_running
expect_value agent_build 340
expect_unchanged_package
[ ! -e /tmp/ksclt ]
END
}

@test "a configuration that was mended by hand is taken as it is" {
    in_root <<'END'
given_xml
install 6.0.340
break_configuration_late
install 6.0.350
expect_failed_configuration
mend_configuration
QDN_INSTALL_AUTOSTART=no try "$program" -configure -noimode
expect_status 0
"$agent/bin/rcscript" start
sed -i 's/^Location=.*/Location=Rack 7/' "$conf"

try dpkg --configure qdn-ksclt
expect_status 0
expect_value Location "Rack 7"
expect_running
END
}
