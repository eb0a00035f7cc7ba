# What only rpm knows: who owns a file, and packages that are installed elsewhere.

load host

@test "what the configuration makes in the agent's directory has an owner" {
    in_root <<'END'
given_xml
install 6.0.350
for file in etc/client.conf etc/host.GUID bin/qdn-env bin/rcscript; do
    expect_same qdn-ksclt "$(rpm -qf --qf '%{NAME}' "$agent/$file")"
done
END
}

@test "a configuration that the former package owned outlives it" {
    in_root <<'END'
cat >/session/former.spec <<SPEC
Name: qdn-ksclt
Version: 6.0.330
Release: 1
Summary: Former agent
License: MIT
BuildArch: noarch
%description
%install
install -D -m 0644 /session/former.conf %{buildroot}$conf
%files
%config $conf
SPEC
printf '%s\n' '[Version]' agent_major=6 agent_minor=0 agent_build=330 '[Kell Servers]' server-1=kell.example \
    '[Configuration]' "installdir=$agent" bindir=/usr/bin '[Client Details]' >/session/former.conf
rpmbuild --quiet -bb --define '_topdir /session' --define '_rpmfilename former.rpm' /session/former.spec
rpm --force-debian -i /session/RPMS/former.rpm
expect_same qdn-ksclt-6.0.330-1.noarch "$(rpm -qf "$conf")"
echo 'Location=Rack 7' >>"$conf"

install 6.0.350
expect_status 0
expect_same 6.0.350 "$(installed_version)"
expect_value agent_build 350
expect_value server-1 kell.example
expect_value Location "Rack 7"
expect_same "" "$(find "$agent" -name '*.rpm*')"
END
}

@test "a package that is installed elsewhere is configured, upgraded and erased there" {
    in_root <<'END'
remember_files
elsewhere=/srv/agent
conf=$elsewhere/etc/client.conf
given_xml
for version in 6.0.340 6.0.350; do
    try $(install_command $version) --prefix "$elsewhere"
    expect_status 0
    expect_nothing_told
    expect_unchanged_package
    expect_value agent_build "${version##*.}"
    expect_value installdir "$elsewhere"
    expect_value server-1 kell.example
done
[ ! -e "$agent" ]
expect_same "$elsewhere/bin/qdn-monitor" "$(readlink /usr/bin/qdn-monitor)"

erase
expect_status 0
expect_no_new_files
END
}

@test "an agent that moves back to the usual place takes its configuration along" {
    in_root <<'END'
given_xml
try $(install_command 6.0.340) --prefix /srv/agent
expect_status 0
sed -i 's/^Location=.*/Location=Rack 7/' /srv/agent/etc/client.conf
echo event >/srv/agent/var/queue/1.kse
install 6.0.350
expect_status 0
expect_value installdir "$agent"
expect_value Location "Rack 7"
expect_same event "$(cat "$agent/var/queue/1.kse")"
expect_same "" "$(find /srv -type f)"
END
}
