# The template of client.conf against what the program writes into it and carries over to it.

setup() {
    project=$BATS_TEST_DIRNAME/../..
    awk -F= '/^\[/ { section = substr($0, 2, length($0) - 2); next } /^[^#]/ { print section "/" $1 }' \
        "$project/package/etc/client.proto" | sort >"$BATS_TEST_TMPDIR/keys"
}

@test "every key that an upgrade carries over has its place" {
    # Of a renamed key only the second name is today's.
    sed -n '/ kRows\[\]/,/^};/p' "$project/settings/ClientConfKeyMap.cpp" | tr '\n' ' ' |
        sed 's/Renamed(L"[^"]*", *//g' | grep -o 'L"[^"/]*/[^"]*"' | sed 's/^L"//; s/"$//' |
        sort -u >"$BATS_TEST_TMPDIR/carried"
    [ "$(wc -l <"$BATS_TEST_TMPDIR/carried")" -eq 102 ]
    [ "$(comm -13 "$BATS_TEST_TMPDIR/keys" "$BATS_TEST_TMPDIR/carried")" = "" ]
}

@test "every other key that the program reads or writes has its place" {
    sort >"$BATS_TEST_TMPDIR/fixed" <<'END'
Class Servers/zorvane.qdnntracker
Client Transport/ks_url_format
Configuration/agent_roles
Configuration/guid_guid_file
Configuration/installdir
Configuration/sub_agent_build_nums
Configuration/sub_agent_names
Configuration/sub_agent_paths
Configuration/sub_agent_versions
Kell Servers/server-1
Static Agents/zorvane.qdnntracker
Version/agent_build
Version/agent_major
Version/agent_minor
END
    [ "$(comm -13 "$BATS_TEST_TMPDIR/keys" "$BATS_TEST_TMPDIR/fixed")" = "" ]
}

@test "no key stands twice, and sections stand once" {
    [ "$(uniq -d "$BATS_TEST_TMPDIR/keys")" = "" ]
    [ "$(grep '^\[' "$project/package/etc/client.proto" | sort | uniq -d)" = "" ]
}

@test "the tracker's entry names a section of the file" {
    tracker=$(sed -n '/^\[Class Servers\]$/,/^\[/s/^zorvane.qdnntracker=//p' "$project/package/etc/client.proto")
    grep -Fx "[$tracker]" "$project/package/etc/client.proto"
}

@test "the version is that of the agent that is installed" {
    sed -n '/^\[Version\]$/,/^$/{/^[^#]/p}' "$project/package/etc/client.proto" | diff - <(
        printf '%s\n' "[Version]" agent_major=6 agent_minor=0 agent_build=350
    )
}
