# A host on which an agent is configured for the first time, without being started: an XML file waits in $work, the
# directory to run in, and $work/fresh-package puts everything back to where it was before a configuration.

# shellcheck disable=SC2154 # program and work are those of table.bash
agent=/opt/zorvane/kell/ksagent
xml=$work/.qdn-agent-install-config.xml

# shellcheck disable=SC2154
# A host that asks for no tools of its own: it has no rpm, nor one that registers services.
prepare_host() {
    for tool in chkconfig insserv update-rc.d systemctl rpm; do rm -f "/usr/sbin/$tool" "/usr/bin/$tool"; done
    echo "Red Hat Enterprise Linux AS release 4 (Nahant)" >/etc/redhat-release
    mkdir -p /etc/init.d /etc/rc{0,1,2,3,4,5,6}.d
    cat >"$xml" <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Settings Start="no" StartupOnBoot="yes" RunLevel="rc3;rc5"><InstallDir>$agent</InstallDir></Settings>
</KSAgentConfiguration>
END
    package/lay-down "$work/package" "$program"
    cat >"$work/fresh-package" <<END
#!/bin/sh
rm -rf $agent /etc/init.d/zorvane /etc/rc?.d/???zorvane /usr/bin/qdn-*
mkdir -p ${agent%/*}
exec cp -a $work/package $agent
END
    chmod +x "$work/fresh-package"
}

# shellcheck disable=SC2034 # used by who sources this
configuration=("$program" -configure -quiet -noimode)
