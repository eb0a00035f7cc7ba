# The life of the package with a package manager, in a root where no init runs, as where an image is built.

load host

@test "an installation configures the agent, and an erasure leaves no file" {
    in_root <<'END'
remember_files
given_xml 'Start="no"'
install 6.0.350
expect_status 0
expect_nothing_told
expect_same 6.0.350 "$(installed_version)"
expect_value server-1 kell.example
[ ! -e "$xml" ]

erase
expect_status 0
expect_nothing_told
expect_same "" "$(installed_version)"
expect_no_new_files
END
}
