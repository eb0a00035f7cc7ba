# A file that others can put something in the place of, while a run looks at it: what was judged is what is used, never
# the other one, however often they change places.
load support

# Two files take turns at a path, some hundred thousand times a second, until `end_the_race`. They change places, so
# that neither is ever missing there.
given_a_race() {
    local first
    mv "$2" "$1"
    first=$(stat -c %i "$1")
    /usr/bin/python3 - "$1" "$3" <"$project/tests/attacks/swapper.py" &
    race=$!
    while [ "$(stat -c %i "$1")" = "$first" ]; do kill -0 "$race"; done # until it is in full swing
}

end_the_race() {
    kill "$race"
    wait "$race" || true
}

# Counts the rounds in which each of the two came first, so that a race that one of them always wins is noticed.
count_round() {
    if grep -q "is not used: other users can write to it" "$desk/err"; then
        refused=$((refused + 1))
    else
        used=$((used + 1))
    fi
}

@test "the XML configuration file in /tmp that was judged is the one that is used" {
    local round refused=0 used=0
    given_the_package
    given_plain_xml "$HOME"
    mv "$HOME/$xml" "$desk/ours"
    for ((round = 0; round < 50; round++)); do
        # A run removes the file that it has used: each has two of its own.
        install -m 0600 "$desk/ours" /tmp/ours
        sed 's/kell.example/evil.example/' "$desk/ours" >/tmp/theirs
        chmod 0666 /tmp/theirs
        given_a_race "/tmp/$xml" /tmp/ours /tmp/theirs
        rm -f "$agent/etc/client.conf"
        status=0
        "$program" -configure -noimode >"$desk/out" 2>"$desk/err" || status=$?
        count_round
        [ "$status" -ne 0 ] || expect_value "Kell Servers" server-1 kell.example
        [ ! -e "$agent/etc/client.conf" ] || expect_no_line "evil.example" "$agent/etc/client.conf"
        end_the_race
    done
    [ "$refused" -gt 0 ]
    [ "$used" -gt 0 ]
}

@test "the client.conf that was judged, in a directory that anyone can write, is the one that is used" {
    local round refused=0 used=0
    mkdir -p /opt/base/etc /opt/victim
    chmod 0777 /opt/base/etc
    echo "precious" >/opt/victim/qdn-client.log
    printf '[Version]\nagent_major=6\nagent_minor=2\nagent_build=1000\n[Configuration]\ninstalldir=%s\nvar=%s\n' \
        /opt/base/none /opt/base/none >/opt/base/ours
    sed 's,/opt/base/none,/opt/victim,' /opt/base/ours >/opt/base/theirs
    chmod 0666 /opt/base/theirs
    given_a_race /opt/base/etc/client.conf /opt/base/ours /opt/base/theirs
    for ((round = 0; round < 50; round++)); do
        status=0
        "$program" -clean /opt/base >"$desk/out" 2>"$desk/err" || status=$?
        count_round
        expect_file /opt/victim/qdn-client.log <<<"precious"
    done
    end_the_race
    [ "$refused" -gt 0 ]
    [ "$used" -gt 0 ]
}

each_test_is_a_session
