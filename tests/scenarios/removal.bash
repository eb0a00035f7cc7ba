# What the stories of removal say: how -clean is called, that exactly what is named has gone, and what a damaged
# client.conf may name.

clean() { qdn_configure -clean "${1:-$agent}" "${@:2}"; }

expect_told() {
    expect_status 0
    expect_no_errors
    expect_output <<END
$banner
  Removing qdn-* links in ${1-/usr/bin}
  Removing RC init links and scripts
END
}

expect_nothing_told() {
    expect_status 0
    expect_no_errors
    expect_output <<<"$banner"
}

expect_nothing_found() {
    expect_status 0
    expect_output <<END
$banner
Can't find client.conf file: ${1:-$agent}/etc/client.conf
Check parameter <Agent-Base-Dir>.

END
}

expect_clean_again_harmless() {
    clean "$@"
    expect_nothing_found "$@"
    expect_no_errors
    expect_no_changes
}

# expect_gone PATH ... <<END: these paths with all that was in them, and besides the changes of the lines given.
expect_gone() {
    local path
    { cat; for path; do was_at "$path"; done; } | LC_ALL=C sort -k3 >"$desk/gone"
    expect_changes <"$desk/gone"
}

# The same without any other change.
expect_only_gone() { expect_gone "$@" </dev/null; }

was_at() {
    awk -F '\t' -v top="$1" '
        $1 == top || index($1, top "/") == 1 { found = 1; print "- " $2 " " $1 ($3 == "" ? "" : " -> " $3) }
        END { if (!found) print "nothing was at " top }' "$desk/before"
}

# Another value of client.conf, whatever it holds: set_value KEY VALUE.
set_value() {
    key=$1 value=$2 awk '
        index($0, ENVIRON["key"] "=") == 1 || index($0, ENVIRON["key"] " =") == 1 {
            $0 = ENVIRON["key"] "=" ENVIRON["value"]
        }
        { print }' "$agent/etc/client.conf" >"$desk/conf"
    cat "$desk/conf" >"$agent/etc/client.conf"
}

# --- Directories of the host that a damaged client.conf may name

# Files by every name that a store's have, where none of them is the agent's.
bait() {
    touch "$1"/{1.kse,2.ksi3,a.123456,3.kst,qdn-1.log,.qdn-pkg-xml-1} "$1/{01234567-89ab-cdef-0123-456789ABCDEF}"
}

# All of /usr by what changed there; the programs in /usr/bin are looked at by name.
list_usr() {
    find "$PRIVATE_MACHINE_CHANGES/usr" -path '*/usr/bin' -prune -o -printf '%p %M %i %s %T@\n' | LC_ALL=C sort
}

given_baits() {
    local directory
    for directory in /etc /etc/init.d /usr /usr/lib /usr/local/bin /var/lib /opt /tmp; do bait "$directory"; done
    ln -s /etc /opt/link
    touch /opt/file
    list_usr >"$desk/usr"
}

misplaced() {
    printf '%s\n' / '' relative . .. ./etc /usr /etc /lib //usr/ /opt/../usr /usr/. /etc/init.d/../../usr /usr/lib/../lib \
        /opt/link /opt/link/ /var/lib /var/tmp/.. /opt /tmp /usr/local/bin /opt/file /opt/file/below /opt/nowhere
}
