# What the stories of -clean say: how it is called, and that exactly what is named has gone.

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
