# Whatever is configured, upgraded or cleaned on whatever host: a preview changes nothing, and what it says is what the
# run then does. Random installations; SEED=number repeats those of a run that failed, NUMBER=number makes more of them,
# and SIGNALS=number more of the moments at which a preview is ended. script/test-preview does.
load support
load old-agent
load random-installation

eval "seed() { echo ${SEED:-$SRANDOM}; }" # functions are what a session is given
eval "how_many() { echo ${NUMBER:-100}; }"
eval "how_many_signals() { echo ${SIGNALS:-30}; }"

truth() { "$project/tests/support/preview-truth.py" "$@"; }

# What the picked agent is configured on: nothing, an old agent in its place, or one that is somewhere else.
given_what_is_there() {
    unset QDNCLIENT_CONFIG_FILE
    pick nothing "in place" moving && there=$picked
    pick 5.6 6.0 6.0SP1 6.0SP2 6.1 6.2 && old=$picked
    [ "$there" != nothing ] || return 0
    olddir=$installdir
    [ "$there" = "in place" ] || olddir=/opt/old/agent
    mkdir -p /usr/bin
    given_an_old_agent "$old" "$olddir"
    export QDNCLIENT_CONFIG_FILE=$olddir/etc/client.conf
}

lay_the_package_over() {
    mkdir -p "$installdir"
    cp -a "$desk/package/." "$installdir"
    sed -i "s/^agent_minor=.*/agent_minor=${version% *}/; s/^agent_build=.*/agent_build=${version#* }/" \
        "$installdir/etc/client.proto"
}

# The run, with the words of the preview before it.
run_it() {
    status=0
    (cd / && QDNCLIENT_CONFIG_XML_DIR=$desk "$program" "$@" >"$desk/out" 2>"$desk/err") || status=$?
}

prove() {
    truth snapshot "$desk/tree-before"
    run_it -preview -json -out "$desk/document" "$@"
    local foretold=$status
    truth snapshot "$desk/tree-previewed"
    truth same "$desk/tree-before" "$desk/tree-previewed"
    cp "$desk/err" "$desk/err-foretold"
    run_it "$@"
    truth snapshot "$desk/tree-after"
    truth predict "$desk/tree-before" "$desk/document" "$desk/tree-after"
    [ "$status" -eq "$foretold" ] || fail "status $status, and $foretold was foretold"
    same "standard error" "$desk/err" <"$desk/err-foretold"
    python3 -c 'import json, sys; sys.stdout.write(json.load(open(sys.argv[1]))["output"])' "$desk/document" >"$desk/out-foretold"
    same "standard output" "$desk/out" <"$desk/out-foretold"
}

prove_one() {
    pick_installation
    given_the_picked_xml
    given_a_foreign_host
    given_what_is_there
    lay_the_package_over
    prove -configure -noimode -nosearch
    mkdir -p "$(expanded "$logdir")" # an upgrade has its log where it was
    if [ "$status" -eq 0 ]; then given_a_life_of_the_agent; fi
    in_one_of 2 || prove -clean "$installdir"
}

clear_all() {
    clear_the_host
    rm -rf /opt/old /etc/inetd.conf /usr/bin/qdn-* /etc/init.d/zorvane
    find /etc -name '[SK][0-9][0-9]zorvane' -delete
}

@test "what a preview says is what the run does, and the preview changes nothing" {
    echo "seed $(seed)"
    trap 'declare -p number there old installdir bindir queue tasks packages swd logdir tempdir guiddir version boot \
        anyone guid levels helper foreign; cp "$desk/document" /tmp 2>/dev/null' EXIT
    "$project/package/lay-down" "$desk/package" "$program"
    RANDOM=$(seed)
    for ((number = 1; number <= $(how_many); ++number)); do
        prove_one
        clear_all
    done
}

# Somebody's process and its socket, which no preview may touch.
given_a_service() {
    python3 -c 'import socket, time; s = socket.socket(socket.AF_UNIX); s.bind("/run/service"); s.listen(); time.sleep(3600)' \
        >/dev/null 2>&1 &
    service=$!
    until [ -S /run/service ]; do sleep 0.05; done
}

# Those that a preview had started end with it, at once but not before it.
wait_for_its_end() {
    local tries
    for ((tries = 0; tries < 200; ++tries)); do
        pgrep qdn-configure >/dev/null || return 0
        sleep 0.05
    done
    fail "a process is left"
}

@test "a preview that is interrupted or killed at a random moment leaves nothing" {
    echo "seed $(seed)"
    given_the_package
    given_plain_xml
    given_a_service
    truth snapshot "$desk/tree-before"
    RANDOM=$(seed)
    local number signal pid
    for ((number = 1; number <= $(how_many_signals); ++number)); do
        pick INT KILL TERM HUP && signal=$picked
        "$program" -preview -configure -noimode >/dev/null 2>&1 &
        pid=$!
        sleep "0.$(printf '%03d' $((RANDOM % 150)))"
        kill "-$signal" $pid 2>/dev/null || true
        wait $pid || true
        wait_for_its_end
        truth snapshot "$desk/tree-after"
        truth same "$desk/tree-before" "$desk/tree-after" || fail "after signal $number, $signal"
    done
    kill $service
}

@test "nine previews at once leave the run beside them what it is without them" {
    given_the_package
    given_plain_xml
    given_a_service
    truth snapshot "$desk/tree-before"
    run_it -preview -json -out "$desk/document" -configure -noimode
    local number
    local -a previews=()
    for number in 1 2 3 4 5 6 7 8 9; do
        "$program" -preview -json -configure -noimode >/dev/null 2>&1 &
        previews+=($!)
    done
    qdn_configure -configure -noimode
    expect_status 0
    wait "${previews[@]}" || true
    wait_for_its_end
    truth snapshot "$desk/tree-after"
    truth predict "$desk/tree-before" "$desk/document" "$desk/tree-after"
    python3 -c 'import pickle, sys; a, b = (pickle.load(open(n, "rb")) for n in sys.argv[1:]); sys.exit(a["mounts"] != b["mounts"] or a["processes"] != b["processes"])' \
        "$desk/tree-before" "$desk/tree-after" || fail "mounts or processes differ"
    kill $service
}

@test "a change that a preview left out, or got wrong, would be noticed" {
    given_the_package
    given_plain_xml
    prove -configure -noimode
    local wrong
    for wrong in 'changes.pop()' 'changes.pop(0)' 'changes[0]["after"].update(mode="0123")' \
        'next(c for c in changes if c["diff"])["after"].update(sha256="0" * 64)' \
        'next(c for c in changes if c["type"] == "link")["after"].update(target="elsewhere")' \
        'changes.append(dict(changes[0], path="/opt/never"))'; do
        python3 -c 'import json, sys; d = json.load(open(sys.argv[1])); changes = d["changes"]; exec(sys.argv[3]); json.dump(d, open(sys.argv[2], "w"))' \
            "$desk/document" "$desk/wrong" "$wrong"
        if truth predict "$desk/tree-before" "$desk/wrong" "$desk/tree-after"; then fail "not noticed: $wrong"; fi
    done
}

each_test_is_a_session
