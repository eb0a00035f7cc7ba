# What an administrator has attached to a file outlives the run that replaces it: access control lists, and labels.
# Lists name root, the only user that there is everywhere: in a user namespace, too.
load support

# The named users and groups of a list, with what is left to them by its mask.
named_entries() { getfacl --absolute-names --omit-header "$1" | grep -E '^(user|group):[^:]'; }

given_an_agent() {
    given_the_package
    given_plain_xml
    qdn_configure -configure -noimode -quiet
    expect_status 0
}

@test "an access control list of client.conf outlives an upgrade" {
    given_an_agent
    setfacl --modify user:root:r,group:root:r "$agent/etc/client.conf"
    named_entries "$agent/etc/client.conf" >"$desk/list"
    [ "$(wc -l <"$desk/list")" -eq 2 ]
    inode=$(stat -c %i "$agent/etc/client.conf")
    qdn_configure -configure -noimode -quiet
    expect_status 0
    [ "$(stat -c %i "$agent/etc/client.conf")" != "$inode" ]
    named_entries "$agent/etc/client.conf" | diff "$desk/list" -
    [ "$(stat -c %a "$agent/etc/client.conf")" = 644 ]
}

@test "a first client.conf has nothing of the directory in which it was generated" {
    given_the_package
    given_plain_xml
    setfacl --default --modify user:root:rw /tmp
    qdn_configure -configure -noimode -quiet
    expect_status 0
    run getfacl --absolute-names --omit-header "$agent/etc/client.conf"
    [ "$(grep -c user:root <<<"$output")" -eq 0 ]
}

@test "a first client.conf has what its own directory gives" {
    given_the_package
    given_plain_xml
    setfacl --default --modify user:root:r "$agent/etc"
    qdn_configure -configure -noimode -quiet
    expect_status 0
    named_entries "$agent/etc/client.conf" | grep '^user:root:r--'
}

each_test_is_a_session
