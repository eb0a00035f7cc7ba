# What the scriptlets of both packages share, as far as it can be seen without a host. The rest is tested by
# script/test-hosts.

setup() {
    functions=$(cd "$BATS_TEST_DIRNAME/../.." && pwd)/packaging/scriptlet-functions
    conf=$BATS_TEST_TMPDIR/client.conf
}

# conf_value KEY: as a scriptlet reads it.
conf_value() {
    sh -c '. "$1" && conf_value "$2" "$3"' sh "$functions" "$1" "$conf"
}

@test "a value of client.conf is read as the program reads it" {
    printf '%s\r\n' '[Version]' 'installdir=/not/here' '[Configuration]' '; installdir=/nor/here' \
        ' installdir = /opt/an agent	 ' 'installdir=/second' 'bindir=' '[Client Details]' 'tmpdir=/nor/here' >"$conf"
    [ "$(conf_value installdir)" = "/opt/an agent" ]
    [ "$(conf_value bindir)" = "" ]
    [ "$(conf_value tmpdir)" = "" ]
}

@test "a client.conf that is not there has no values" {
    [ "$(conf_value installdir)" = "" ]
}
