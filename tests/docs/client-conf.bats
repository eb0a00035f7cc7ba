# client.conf(5) against the file that the program writes: keys, values, and what an upgrade carries over.
load ../scenarios/support

page() { cat "$project/docs/client.conf.5"; }

# [Section] and key=value, as they stand in the page and in a file.
entries_of_page() {
    page | sed -n '/^\.Sh KEYS/,/^\.Sh FILES/p' |
        sed -nE 's/^\.Ss (.*)/[\1]/p; s/^\.It Cm "(.*)"$/\1/p; s/^\.It Cm ([^"]*)$/\1/p'
}
entries_of_file() { grep -vE '^(#|$)' "$1"; }

given_a_configured_agent() {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

configure_again() {
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode -quiet
    expect_status 0
    expect_no_errors
}

# Another value for each key on standard input but those that tell which agent it is and where.
changed() {
    awk '
        /^(agent_|server-1|installdir|bindir)/ || !/^[^#[][^=]*=/ { print; next }
        {
            split($0, entry, "=")
            value = substr($0, length(entry[1]) + 2)
            print entry[1] "=" (value ~ /^\// ? value "/other" : "9" NR)
        }'
}

@test "the page has every key of a configured agent with its value, and no other" {
    given_a_configured_agent
    entries_of_page | same "the page's entries" <(entries_of_file "$agent/etc/client.conf")
    expect_missing "$agent/var/policies"
}

@test "every value is carried over as it stands, but for those that the page names" {
    given_a_configured_agent
    changed <"$agent/etc/client.conf" >"$desk/changed"
    cp "$desk/changed" "$agent/etc/client.conf"
    configure_again
    { diff "$desk/changed" "$agent/etc/client.conf" || true; } | sed -n 's/^< \([^=]*\)=.*/\1/p' >"$desk/not-carried"
    same "keys not carried" "$desk/not-carried" <<'END'
runlevels_start
runlevels_stop
basicinv_use_resolv_conf
httppost_var_name
ssl_verify_peer
ssl_verify_host
ssl_ca_info
ssl_ca_path
zorvane.qdnntracker
program
threads
zorvane.qdnntracker
END
    page | sed -n '/^\.Ss On an upgrade/,/^\.Sh KEYS/s/^\.Cm \([^ ]*\).*/\1/p' | sort |
        same "keys that the page names" <(sort "$desk/not-carried" | grep -vxE 'zorvane.qdnntracker|program|threads')
}

@test "the keys that an upgrade puts into another form are what the page says" {
    given_a_configured_agent
    sed -i 's/^\(ssl_verify_peer\)=.*/\1=1/; s/^\(ssl_verify_host\)=.*/\1=off/
        s/^\(basicinv_use_resolv_conf\)=.*/\1=yes/; s,^\(ssl_ca_info\)=.*,\1=ca.pem,
        s/^\(runlevels_start\)=.*/\1=24/' "$agent/etc/client.conf"
    configure_again
    expect_value "Client Transport" ssl_verify_peer yes
    expect_value "Client Transport" ssl_verify_host no
    expect_value "Client Transport" ssl_ca_info "$PWD/ca.pem"
    expect_value Configuration basicinv_use_resolv_conf 1
    expect_value Configuration runlevels_start "2 4"
    expect_value Configuration runlevels_stop "0 1 3 5 6"
}

@test "comments and unknown keys are found in the file before the run only" {
    given_a_configured_agent
    printf '[Mine]\n# mine\nkey=value\n' >>"$agent/etc/client.conf"
    cp "$agent/etc/client.conf" "$desk/before-the-run"
    configure_again
    expect_no_line '[Mm]ine' "$agent/etc/client.conf"
    cmp "$desk/before-the-run" "$agent/etc/client.conf.old"
}

@test "paths below the agent's directory follow it to another one" {
    given_a_configured_agent
    sed -i 's,^\(policies_cache_dir\)=.*,\1=/srv/policies,' "$agent/etc/client.conf"
    given_the_package "$elsewhere"
    QDN_INSTALL_AUTOSTART=no qdn_configure -configure -noimode -quiet -dir "$elsewhere"
    expect_status 0
    expect_value Configuration event_queue_dir "$elsewhere/var/queue" "$elsewhere/etc/client.conf"
    expect_value Configuration policies_cache_dir /srv/policies "$elsewhere/etc/client.conf"
}

@test "a line is read as the page says: first key, value without blanks at its ends, comments" {
    given_a_configured_agent
    sed -i 's/^transport_timeout=.*/# transport_timeout=1\n; transport_timeout=2\n transport_timeout =  3 = 4  \ntransport_timeout=5/' "$agent/etc/client.conf"
    configure_again
    expect_value "Client Transport" transport_timeout "3 = 4"
}

@test "the files are there with the modes that the page says" {
    given_a_configured_agent
    configure_again
    page | sed -n '/^\.Sh FILES/,/^\.Sh SEE/{ s/^\.It Pa //p; s/.*mode \([0-7]*\)\.$/\1/p; }' | paste - - >"$desk/files"
    [ "$(wc -l <"$desk/files")" -eq 3 ]
    while read -r file mode; do [ "0$(stat -c %a "$file")" = "$mode" ] || fail "$file"; done <"$desk/files"
}

each_test_is_a_session
