# A package that was never configured becomes a working agent, from an XML file or from the environment.
load support

# The administrator's file, with something in every corner.
given_a_full_xml() {
    given_xml "$1" <<'END'
<?xml version="1.0" encoding="UTF-8"?>
<!-- The hosts of the second floor -->
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <KSPort>8083</KSPort>
  <KSProtocol>https</KSProtocol>
  <Guid>0a1b2c3d-0000-1111-2222-333344445555</Guid>
  <Settings UseDomain="no" EnableNICError="no" Start="no" AllowNonRoot="no" StartupOnBoot="yes" RunLevel="rc3;rc5">
    <CurlSSL SSLVerifyPeer="yes" SSLVerifyHost="yes" CAInfo="%ETCDIR%/ca.pem" CAPath=""/>
    <EventLog LogDir="/var/log/zorvane" LogFile="agent.log" LogSize="512" LogLevel="Warning" SysLogLevel="Error"/>
    <InstallDir>/opt/zorvane/kell/ksagent</InstallDir>
    <BinDir>/usr/local/bin</BinDir>
    <TempDir>/var/tmp/zorvane</TempDir>
    <GuidDir>%INSTDIR%/etc</GuidDir>
    <GuidFile>host.GUID</GuidFile>
    <EventQueueDir>%INSTDIR%/var/queue</EventQueueDir>
    <TasksDir>/var/lib/zorvane/tasks</TasksDir>
    <PackagesDir>%INSTDIR%/var/packages</PackagesDir>
    <SWDDir>%INSTDIR%/var/swd</SWDDir>
  </Settings>
  <Location>Zürich &amp; Bern</Location>
  <ContactName> None </ContactName>
  <Description><![CDATA[<rack 7>]]></Description>
  <ExtraConfigSettings>
    <Setting Section="Tickle" Name="enabled" Value="no"/>
  </ExtraConfigSettings>
</KSAgentConfiguration>
END
}

@test "the XML file in /tmp configures the agent, and everything that it made is as it should be" {
    given_the_package
    given_a_full_xml /tmp
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner
Creating/customizing Agent's configuration file.
Creating directory: /var/tmp/zorvane  Result: OK
Creating directory: $agent/var  Result: OK
Creating directory: $agent/var/queue  Result: OK
Creating directory: /var/lib/zorvane/tasks  Result: OK
Creating directory: $agent/var/packages  Result: OK
Creating directory: $agent/var/swd  Result: OK
Creating directory: /var/log/zorvane  Result: OK
Creating customized RC and environment scripts.
Setting up RC scripts to start Agent at system start.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
    expect_changes <<END
+ -r-xr--r-- /etc/init.d/zorvane
+ lrwxrwxrwx /etc/rc0.d/K01zorvane -> ../init.d/zorvane
+ lrwxrwxrwx /etc/rc1.d/K01zorvane -> ../init.d/zorvane
+ lrwxrwxrwx /etc/rc2.d/K01zorvane -> ../init.d/zorvane
+ lrwxrwxrwx /etc/rc3.d/S99zorvane -> ../init.d/zorvane
+ lrwxrwxrwx /etc/rc4.d/K01zorvane -> ../init.d/zorvane
+ lrwxrwxrwx /etc/rc5.d/S99zorvane -> ../init.d/zorvane
+ lrwxrwxrwx /etc/rc6.d/K01zorvane -> ../init.d/zorvane
+ -r-xr--r-- $agent/bin/qdn-clientconfigupdate
! -r-xr--r-- $agent/bin/qdn-clientconfigupdate.bin
+ -r-xr--r-- $agent/bin/qdn-clientevent
! -r-xr--r-- $agent/bin/qdn-clientevent.bin
+ -r-xr--r-- $agent/bin/qdn-clienttransport
! -r-xr--r-- $agent/bin/qdn-clienttransport.bin
+ -r-xr--r-- $agent/bin/qdn-configure
! -r-xr--r-- $agent/bin/qdn-configure.bin
! -r-xr--r-- $agent/bin/qdn-diagnose.bin
+ -r-xr--r-- $agent/bin/qdn-env
+ -r-xr--r-- $agent/bin/qdn-messagelistener
! -r-xr--r-- $agent/bin/qdn-messagelistener.bin
+ -r-xr--r-- $agent/bin/qdn-monitor
! -r-xr--r-- $agent/bin/qdn-monitor.bin
+ -r-xr--r-- $agent/bin/qdn-objectmanager
! -r-xr--r-- $agent/bin/qdn-objectmanager.bin
! -r-xr--r-- $agent/bin/qdn-pluginmanager.bin
+ -r-xr--r-- $agent/bin/qdn-policymanager
! -r-xr--r-- $agent/bin/qdn-policymanager.bin
+ -r-xr--r-- $agent/bin/qdn-swdclientagent
! -r-xr--r-- $agent/bin/qdn-swdclientagent.bin
+ -r-xr--r-- $agent/bin/qdn-taskscheduler
! -r-xr--r-- $agent/bin/qdn-taskscheduler.bin
+ -r-xr--r-- $agent/bin/qdn-uninstall
! -r-xr--r-- $agent/bin/qdn-uninstall.bin
+ lrwxrwxrwx $agent/bin/rcscript -> /etc/init.d/zorvane
+ -rw-r--r-- $agent/etc/client.conf
! -r--r--r-- $agent/etc/client.proto
+ -rw-r--r-- $agent/etc/host.GUID
! -r--r--r-- $agent/etc/rcscript.proto.linux
! -r--r--r-- $agent/etc/rcscript.proto.suse
! -r--r--r-- $agent/etc/rcscript.proto.unix
! -r-xr-xr-x $agent/lib/service-functions
+ drwxr-xr-x $agent/var
+ drwxr-xr-x $agent/var/packages
+ drwxr-xr-x $agent/var/queue
+ drwxr-xr-x $agent/var/swd
- -rw------- /tmp/$xml
+ lrwxrwxrwx /usr/local/bin/qdn-clientconfigupdate -> $agent/bin/qdn-clientconfigupdate
+ lrwxrwxrwx /usr/local/bin/qdn-clientevent -> $agent/bin/qdn-clientevent
+ lrwxrwxrwx /usr/local/bin/qdn-clienttransport -> $agent/bin/qdn-clienttransport
+ lrwxrwxrwx /usr/local/bin/qdn-configure -> $agent/bin/qdn-configure
+ lrwxrwxrwx /usr/local/bin/qdn-helper -> /usr/bin/qdn-helper
+ lrwxrwxrwx /usr/local/bin/qdn-messagelistener -> $agent/bin/qdn-messagelistener
+ lrwxrwxrwx /usr/local/bin/qdn-monitor -> $agent/bin/qdn-monitor
+ lrwxrwxrwx /usr/local/bin/qdn-objectmanager -> $agent/bin/qdn-objectmanager
+ lrwxrwxrwx /usr/local/bin/qdn-policymanager -> $agent/bin/qdn-policymanager
+ lrwxrwxrwx /usr/local/bin/qdn-swdclientagent -> $agent/bin/qdn-swdclientagent
+ lrwxrwxrwx /usr/local/bin/qdn-taskscheduler -> $agent/bin/qdn-taskscheduler
+ lrwxrwxrwx /usr/local/bin/qdn-uninstall -> $agent/bin/qdn-uninstall
+ drwxr-xr-x /var/lib/zorvane
+ drwxr-xr-x /var/lib/zorvane/tasks
+ drwxr-xr-x /var/log/zorvane
+ drwxr-xr-x /var/tmp/zorvane
END
}

@test "directories are made in their order, that of the identifier file in its turn" {
    given_the_package
    given_xml /tmp <<END
<KSAgentConfiguration>
  <KSName>kell.example</KSName>
  <Guid>ab-12</Guid>
  <Settings Start="no" RunLevel="rc3" StartupOnBoot="no">
    <InstallDir>$agent</InstallDir>
    <TempDir>/var/tmp/zorvane</TempDir>
    <GuidDir>/opt/id</GuidDir>
  </Settings>
</KSAgentConfiguration>
END
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner
Creating/customizing Agent's configuration file.
Creating directory: /var/tmp/zorvane  Result: OK
Creating directory: $agent/var  Result: OK
Creating directory: /opt/id  Result: OK
Creating directory: $agent/var/queue  Result: OK
Creating directory: $agent/var/tasks  Result: OK
Creating directory: $agent/var/packages  Result: OK
Creating directory: $agent/var/swd  Result: OK
Creating customized RC and environment scripts.
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
    printf '{AB-12}\nnull' | expect_file /opt/id/host.GUID
}

@test "client.conf holds the settings of the XML file" {
    given_the_package
    given_a_full_xml /tmp
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example:8083
    expect_value Configuration installdir "$agent"
    expect_value Configuration bindir /usr/local/bin
    expect_value Configuration tmpdir /var/tmp/zorvane
    expect_value Configuration event_queue_dir "$agent/var/queue"
    expect_value Configuration task_storage_path /var/lib/zorvane/tasks
    expect_value Configuration package_storage_path "$agent/var/packages"
    expect_value Configuration swd_storage_path "$agent/var/swd"
    expect_value Configuration guid_guid_file "$agent/etc/host.GUID"
    expect_value Configuration debug_output /var/log/zorvane/agent.log
    expect_value Configuration debug_file_size 512
    expect_value Configuration debug_level Warning
    expect_value Configuration syslog_level Error
    expect_value Configuration basicinv_use_resolv_conf 0
    expect_value Configuration basicinv_ip_error_return_value ""
    expect_value Configuration runlevels_start "3 5"
    expect_value Configuration runlevels_stop "0 1 2 4 6"
    expect_value "Client Transport" ks_url_format "https://%server%/Zorvane/"
    expect_value "Client Transport" ssl_verify_peer yes
    expect_value "Client Transport" ssl_verify_host yes
    expect_value "Client Transport" ssl_ca_info "$agent/etc/ca.pem"
    expect_value "Client Transport" ssl_ca_path ""
    expect_value "Client Details" Location "Zürich & Bern"
    expect_value "Client Details" ContactName ""
    expect_value "Client Details" Description "<rack 7>"
    expect_value Tickle enabled yes # settings of the file beyond the usual ones are not merged into a run
    printf '{0A1B2C3D-0000-1111-2222-333344445555}\nnull' | same host.GUID "$agent/etc/host.GUID"
}

@test "lines of the template that no setting feeds stay as the package has them" {
    given_the_package
    given_plain_xml
    sed "s,%KSNAME%,kell.example,; s,%INSTDIR%,$agent,; s,%ETCDIR%,$agent/etc," "$agent/etc/client.proto" |
        sed 's/^debug_file_size=.*/debug_file_size=256/; s/^debug_level=.*/debug_level=Error/
            s/^syslog_level=.*/syslog_level=/; s/^runlevels_start=.*/runlevels_start=3 5/
            s/^runlevels_stop=.*/runlevels_stop=0 1 2 4 6/' |
        sed 's/^syslog_level=$/syslog_level=None/' >"$desk/expected"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_file "$agent/etc/client.conf" <"$desk/expected"
}

@test "-quiet leaves only the banner" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -quiet
    expect_status 0
    expect_output <<<"$banner"
    expect_no_errors
}

@test "an XML file in the current directory, or in the one above, is used and kept" {
    given_the_package
    given_plain_xml .
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_plain_files "$xml"

    rm -r "$agent"
    given_the_package
    mkdir below
    cd below
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_plain_files "../$xml"
    expect_value "Kell Servers" server-1 kell.example
}

@test "directories of the environment are looked at first, and their file is kept; one in /opt/zorvane goes" {
    given_the_package
    for directory in first second third; do
        mkdir "$directory"
        given_plain_xml "$directory"
        sed -i "s/kell.example/$directory.example/" "$directory/$xml"
    done
    mv "third/$xml" /opt/zorvane
    QDNCLIENT_CONFIG_XML_DIR=$PWD/first AGENT_INSTALL_DIR=$PWD/second qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value "Kell Servers" server-1 first.example
    expect_plain_files "first/$xml" "second/$xml"
    expect_missing "/opt/zorvane/$xml"
}

@test "the environment alone configures an agent" {
    given_the_package
    export QDN_INSTALL_KSNAME=https://kell.example:8443 QDN_INSTALL_AUTOSTART=No QDN_INSTALL_RUNLEVELS="4 5"
    qdn_configure -configure -noimode -dir "$agent"
    expect_status 0
    expect_no_errors
    tail -n 3 "$desk/out" >"$desk/end"
    expect_file "$desk/end" <<'END'
Not starting the Zorvane Agent at this time, agent will start at next system restart.
Configuration complete.

END
    expect_value "Kell Servers" server-1 kell.example:8443
    expect_value "Client Transport" ks_url_format "https://%server%/Zorvane/"
    expect_value Configuration runlevels_start "4 5"
    expect_missing "$agent/etc/host.GUID"
}

@test "the XML file wins over the environment" {
    given_the_package
    given_plain_xml
    export QDN_INSTALL_KSNAME=https://other.example QDN_INSTALL_AUTOSTART=yes QDN_INSTALL_RUNLEVELS=2
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
    expect_value "Client Transport" ks_url_format "http://%server%/Zorvane/"
    expect_value Configuration runlevels_start "3 5"
}

# A package manager that knows where the agent's package is, and notes that it was asked.
given_rpm() {
    cat >/usr/bin/rpm <<END
#!/bin/sh
echo "\$*" >>$desk/rpm-calls
printf '%s\n' $1/bin/qdn-configure.bin $1/etc/client.proto $1/lib/service-functions
END
    chmod +x /usr/bin/rpm
}

@test "the package manager's directory is used, unless -dir gives another or -nosearch is given" {
    given_the_package /opt/by-rpm
    given_the_package /opt/by-hand
    given_rpm /opt/by-rpm
    export QDN_INSTALL_KSNAME=kell.example QDN_INSTALL_AUTOSTART=no

    qdn_configure -configure -noimode -quiet -nosearch -dir /opt/by-hand
    expect_status 0
    expect_value Configuration installdir /opt/by-hand /opt/by-hand/etc/client.conf
    expect_missing "$desk/rpm-calls" /opt/by-rpm/etc/client.conf

    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_value Configuration installdir /opt/by-rpm /opt/by-rpm/etc/client.conf
    [ "$(sort -u "$desk/rpm-calls")" = "-q -l qdn-ksclt" ]
}

@test "the programs are called through their links, with the environment of the agent" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_missing /usr/bin/qdn-helper /usr/bin/qdn-env /usr/bin/qdn-diagnose /usr/bin/qdn-pluginmanager
    qdn-monitor "one word" two >"$desk/said"
    expect_file "$desk/said" <<END
This is qdn-monitor of the Zorvane Agent for UNIX and Linux, a sample.
Configuration: $agent/etc/client.conf
Argument: one word
Argument: two
END
    [ "$(stat -c %a "$agent/bin/qdn-monitor.bin" "$agent/bin/qdn-configure.bin" "$agent/bin/qdn-env" | xargs)" = \
        "555 544 555" ]
}

each_test_is_a_session
