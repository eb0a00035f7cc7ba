# What a hostile user of the host does, in the words of the stories.
# shellcheck disable=SC2154 # a session says where the desk and the project are

# Another user's file at a path that is free. Where only root exists (a namespace of an ordinary user), a file of the
# host stands there instead, which is nobody's for those inside: its content is another, its owner is a stranger too.
given_strangers_file() {
    cat >"$1"
    chown 65534:65534 "$1" 2>/dev/null || mount --bind /usr/bin/env "$1"
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
