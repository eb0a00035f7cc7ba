# A hostile process swaps a directory and a link for each other all the time while the tree around them is removed.
# shellcheck disable=SC2154 # a session says where things are
load support

# while_swapping ONE OTHER COMMAND ...: the command while another user swaps the two names, which are there at first.
while_swapping() {
    local one=$1 other=$2 swapper before stranger
    shift 2
    before=$(stat -c %i "$one")
    stranger=(setpriv --reuid 65534 --regid 65534 --clear-groups)
    "${stranger[@]}" true 2>/dev/null || stranger=(env) # only root exists here
    "${stranger[@]}" /usr/bin/python3 - "$one" "$other" <"$project/tests/attacks/swapper.py" &
    swapper=$!
    until [ "$(stat -c %i "$one")" != "$before" ]; do kill -0 "$swapper"; done # it is at work
    "$@"
    kill "$swapper"
    wait "$swapper" || true
}

clean_the_agent() { qdn_configure -clean "$agent"; }

@test "a directory that becomes a link while its tree is removed leads nowhere" {
    local directory queue=$agent/var/queue
    mkdir -p /root/treasure/deep
    seq 200 | (cd /root/treasure/deep && xargs touch)
    given_treasure
    for _ in {1..8}; do
        given_an_old_agent 6.2
        mkdir -p "$queue/a" "$queue/b/deep"
        seq 300 | (cd "$queue/a" && xargs mkdir)
        for directory in "$queue"/a/*; do : >"$directory/file"; done
        ln -s /root/treasure "$queue/a/swapped"
        mkdir -p "$queue/a/300/deep"
        chmod -R a+rwX "$agent/var"
        while_swapping "$queue/a/300" "$queue/a/swapped" clean_the_agent
        expect_treasure
        forget_the_agent
    done
}

each_test_is_a_session
