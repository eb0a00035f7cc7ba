# What a hostile user of the host does, in the words of the stories.
# shellcheck disable=SC2154 # a session says where the desk and the project are

# The user who attacks. Where only root exists (a namespace of an ordinary user), it is root.
attacker() { awk '$1 <= 65534 && 65534 < $1 + $3 { there = 1 } END { print there ? 65534 : 0 }' /proc/self/uid_map; }

# made_theirs PATH ...: with all below them, belongs to the user who attacks.
made_theirs() {
    local user=${attacker:=$(attacker)}
    chown -R -h "$user:$user" "$@"
}

# Another user's file at a path that is free. Where only root exists, a file of the host stands there instead, which is
# nobody's for those inside: its content is another, its owner is a stranger too.
given_strangers_file() {
    cat >"$1"
    if [ "$(attacker)" -eq 0 ]; then mount --bind /usr/bin/env "$1"; else made_theirs "$1"; fi
}

# All that lies in root's home, but for this project where it is kept there.
list_of_root() {
    find /root -path "$project" -prune -o -printf '%p %M %U:%G %T@ %n\n' | sort
}

# Something of root's that no attack may change: made before it, seen to be the same after it.
given_treasure() {
    mkdir -p /root/treasure/below
    echo "precious" >/root/treasure/below/file
    chmod 0640 /root/treasure/below/file
    list_of_root >"$desk/treasure"
}

expect_treasure() {
    list_of_root >"$desk/treasure-after"
    same "the treasure" "$desk/treasure-after" <"$desk/treasure"
    expect_file /root/treasure/below/file <<<"precious"
}

# What would set a terminal's title, clear its screen and colour it, by C0 and C1 control characters.
steering() { printf '\033]0;owned\007\033[2J\302\23331m'; }

# The host as it was before any agent came: the next round of a story begins.
forget_the_agent() {
    rm -rf /opt/zorvane /opt/elsewhere /etc/init.d/zorvane /etc/rc[0-6].d/*zorvane
    mkdir -p /opt/zorvane
}

# given_a_swapper [UID]: one who waits for rounds (swapper.py), by default the user who attacks.
given_a_swapper() {
    local uid=${1:-$(attacker)}
    [ -z "${QDN_ROUNDS:-}" ] || [ $# -gt 0 ] || [ "$uid" -eq 65534 ] || fail "the attacker would be user $uid"
    coproc swapper {
        exec /usr/bin/python3 -I -S "$project/tests/attacks/swapper.py" "$uid" "$desk/out" "$desk/err" 2>"$desk/swapper"
    }
    exec {orders}>&"${swapper[1]}" {answers}<&"${swapper[0]}" # the shell's own go when he ends
    rounds=0 exchanges=0
}

# while_exchanged PACE PLACES COMMAND ...: the command while the swapper exchanges each place for its link; keeps its
# streams, its status and how many microseconds it took. It was a round when there was an exchange meanwhile.
while_exchanged() {
    local number IFS=$'\t'
    echo "$*" >&"$orders"
    IFS=' '
    # shellcheck disable=SC2034 # for the tests
    if ! read -r status number took <&"$answers"; then
        fail "while $2 was exchanged: $(cat "$desk/swapper")"
        return 1
    fi
    exchanges=$((exchanges + number))
    [ "$number" -eq 0 ] || rounds=$((rounds + 1))
}

# After many rounds script/prove tells how many there were.
tell_rounds() {
    [ -n "${QDN_ROUNDS:-}" ] || return 0
    printf '# %s\n' "the attacker is user $(attacker)" "$rounds rounds" "$exchanges exchanges" >&3
}
