# The runs that are disturbed: each prepares a host and says in `command` which run changes it, and in `conf` which
# configuration that run writes. Loaded after the functions of a session and of older agents.
# shellcheck disable=SC2034 # both are read by the caller

given_fresh() {
    given_the_package
    given_plain_xml
    conf=$agent/etc/client.conf
    command=(-configure -noimode)
}

given_in_place() {
    given_an_old_agent 6.2
    given_the_package
    conf=$agent/etc/client.conf
    command=(-configure -noimode)
}

# A 5.6 agent has entries in the host's own files.
given_in_place_56() {
    given_an_old_agent 5.6
    given_the_package
    conf=$agent/etc/client.conf
    command=(-configure -noimode)
}

given_elsewhere() {
    mkdir -p "${elsewhere%/*}"
    mount -t tmpfs -o mode=0755 tmpfs "${elsewhere%/*}"
    upgrade_to "$elsewhere"
}

# Nobody knows that the new package is there but the one who says so again.
given_elsewhere_unknown() {
    given_elsewhere
    rm /usr/sbin/rpm
}

# On one disk what moves is renamed.
given_beside() { upgrade_to /opt/beside/agent; }

# upgrade_to DIR: the package manager knows that the new package is there, so that a next run finds what this one has
# made.
upgrade_to() {
    given_an_old_agent 6.0SP2
    mkdir -p "${1%/*}"
    given_the_package "$1"
    have_package_manager "$1"
    conf=$1/etc/client.conf
    command=(-configure -noimode -dir "$1")
}

given_clean() {
    given_an_old_agent 6.2
    given_the_package
    conf=$agent/etc/client.conf
    command=(-clean "$agent")
}

given_apply() {
    given_in_place
    command=(-apply -yes "${command[@]}")
}

given_apply_beside() {
    given_beside
    command=(-apply -yes "${command[@]}")
}

given_apply_clean() {
    given_clean
    command=(-apply -yes "${command[@]}")
}

# The tool for services is harmless in the rehearsal, which has a network of its own, and has the command fail half-way.
given_apply_failing() {
    given_apply
    cat >/usr/sbin/chkconfig <<END
#!/bin/sh
[ "\$(readlink /proc/self/ns/net)" = '$(readlink /proc/self/ns/net)' ] || exit 0
rm -f $agent/etc/.unfinished
mkdir -p $agent/etc/.unfinished
END
    chmod 0755 /usr/sbin/chkconfig
}

given_preview() {
    given_fresh
    command=(-preview "${command[@]}")
}

given_preview_upgrade() {
    given_in_place_56
    command=(-preview "${command[@]}")
}

given_status() {
    given_fresh
    "$program" "${command[@]}" -quiet >"$desk/configured"
    rm /usr/bin/qdn-monitor # one thing is not in order
    command=(-status "$agent")
}

# have_package_manager DIR: one that has the agent's package there.
have_package_manager() {
    printf '#!/bin/sh\necho %s/etc/client.proto\n' "$1" >/usr/sbin/rpm
    chmod 755 /usr/sbin/rpm
}
