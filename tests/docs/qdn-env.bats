# qdn-env(5) tells what the environment script that the program writes does to a shell, and nothing else.
load ../scenarios/support
load pages

of_page() { section qdn-env.5 "$@"; }

given_a_configured_agent() {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

# environment_after [NAME=VALUE ...]: what a program sees that is started after the script was read twice.
environment_after() {
    env -i PATH=/usr/bin:/bin "$@" sh -c '. "$0"; . "$0"; env' "$agent/bin/qdn-env" | sort
}

@test "its variables are those that the script exports or unsets" {
    given_a_configured_agent
    {
        sed -n 's/.*export \([A-Z_]*\).*/\1/p' "$agent/bin/qdn-env"
        sed -n "s/.*grep '^\(RPM_\)'.*/\1*/p" "$agent/bin/qdn-env"
    } >"$desk/variables"
    same_lists variables "$desk/variables" <(of_page ENVIRONMENT | items Ev)
}

@test "its other variables are those that the script leaves in the shell" {
    given_a_configured_agent
    RPM_INSTALL_PREFIX=/opt sh -c 'set; . "$0"; echo ---; set' "$agent/bin/qdn-env" | sed 's/=.*//' |
        awk '/^---$/ { after = 1 } /^[A-Za-z_]+$/ { if (!after) known[$0]; else if (!($0 in known)) print }' |
        grep -vxE 'LD_LIBRARY_PATH|QDNCLIENT_CONFIG_FILE|_' >"$desk/variables"
    same_lists variables "$desk/variables" <(of_page CAVEATS | sed -n 's/^\.Va \([A-Za-z_]*\).*/\1/p')
}

@test "a program sees what it says" {
    given_a_configured_agent
    environment_after RPM_INSTALL_PREFIX=/opt LD_LIBRARY_PATH=/opt/lib QDNCLIENT_CONFIG_FILE=/opt/other >"$desk/env"
    grep -v '^\(_\|PWD\|SHLVL\|OLDPWD\)=' "$desk/env" | same environment <(cat <<END
LD_LIBRARY_PATH=$agent/lib:/opt/lib
PATH=$agent/bin:/sbin:/bin:/usr/sbin:/usr/bin:/usr/bin:/bin
QDNCLIENT_CONFIG_FILE=$agent/etc/client.conf
END
)
}

@test "an old C library gets the threads that it needs" {
    given_a_configured_agent
    printf '#!/bin/sh\necho "ldconfig (GNU libc) 2.3.6"\n' >/usr/local/bin/ldconfig
    chmod 0755 /usr/local/bin/ldconfig
    env -i PATH="$agent/bin:/usr/local/bin:/usr/bin:/bin" sh -c '. "$0"; env' "$agent/bin/qdn-env" >"$desk/env"
    grep -qx LD_ASSUME_KERNEL=2.4.1 "$desk/env"
}

@test "the limit of open files is raised where it can be, and never lowered" {
    given_a_configured_agent
    [ "$(sh -c 'ulimit -Sn 256; . "$0"; ulimit -n' "$agent/bin/qdn-env")" -eq 1024 ]
    [ "$(sh -c 'ulimit -n 2048; . "$0"; ulimit -n' "$agent/bin/qdn-env")" -eq 2048 ]
}

@test "its example shows the environment" {
    given_a_configured_agent
    of_page EXAMPLES | sed -n 's/^\.Dl \$ //p' >"$desk/example"
    sh "$desk/example" | grep -qx "QDNCLIENT_CONFIG_FILE=$agent/etc/client.conf"
}

each_test_is_a_session
