# A host with an older agent gets the new one: every value arrives, every sub-agent stays registered, the data moves
# along, and the old configuration is still there afterwards.
load support
load old-agent

# The new package over or beside the old agent, and the run that upgrades. Starting would take ten seconds.
upgrade_to() {
    local dir=$1
    shift
    given_the_package "$dir"
    cp "$agent/etc/client.conf" "$desk/old.conf"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode -dir "$dir" "$@"
}

# What every agent of 6.0 and later had, in the agent at DIR.
expect_carried_6x() {
    local dir=$1 conf=$1/etc/client.conf
    expect_value Version agent_build 350 "$conf"
    expect_value "Kell Servers" server-1 old.example:8083 "$conf"
    expect_value Configuration installdir "$dir" "$conf"
    expect_value Configuration bindir /usr/bin "$conf"
    expect_value Configuration tmpdir /var/tmp "$conf"
    expect_value Configuration var "$dir/var" "$conf"
    expect_value Configuration event_queue_dir "$dir/var/queue" "$conf"
    expect_value Configuration debug_output "$dir/var/qdn-client.log" "$conf"
    expect_value Configuration debug_file_size 777 "$conf"
    expect_value Configuration debug_level warning "$conf"
    expect_value Configuration syslog_level error "$conf"
    expect_value Configuration runlevels_start "3 5" "$conf"
    expect_value Configuration runlevels_stop "0 1 2 4 6" "$conf"
    expect_value Configuration basicinv_use_resolv_conf 0 "$conf"
    expect_value Configuration package_retry_delay 61 "$conf"
    expect_value "Client Transport" ks_url_format https://%server%/Zorvane/ "$conf"
    expect_value "Client Transport" ssl_verify_peer yes "$conf"
    expect_value "Client Transport" ssl_ca_info /etc/ssl/zorvane.pem "$conf"
    expect_value "Event Queue" level1-retries 5 "$conf"
    expect_value "Event Queue" level2-retries 7 "$conf"
    expect_value "Client Details" SerialNumber "SN = 12  34" "$conf"
    expect_value "Client Details" Location "Z$(printf '\374')rich" "$conf"
    printf '%s\nnull' "$guid" | expect_file "$dir/etc/host.GUID"
}

expect_sub_agents() {
    local conf=$1/etc/client.conf
    expect_value Configuration sub_agent_names "inventory;monitor" "$conf"
    expect_value Configuration sub_agent_versions "1.0;2.0" "$conf"
    expect_value Configuration sub_agent_build_nums "10;20" "$conf"
    expect_value Configuration sub_agent_paths "$agent/inventory;$agent/monitor" "$conf"
    expect_value Configuration agent_roles webserver "$conf"
    expect_value "Class Servers" inventory.server Inventory "$conf"
    expect_value Inventory library libinventory.so "$conf"
    expect_value "Static Agents" inventory.agent no "$conf"
}

expect_data() {
    expect_file "$1/var/queue/one.kse" <<<"event one"
    expect_file "$1/var/tasks/one.kst" <<<"task one"
}

# The package's record in its new form, and nothing of it in the old one.
expect_converted_package() {
    local store=$1/var/packages
    expect_file "$store/$package/file" <<<"payload"
    expect_file "$store/.qdn-pkg-snapshot-$package" <<<"snapshot"
    grep -q 'Office &amp; tools' "$store/.qdn-pkg-xml-$package"
    grep -q 4711 "$store/.qdn-pkg-xml-$package"
    expect_missing "$store/$package.qdn-pkg-info" "$store/$package.qdn-pkg-snapshot"
}

expect_old_conf_kept() { expect_file "$1/etc/client.conf.old" <"$desk/old.conf"; }

upgrade_in_place_6x() {
    given_an_old_agent "$1"
    upgrade_to "$agent"
    expect_status 0
    expect_no_errors
    grep -qx "Migrating Agent $1 settings..." "$desk/out"
    expect_carried_6x "$agent"
    expect_sub_agents "$agent"
    expect_data "$agent"
    expect_converted_package "$agent"
    expect_old_conf_kept "$agent"
    grep -q "Default-Start: *3 5" /etc/init.d/zorvane
    expect_missing /tmp/ksclt
}

upgrade_moved_6x() {
    given_an_old_agent "$1"
    upgrade_to "$elsewhere"
    expect_status 0
    expect_no_errors
    expect_carried_6x "$elsewhere"
    expect_sub_agents "$elsewhere"
    expect_data "$elsewhere"
    expect_converted_package "$elsewhere"
    expect_old_conf_kept "$elsewhere"
    [ "$(readlink /usr/bin/qdn-monitor)" = "$elsewhere/bin/qdn-monitor" ]
}

@test "6.0 is upgraded in place" {
    upgrade_in_place_6x 6.0
}

@test "6.0 SP1 is upgraded in place" {
    upgrade_in_place_6x 6.0SP1
}

@test "6.0 SP2 is upgraded in place" {
    upgrade_in_place_6x 6.0SP2
}

@test "6.1 is upgraded in place" {
    given_an_old_agent 6.1
    upgrade_to "$agent"
    expect_status 0
    grep -qx "Migrating Agent 6.1 settings..." "$desk/out"
    expect_carried_6x "$agent"
}

@test "6.2 is upgraded in place" {
    upgrade_in_place_6x 6.2
}

@test "6.0 moves to another directory" {
    upgrade_moved_6x 6.0
}

@test "6.0 SP1 moves to another directory" {
    upgrade_moved_6x 6.0SP1
}

@test "6.0 SP2 moves to another directory" {
    upgrade_moved_6x 6.0SP2
}

@test "6.1 moves to another directory" {
    upgrade_moved_6x 6.1
}

@test "6.2 moves to another directory, without the rotated logs" {
    upgrade_moved_6x 6.2
    expect_missing "$elsewhere/var/qdn-client.log.1" "$agent/var/qdn-client.log.1"
}

@test "stores that are spelled with dots move to another directory" {
    given_an_old_agent 6.0SP2
    sed -i -e '/^sub_agent_paths=/s,=.*,=,' -e "s,^event_queue_dir=.*,event_queue_dir=$agent/var/../var/queue," \
        -e "s,^task_storage_path=.*,task_storage_path=$agent/./var/tasks/.," "$agent/etc/client.conf"
    upgrade_to "$elsewhere"
    expect_status 0
    expect_no_errors
    expect_value Configuration task_storage_path "$elsewhere/./var/tasks/." "$elsewhere/etc/client.conf"
    expect_file "$elsewhere/var/queue/one.kse" <<<"event one"
    expect_file "$elsewhere/var/tasks/one.kst" <<<"task one"
    expect_missing "$agent"
}

@test "a certificate in the old directory keeps that directory" {
    given_an_old_agent 6.0SP2
    sed -i "s,^ssl_ca_info=.*,ssl_ca_info=$agent/etc/ca.pem," "$agent/etc/client.conf"
    echo certificate >"$agent/etc/ca.pem"
    upgrade_to "$elsewhere"
    expect_status 0
    expect_file "$agent/etc/ca.pem" <<<certificate
    expect_errors <<END
WARNING! $agent is kept: the new configuration names $agent/etc/ca.pem.
END
}

@test "a run warns of each path of a sub-agent in the old directory, and keeps that directory" {
    given_an_old_agent 6.0SP2
    mkdir "$agent"/{inventory,monitor}
    sed -i "s,^library=.*,library=$agent/lib/libinventory.so," "$agent/etc/client.conf"
    touch "$agent/lib/libinventory.so"
    upgrade_to "$elsewhere"
    expect_status 0
    expect_errors <<END
WARNING! $agent is kept: the new configuration names $agent/inventory.
WARNING! $agent is kept: the new configuration names $agent/monitor.
WARNING! $agent is kept: the new configuration names $agent/lib/libinventory.so.
END
    expect_plain_files "$agent/lib/libinventory.so"
    expect_value Inventory library "$agent/lib/libinventory.so" "$elsewhere/etc/client.conf"
}

@test "data that could not be moved is moved by the next configuration" {
    local told="WARNING! $agent/var/queue is kept: $elsewhere/var/queue has entries of the same name."
    given_an_old_agent 6.0SP2
    mkdir -p "$elsewhere/var/queue"
    echo "in the way" >"$elsewhere/var/queue/one.kse"
    upgrade_to "$elsewhere"
    expect_status 0
    printf '%s\n' "$told" "WARNING! $agent is kept: not all of the data could be moved." | expect_errors
    expect_file "$agent/etc/client.conf" <"$desk/old.conf"
    expect_file "$elsewhere/etc/.unmoved" <<<"$agent/etc/client.conf"

    # The old directory holds no agent any more, and each run says what it still cannot move.
    given_plain_xml /tmp "$elsewhere"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 0
    expect_errors <<<"$told"

    rm "$elsewhere/var/queue/one.kse"
    given_plain_xml /tmp "$elsewhere"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 0
    expect_no_errors
    expect_file "$elsewhere/var/queue/one.kse" <<<"event one"
    expect_missing "$agent" "$elsewhere/etc/.unmoved"
}

expect_carried_56() {
    local dir=$1 conf=$1/etc/client.conf
    expect_value "Kell Servers" server-1 old.example "$conf"
    expect_value Configuration installdir "$dir" "$conf"
    expect_value Configuration event_queue_dir "$dir/var/queue" "$conf"
    expect_value Configuration debug_file_size 777 "$conf"
    expect_value Configuration debug_level warning "$conf"
    expect_value Configuration basicinv_ip_error_return_value "none found" "$conf"
    expect_value "Client Transport" transport_timeout 99 "$conf"
    expect_value "Event Queue" level1-retries 7 "$conf"
    expect_value "Client Details" SerialNumber "SN = 12  34" "$conf"
    expect_value "Client Details" Location "Z$(printf '\374')rich" "$conf"
}

expect_no_56_in_the_system() {
    printf 'ssh 22/tcp\nhttp 80/tcp\n' | expect_file /etc/services
    printf 'ftp stream tcp\n' | expect_file /etc/inetd.conf
    expect_missing /usr/bin/qdn-collector
}

@test "5.6 is upgraded in place" {
    given_an_old_agent 5.6
    upgrade_to "$agent"
    expect_status 0
    expect_no_errors
    grep -qx "Migrating Agent 5.6 settings..." "$desk/out"
    expect_carried_56 "$agent"
    expect_file "$agent/etc/host.GUID" <<<"$guid"
    expect_data "$agent"
    expect_old_conf_kept "$agent"
    expect_no_56_in_the_system
    expect_missing "$agent/bin/runit.sh" "$agent/bin/whose" "$agent/var/qdn-client.log"
    expect_plain_files "$agent/etc/client.proto" "$agent/bin/qdn-monitor.bin" "$agent/lib/service-functions"
}

@test "the identifier of 5.6 is dropped when the server changes, and replaced by the XML file's" {
    given_an_old_agent 5.6
    given_plain_xml /tmp
    cp -a "$agent" "$desk/agent"
    upgrade_to "$agent"
    expect_status 0
    expect_missing "$agent/etc/host.GUID"
    rm -rf "$agent"
    cp -a "$desk/agent" "$agent"
    given_plain_xml /tmp
    sed -i 's,</KSName>,</KSName><Guid>{12345678-AAAA}</Guid>,' "/tmp/$xml"
    upgrade_to "$agent"
    expect_status 0
    printf '{12345678-AAAA}\nnull' | expect_file "$agent/etc/host.GUID"
}

@test "5.6 keeps its identifier when its own server is the answer, and loses it to another one" {
    local server keep
    for server in old.example OLD:8083 new.example; do
        for keep in yes no; do
            given_an_old_agent 5.6
            given_the_package
            printf '%s\n\n%s\n\n\n\n\n\n\n\n\n\n\n\nno\n' "$server" "$keep" >"$desk/answers"
            "$program" -iconfigure -quiet <"$desk/answers" >/dev/null
            case $server in
                new*) expect_missing "$agent/etc/host.GUID" ;;
                *) expect_file "$agent/etc/host.GUID" <<<"$guid" ;;
            esac
            rm -rf "$agent" /etc/rc*.d/[SK]*zorvane
        done
    done
}

# upgraded_without_paths EDIT: 5.6 whose configuration does not say where its data and its identifier are.
upgraded_without_paths() {
    given_an_old_agent 5.6
    sed -i -E "/^(event_queue_dir|task_storage_path|guid_guid_file) /$1" "$agent/etc/client.conf"
    upgrade_to "$elsewhere"
    expect_status 0
    expect_no_errors
    expect_data "$elsewhere"
    expect_file "$elsewhere/etc/host.GUID" <<<"$guid"
}

@test "5.6 without keys of its paths takes its data and its identifier to another directory" {
    upgraded_without_paths d
}

@test "5.6 with keys of its paths that are empty takes its data and its identifier to another directory" {
    upgraded_without_paths 's/=.*/=/'
}

@test "5.6 keeps the identifier file that its configuration names, byte for byte" {
    given_an_old_agent 5.6
    mkdir /var/ids
    mv "$agent/etc/host.GUID" /var/ids/host
    sed -i 's,^guid_guid_file.*,guid_guid_file = /var/ids/host,' "$agent/etc/client.conf"
    inode=$(stat -c %i /var/ids/host)
    upgrade_to "$agent"
    expect_status 0
    expect_no_errors
    expect_value Configuration guid_guid_file /var/ids/host
    expect_file /var/ids/host <<<"$guid"
    [ "$(stat -c %i /var/ids/host)" = "$inode" ]
}

@test "where an old path is empty, the new one is the usual one" {
    given_an_old_agent 6.0SP2
    sed -i -E 's/^(bindir|tmpdir|var|event_queue_dir|guid_guid_file|debug_output)=.*/\1=/' "$agent/etc/client.conf"
    upgrade_to "$agent"
    expect_status 0
    expect_no_errors
    expect_value Configuration bindir /usr/bin
    expect_value Configuration tmpdir /tmp
    expect_value Configuration var "$agent/var"
    expect_value Configuration event_queue_dir "$agent/var/queue"
    expect_value Configuration guid_guid_file "$agent/etc/host.GUID"
    expect_value Configuration debug_output "$agent/var/qdn-client.log"
    expect_data "$agent"
    printf '%s\nnull' "$guid" | expect_file "$agent/etc/host.GUID"
}

@test "5.6 moves to another directory with its identifier, run levels and description" {
    given_an_old_agent 5.6
    LC_ALL=C sed -i 's/^debug_level.*/&\nrunlevels_start = 3/; s/^Location.*/&\nDescription = a host/' "$agent/etc/client.conf"
    upgrade_to "$elsewhere"
    expect_status 0
    expect_no_errors
    expect_carried_56 "$elsewhere"
    expect_file "$elsewhere/etc/host.GUID" <<<"$guid"
    expect_value Configuration runlevels_start "3" "$elsewhere/etc/client.conf"
    expect_value "Client Details" Description "a host" "$elsewhere/etc/client.conf"
    expect_data "$elsewhere"
    expect_old_conf_kept "$elsewhere"
    expect_no_56_in_the_system
    expect_missing "$agent/etc" "$agent/bin/runit.sh" "$agent/lib/libomniORB.so" "$agent/var/old.example.xml"
}

@test "an upgrade of an upgraded agent changes nothing" {
    given_an_old_agent 6.0SP2
    upgrade_to "$agent"
    expect_status 0
    cp "$agent/etc/client.conf" "$desk/first.conf"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 0
    expect_file "$agent/etc/client.conf" <"$desk/first.conf"
    expect_file "$agent/etc/client.conf.old" <"$desk/first.conf"
    printf '%s\nnull' "$guid" | expect_file "$agent/etc/host.GUID"
    expect_data "$agent"
    expect_converted_package "$agent"
}

@test "without an install directory nothing is saved in the host's /etc" {
    given_an_old_agent 6.0SP2
    given_xml /tmp <<'END'
<KSAgentConfiguration><KSName>kell.example</KSName><Settings Upgrade="no"/></KSAgentConfiguration>
END
    cp "$agent/etc/client.conf" "$desk/old.conf"
    qdn_configure -configure -noimode -nosearch
    expect_status 1
    expect_errors <<'END'
WARNING! No run level is configured: the agent is not started when the host boots.
ERROR: Missing file in install. File://etc/client.proto
END
    expect_missing /etc/client.conf.old
    expect_file "$agent/etc/client.conf" <"$desk/old.conf"
}

@test "an upgrade that failed can be run again and loses nothing" {
    given_an_old_agent 6.0
    rm -rf "$agent/etc/rcscript.proto.linux"
    given_the_package
    cp "$agent/etc/client.conf" "$desk/old.conf"
    mv "$agent/etc/client.proto" "$desk/client.proto"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 1
    expect_errors <<END
ERROR: Missing file in install. File:$agent/etc/client.proto
END
    expect_no_changes
    mv "$desk/client.proto" "$agent/etc/client.proto"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 0
    expect_carried_6x "$agent"
    expect_sub_agents "$agent"
    expect_data "$agent"
}

@test "the XML file's server wins, and the machine gets a new identifier for it" {
    given_an_old_agent 6.0SP2
    given_plain_xml /tmp
    upgrade_to "$agent"
    expect_status 0
    expect_value "Kell Servers" server-1 kell.example
    expect_value "Client Transport" ks_url_format http://%server%/Zorvane/
    expect_missing "$agent/etc/host.GUID"
}

@test "with the same server in the XML file the machine keeps its identifier" {
    given_an_old_agent 6.0SP2
    given_xml /tmp <<END
<KSAgentConfiguration><KSName>OLD.example</KSName><KSProtocol>https</KSProtocol></KSAgentConfiguration>
END
    upgrade_to "$agent"
    expect_status 0
    expect_value "Kell Servers" server-1 OLD.example
    printf '%s\nnull' "$guid" | expect_file "$agent/etc/host.GUID"
}

@test "an XML file that forbids the upgrade carries nothing, but the old configuration is kept" {
    given_an_old_agent 6.0SP2
    given_plain_xml /tmp "$agent" 'Upgrade="no"'
    upgrade_to "$agent"
    expect_status 0
    expect_no_line Migrating "$desk/out"
    expect_value "Client Details" SerialNumber ""
    expect_value Configuration debug_file_size 256
    expect_old_conf_kept "$agent"
    expect_data "$agent"
}

@test "a pending reinstall carries nothing over" {
    given_an_old_agent 6.0SP2
    mkdir -m 0700 /tmp/ksclt
    install -m 0600 "$agent/etc/client.conf" /tmp/ksclt/.reinstall-client.conf
    QDN_INSTALL_KSNAME=https://again.example:9000 upgrade_to "$agent"
    expect_status 0
    expect_value "Kell Servers" server-1 again.example:9000
    expect_value Configuration debug_file_size 256
    expect_missing /tmp/ksclt
}

@test "a package script's copy of the old configuration is upgraded from" {
    given_an_old_agent 6.0SP2
    mkdir -m 0700 /tmp/ksclt
    mv "$agent/etc/client.conf" /tmp/ksclt/.migrate-client.conf
    given_the_package
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode
    expect_status 0
    expect_carried_6x "$agent"
    expect_sub_agents "$agent"
    expect_missing /tmp/ksclt
}

@test "a copy that anyone could have planted is not used" {
    mkdir -m 0777 /tmp/ksclt
    printf '[Kell Servers]\nserver-1=evil.example\n' >/tmp/ksclt/.migrate-client.conf
    chmod 0666 /tmp/ksclt/.migrate-client.conf
    given_the_package
    QDN_INSTALL_AUTOSTART=no QDN_INSTALL_KSNAME=good.example qdn_configure -configure -noimode -dir "$agent"
    expect_status 0
    expect_errors <<END
WARNING! /tmp/ksclt/.migrate-client.conf is not used: /tmp/ksclt belongs to another user.
WARNING! /tmp/ksclt is not used: /tmp/ksclt belongs to another user.
END
    expect_value "Kell Servers" server-1 good.example
}

@test "a quiet upgrade says nothing and carries everything" {
    given_an_old_agent 6.2
    upgrade_to "$agent" -quiet
    expect_status 0
    expect_output <<<"$banner"
    expect_no_errors
    expect_carried_6x "$agent"
}

@test "old files that make no sense neither crash the run nor lose anything" {
    local bad=0
    mkdir -p "$agent/etc"
    given_the_package
    for content in '' '\0000\0001\0377binary' 'no sections at all' '[Configuration]\ninstalldir=/\nvar=/\n' \
        '[Configuration]\ninstalldir=relative\nevent_queue_dir=relative/queue\nvar=\n' \
        '[Version]\nagent_major=six\nagent_minor=x\nagent_build=-1\n' \
        '[Configuration]\nbindir=/usr/bin\nbindir=/opt\n[Configuration]\nbindir=/var\n'; do
        rm -f "$agent/etc/client.conf.old"
        printf '%b' "$content" >"$agent/etc/client.conf"
        cp "$agent/etc/client.conf" "$desk/old.conf"
        status=0
        QDN_INSTALL_AUTOSTART=no QDN_INSTALL_KSNAME=srv "$program" -configure -noimode -dir "$agent" \
            >"$desk/out" 2>"$desk/err" || status=$?
        bad=$((bad + 1))
        [ "$status" -le 1 ] || fail "status $status with content $bad"
        [ "$status" -eq 0 ] || grep -q '^ERROR: ' "$desk/err" || fail "no error text with content $bad"
        [ ! -e "$agent/etc/client.conf.old" ] || cmp "$desk/old.conf" "$agent/etc/client.conf.old"
        expect_plain_files "$agent/etc/client.proto" /usr/bin/env
    done
    [ "$bad" -eq 7 ]
}

@test "a configuration that was removed by hand after an upgrade does not come back" {
    given_an_old_agent 6.0SP2
    upgrade_to "$agent"
    expect_status 0
    rm "$agent/etc/client.conf"
    qdn_configure -configure -noimode -nosearch
    expect_status 1
    grep -q '^ERROR: No configuration file found\.' "$desk/err"
    expect_missing "$agent/etc/client.conf"
}

@test "directories that are links in a circle end the run with a text" {
    given_an_old_agent 6.0SP2
    rm -r "$agent/var/queue"
    ln -s "$agent/var/queue" "$agent/var/queue"
    upgrade_to "$agent"
    expect_status 1
    expect_errors <<END
ERROR: Error creating directory: $agent/var/queue
  $agent/var/queue: Too many levels of symbolic links
END
    expect_no_changes
}

@test "the configuration of a version that nobody knows is not carried over, but kept" {
    given_an_old_agent 6.2
    sed -i 's/^agent_minor=.*/agent_minor=7/' "$agent/etc/client.conf"
    cp "$agent/etc/client.conf" "$desk/unknown.conf"
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_no_errors
    expect_value "Kell Servers" server-1 kell.example
    cmp "$desk/unknown.conf" "$agent/etc/client.conf.old"
}

each_test_is_a_session
