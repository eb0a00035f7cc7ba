# Whatever the client.conf of an older agent names: its upgrade neither takes nor removes what is not the agent's.
load support
load old-agent
load removal

put_everything_in() {
    local key
    for key in installdir libdir var event_queue_dir task_storage_path package_storage_path swd_storage_path; do
        set_value "$key" "$1"
    done
}

upgrade_to() {
    given_the_package "$1"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode -dir "$1"
}

# The changes beside those of the agents, their programs and their service: expect_host_changes <<END.
expect_host_changes() {
    list_files >"$desk/after"
    changes | made_here |
        sed -E "\\,^. [^ ]+ ($agent|/opt/elsewhere|/usr/bin/qdn-|/etc/init.d/zorvane|/etc/rc..d/...zorvane),d" \
            >"$desk/changes"
    same "changes" "$desk/changes"
}

# A run that had nowhere to put the data has failed before it changed anything: expect_finished_or_untouched DIRECTORY.
expect_finished_or_untouched() {
    if [ "$status" -eq 0 ]; then
        expect_plain_files "$1/etc/client.conf.old"
    else
        expect_status 1
        expect_no_changes
    fi
}

clear_the_host() {
    rm -rf /opt/zorvane/* /opt/elsewhere /etc/init.d/zorvane /etc/rc?.d/*zorvane /usr/bin/qdn-*
}

@test "with everything in places of the host, all of the host's stays, wherever the agent goes" {
    given_baits
    while read -r place; do
        for directory in "$agent" "$elsewhere"; do
            given_an_old_agent 6.2
            put_everything_in "$place"
            upgrade_to "$directory"
            expect_host_changes </dev/null
            expect_finished_or_untouched "$directory"
            clear_the_host
        done
    done < <(misplaced)
    expect_file "$desk/usr" < <(list_usr)
}

@test "with everything of 5.6 in places of the host, all of the host's stays" {
    given_baits
    while read -r place; do
        given_an_old_agent 5.6
        rm "$agent/bin/qdn-env"
        put_everything_in "$place"
        upgrade_to "$elsewhere"
        expect_finished_or_untouched "$elsewhere"
        [ "$status" -ne 0 ] || expect_host_changes <<'END'
! -rw-r--r-- /etc/inetd.conf
! -rw-r--r-- /etc/services
END
        clear_the_host
    done < <(misplaced)
    expect_file "$desk/usr" < <(list_usr)
}

# The tool for services runs after the settings were read and before they are written.
@test "a client.conf that disappears meanwhile takes nothing along" {
    for version in 5.6 6.0 6.2; do
        given_an_old_agent "$version"
        cp "$agent/etc/client.conf" "$desk/old.conf"
        printf '#!/bin/sh\nrm -f %s/etc/client.conf\n' "$agent" >/usr/sbin/chkconfig
        chmod +x /usr/sbin/chkconfig
        upgrade_to "$elsewhere"
        expect_status 0
        expect_no_errors
        expect_file "$elsewhere/etc/client.conf.old" <"$desk/old.conf"
        expect_value "Client Details" SerialNumber "SN = 12  34" "$elsewhere/etc/client.conf"
        expect_file "$elsewhere/var/queue/one.kse" <<<"event one"
        expect_missing "$agent/etc" "$agent/bin/runit.sh"
        clear_the_host
    done
}

each_test_is_a_session
