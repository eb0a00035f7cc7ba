# A file that others can put something in the place of, while a run looks at it: what was judged is what is used, never
# the other one, however often they change places.
# shellcheck disable=SC2154 # a session says where things are
load support

# Counts the rounds in which each of the two came first, so that a race that one of them always wins is noticed.
count_round() {
    if grep -q "is not used: other users can write to it" "$desk/err"; then
        refused=$((refused + 1))
    else
        used=$((used + 1))
    fi
}

@test "the XML configuration file in /tmp that was judged is the one that is used" {
    local refused=0 used=0
    given_the_package
    given_plain_xml "$HOME"
    mv "$HOME/$xml" "$desk/ours"
    sed 's/kell.example/evil.example/' "$desk/ours" >"$desk/theirs"
    given_a_swapper 0
    while [ "$rounds" -lt 50 ]; do
        # A run removes the file that it has used: each has two of its own.
        install -m 0600 "$desk/ours" "/tmp/$xml"
        install -m 0666 "$desk/theirs" "/tmp/$xml.link"
        rm -f "$agent/etc/client.conf"
        while_exchanged 0 "/tmp/$xml" "$program" -configure -noimode
        count_round
        [ "$status" -ne 0 ] || expect_value "Kell Servers" server-1 kell.example
        [ ! -e "$agent/etc/client.conf" ] || expect_no_line "evil.example" "$agent/etc/client.conf"
    done
    [ "$refused" -gt 0 ]
    [ "$used" -gt 0 ]
}

@test "the client.conf that was judged, in a directory that anyone can write, is the one that is used" {
    local refused=0 used=0
    mkdir -p /opt/base/etc /opt/victim
    chmod 0777 /opt/base/etc
    echo "precious" >/opt/victim/qdn-client.log
    printf '[Version]\nagent_major=6\nagent_minor=2\nagent_build=1000\n[Configuration]\ninstalldir=%s\nvar=%s\n' \
        /opt/base/none /opt/base/none >"$desk/ours"
    sed 's,/opt/base/none,/opt/victim,' "$desk/ours" >"$desk/theirs"
    given_a_swapper 0
    while [ "$rounds" -lt 50 ]; do
        install -m 0644 "$desk/ours" /opt/base/etc/client.conf
        install -m 0666 "$desk/theirs" /opt/base/etc/client.conf.link
        while_exchanged 0 /opt/base/etc/client.conf "$program" -clean /opt/base
        count_round
        expect_file /opt/victim/qdn-client.log <<<"precious"
    done
    [ "$refused" -gt 0 ]
    [ "$used" -gt 0 ]
}

each_test_is_a_session
