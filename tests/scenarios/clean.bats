# -clean before the package is removed: what the program made goes, and nothing else.
load support
load old-agent
load removal

# From now on, changes are those since the host had no agent.
remember_the_host() { list_files >"$desk/host"; }
expect_changes_of_the_host() {
    mv "$desk/host" "$desk/before"
    expect_changes
}

@test "an agent in its usual place goes with all its links, and the host is as before but for the program's own link" {
    remember_the_host
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    touch "$agent/var/queue/0001.kse" "$agent/var/invlock" "$agent/var/qdn-client.log" "$agent/var/qdn-client.log.1"

    qdn_configure -clean "$agent"
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner
  Removing qdn-* links in /usr/bin
  Removing RC init links and scripts
END
    expect_changes_of_the_host <<END
+ drwxr-xr-x /opt/zorvane/kell
+ lrwxrwxrwx /usr/bin/qdn-configure -> $agent/bin/qdn-configure
END
}

@test "-quiet cleans without a word" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    expect_output <<<"$banner"
    expect_no_errors
    expect_missing "$agent" /etc/init.d/zorvane
}

@test "links in another directory go; what others put there by such a name stays" {
    remember_the_host
    given_the_package
    given_plain_xml
    sed -i 's,</Settings>,<BinDir>/usr/local/bin</BinDir></Settings>,' "/tmp/$xml"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    mkdir /usr/local/bin/qdn-monitors
    echo "another program" >/usr/local/bin/qdn-other
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    expect_changes_of_the_host <<END
+ drwxr-xr-x /opt/zorvane/kell
+ lrwxrwxrwx /usr/local/bin/qdn-configure -> $agent/bin/qdn-configure
+ drwxr-xr-x /usr/local/bin/qdn-monitors
+ -rw-r--r-- /usr/local/bin/qdn-other
END
}

@test "a damaged client.conf does not cost the host its directories" {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    sed -i 's,^\(var\|event_queue_dir\|task_storage_path\|swd_storage_path\|package_storage_path\)=.*,\1=/etc,
        s,^installdir=.*,installdir=/usr/,; s,^guid_guid_file=.*,guid_guid_file=/etc/passwd.d/../,
        s,^bindir=.*,bindir=/usr/../usr/bin/,' "$agent/etc/client.conf"
    touch /etc/1234.kse "/etc/{12345678-1234-1234-1234-123456789012}"
    qdn_configure -clean "$agent" -quiet
    expect_status 0
    expect_plain_files /etc/passwd /etc/1234.kse "/etc/{12345678-1234-1234-1234-123456789012}"
    [ -d /usr/bin ]
    [ -x /usr/bin/env ]
}

@test "a clean warns of what a read-only file system keeps, and the next one removes it" {
    given_an_old_agent 6.0SP2
    mount --bind /usr/bin /usr/bin
    mount -o remount,ro,bind /usr/bin
    clean
    expect_status 0
    expect_errors <<END
WARNING! /usr/bin/qdn-clientevent could not be removed: Read-only file system.
WARNING! /usr/bin/qdn-monitor could not be removed: Read-only file system.
WARNING! $agent/etc/client.conf is kept: not everything could be removed.
END
    expect_plain_files "$agent/etc/client.conf"
    umount -l /usr/bin
    clean
    expect_status 0
    expect_no_errors
    expect_missing "$agent" /usr/bin/qdn-{clientevent,monitor}
}

@test "a clean is done with what is not there on a read-only file system" {
    mkdir /opt/links
    given_the_package
    given_plain_xml
    sed -i "s,</Settings>,<BinDir>/opt/links</BinDir></Settings>," "/tmp/$xml"
    mount --bind /usr/bin /usr/bin
    mount -o remount,ro,bind /usr/bin
    qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    clean
    expect_status 0
    expect_no_errors
    expect_missing "$agent"
}

each_test_is_a_session
