# What an administrator gives and does not get is told, with its place and the reason; the run succeeds all the same.
load support

# given_settings ATTRIBUTES [SERVER] [MORE]: an XML file in /tmp with these attributes of Settings, which begin on line 3.
given_settings() {
    given_xml /tmp <<END
<KSAgentConfiguration>
  ${2-<KSName>kell.example</KSName>}
  <Settings $1 Start="no">
    <InstallDir>$agent</InstallDir>
    ${3:-}
  </Settings>
</KSAgentConfiguration>
END
}

given_a_configured_agent() {
    given_the_package
    given_settings "RunLevel=\"rc3;rc5\" ${1:-}"
    configure
    expect_no_errors
}

configure() {
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

@test "misspelt names and impossible values are reported in the file's order" {
    given_the_package
    given_settings 'RunLevel="rc3" AllowNonRot="no"' '<KSname>kell</KSname><KSName>kell.example</KSName>' \
        '<EventLog LogLevl="Debug" LogSize="1MB"/>'
    configure
    expect_errors <<END
WARNING! /tmp/$xml:2:3: unknown element KSname (KSName?).
WARNING! /tmp/$xml:3:28: unknown attribute AllowNonRot (AllowNonRoot?).
WARNING! /tmp/$xml:5:15: unknown attribute LogLevl (LogLevel?).
WARNING! /tmp/$xml:5:31: LogSize "1MB": a number of kilobytes.
END
    expect_value "Kell Servers" server-1 kell.example
    expect_value Configuration debug_level Error
    expect_value Configuration debug_file_size 1MB
}

@test "a run warns of a value that the installed agent's overrides, unless it means the same" {
    given_a_configured_agent
    given_settings 'RunLevel="rc5;rc3"' '<KSName>kell.example</KSName><Location>Bern</Location>' \
        '<EventLog LogLevel="error" LogSize="512"/>'
    configure
    expect_errors <<END
WARNING! /tmp/$xml:2:32: Location "Bern" is not used: the installed agent has "".
WARNING! /tmp/$xml:5:32: LogSize "512" is not used: the installed agent has "256".
END
    expect_value Configuration debug_file_size 256
}

@test "a run warns, by its variable, of a server that the installed agent's overrides, and drops no identifier" {
    given_a_configured_agent
    printf '{0A1B2C3D-0000-1111-2222-333344445555}\nnull' >"$agent/etc/host.GUID"
    QDN_INSTALL_KSNAME=other.example QDN_INSTALL_AUTOSTART=no configure
    expect_errors <<<'WARNING! QDN_INSTALL_KSNAME: KSName "other.example" is not used: the installed agent has "kell.example".'
    expect_value "Kell Servers" server-1 kell.example
    printf '{0A1B2C3D-0000-1111-2222-333344445555}\nnull' | expect_file "$agent/etc/host.GUID"
}

@test "Upgrade=\"Yes\" counts as yes" {
    given_a_configured_agent
    sed -i 's/^package_retry_delay=.*/package_retry_delay=61/' "$agent/etc/client.conf"
    given_settings 'RunLevel="rc3;rc5" Upgrade="Yes"'
    configure
    expect_errors <<<'WARNING! Upgrade is neither "yes" nor "no": Yes. It counts as "yes".'
    expect_value Configuration package_retry_delay 61
}

@test "a run warns of a configuration without a run level, unless the agent is not to be started at boot" {
    given_the_package
    given_settings 'StartupOnBoot="yes"'
    configure
    expect_errors <<<"WARNING! No run level is configured: the agent is not started when the host boots."
    given_settings 'Upgrade="no" StartupOnBoot="no"'
    configure
    expect_no_errors
}

@test "a port without a server is warned of and not used" {
    given_the_package
    given_settings 'RunLevel="rc3"' '<KSPort>8080</KSPort>'
    QDN_INSTALL_KSNAME=https://kell.example:8443 configure
    expect_errors <<<"WARNING! /tmp/$xml:2:3: KSPort \"8080\": only together with KSName or KSIPAddress."
    expect_value "Kell Servers" server-1 kell.example:8443
    expect_value "Client Transport" ks_url_format https://%server%/Zorvane/
}

@test "AllowNonRoot=\"no\" outlives the next upgrades, until something says otherwise" {
    given_a_configured_agent 'AllowNonRoot="no"'
    expect_value Installation allow_non_root no
    for _ in 1 2; do
        QDN_INSTALL_AUTOSTART=no configure
        expect_no_errors
        expect_value Installation allow_non_root no
        [ "$(stat -c %a "$agent/bin/qdn-monitor")" = 544 ]
    done
    given_settings 'AllowNonRoot="yes" RunLevel="rc3;rc5"'
    configure
    expect_no_errors
    expect_no_line Installation "$agent/etc/client.conf"
    [ "$(stat -c %a "$agent/bin/qdn-monitor")" = 555 ]
}

@test "a no in other words outlives the next upgrade, too" {
    given_a_configured_agent 'AllowNonRoot="No" EnableNICError="off" StartupOnBoot="FALSE"'
    QDN_INSTALL_AUTOSTART=no configure
    expect_value Installation allow_non_root no
    expect_value Installation startup_on_boot no
    expect_value Installation enable_nic_error no
    expect_missing /etc/init.d/zorvane
}

@test "Upgrade=\"no\" drops what was recorded for the next upgrade" {
    given_a_configured_agent 'AllowNonRoot="no" EnableNICError="no" StartupOnBoot="no"'
    tail -n 4 "$agent/etc/client.conf" | same "end of client.conf" <(
        printf '%s\n' '[Installation]' allow_non_root=no startup_on_boot=no enable_nic_error=no
    )
    given_settings 'Upgrade="no" RunLevel="rc3;rc5"'
    configure
    expect_no_errors
    expect_no_line Installation "$agent/etc/client.conf"
}

@test "a no to the old settings, and a pending reinstall, drop what was recorded for the next upgrade" {
    given_a_configured_agent 'AllowNonRoot="no" EnableNICError="no" StartupOnBoot="no"'
    cp "$agent/etc/client.conf" "$desk/recorded.conf"
    printf '\n\nno\n\n\n\n\n\n\n\n\n\n\n\nno\n' >"$desk/answers"
    qdn_configure -iconfigure -quiet <"$desk/answers"
    expect_status 0
    expect_no_errors
    expect_no_line Installation "$agent/etc/client.conf"

    cp "$desk/recorded.conf" "$agent/etc/client.conf"
    mkdir -m 0700 /tmp/ksclt
    install -m 0600 "$desk/recorded.conf" /tmp/ksclt/.reinstall-client.conf
    given_settings 'RunLevel="rc3;rc5"'
    configure
    expect_no_errors
    expect_no_line Installation "$agent/etc/client.conf"
}

@test "what a run that cannot go on would have warned of comes before its error" {
    given_a_configured_agent
    sed -i -e 's/^server-1=.*/server-1=/' -e 's/^runlevels_start=.*/runlevels_start=/' "$agent/etc/client.conf"
    rm "$agent/etc/rcscript.proto.linux"
    given_settings "" "" '<EventLog LogLevl="Debug" LogSize="512"/>'
    qdn_configure -configure -noimode -quiet
    expect_status 1
    expect_errors <<END
WARNING! /tmp/$xml:5:15: unknown attribute LogLevl (LogLevel?).
WARNING! No Kell Server name is configured.
WARNING! No run level is configured: the agent is not started when the host boots.
WARNING! /tmp/$xml:5:31: LogSize "512" is not used: the installed agent has "256".
ERROR: Failed to set up the RC scripts.
  $agent/etc/rcscript.proto.linux: No such file or directory
END
    expect_no_changes
}

@test "an XML file that overrides changes what it gives, and carries all else over" {
    given_a_configured_agent
    sed -i -e 's/^level1-delay=.*/level1-delay=77/' -e 's/^Location=.*/Location=Rack 7/' "$agent/etc/client.conf"
    echo event >"$agent/var/queue/1.kse"
    given_settings 'EnableNICError="no"' "" '<EventQueueDir>%INSTDIR%/var/events</EventQueueDir><EventLog LogSize="512"/>'
    QDN_INSTALL_OVERRIDE=yes configure
    expect_no_errors
    expect_value Configuration debug_file_size 512
    expect_value Configuration basicinv_ip_error_return_value ""
    expect_value Configuration event_queue_dir "$agent/var/events"
    [ "$(cat "$agent/var/events/1.kse")" = event ]
    expect_value "Kell Servers" server-1 kell.example
    expect_value Configuration runlevels_start "3 5"
    expect_value "Event Queue" level1-delay 77
    expect_value "Client Details" Location "Rack 7"
}

each_test_is_a_session
