# A hostile process swaps a directory and a link for each other all the time while the tree around them is removed.
# shellcheck disable=SC2154 # a session says where things are
load support

@test "a directory that becomes a link while its tree is removed leads nowhere" {
    local directory queue=$agent/var/queue
    mkdir -p /root/treasure/deep
    seq 200 | (cd /root/treasure/deep && xargs touch)
    given_treasure
    given_a_swapper
    while [ "$rounds" -lt 8 ]; do
        given_an_old_agent 6.2
        mkdir -p "$queue/a" "$queue/b/deep"
        seq 300 | (cd "$queue/a" && xargs mkdir)
        for directory in "$queue"/a/*; do : >"$directory/file"; done
        ln -s /root/treasure "$queue/a/300.link"
        mkdir -p "$queue/a/300/deep"
        chmod -R a+rwX "$agent/var"
        while_exchanged 0 "$queue/a/300" "$program" -clean "$agent"
        expect_treasure
        forget_the_agent
    done
    tell_rounds
}

each_test_is_a_session
