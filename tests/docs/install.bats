# What cmake --install lays down, and where.
load ../scenarios/support

@test "the program and its documents are installed in the usual places" {
    DESTDIR=/opt/root cmake --install "$project/build/$QDN_BUILD" --prefix /usr >"$desk/out"
    find /opt/root ! -type d -printf '%M /%P\n' | LC_ALL=C sort -k2 | same "what is installed" <(cat <<END
-rwxr-xr-x /usr/sbin/qdn-configure.bin
-rw-r--r-- /usr/share/bash-completion/completions/qdn-configure
-rw-r--r-- /usr/share/bash-completion/completions/qdn-configure.bin
-rw-r--r-- /usr/share/doc/qdn-configure/CHANGELOG.md
-rw-r--r-- /usr/share/doc/qdn-configure/LICENSE
-rw-r--r-- /usr/share/doc/qdn-configure/examples/cloud-init.yaml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/every-setting.xml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/fresh-install.xml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/new-server.xml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/secure-server.xml
-rw-r--r-- /usr/share/man/man5/client.conf.5
-rw-r--r-- /usr/share/man/man5/qdn-agent-install-config.xml.5
-rw-r--r-- /usr/share/man/man5/qdn-env.5
-rw-r--r-- /usr/share/man/man8/qdn-configure.8
-rw-r--r-- /usr/share/qdn-configure/apply-1.json
-rw-r--r-- /usr/share/qdn-configure/preview-1.json
-rw-r--r-- /usr/share/qdn-configure/qdn-agent-install-config.xsd
-rw-r--r-- /usr/share/qdn-configure/status-1.json
END
)
}

@test "what the manual pages name of the program's own documents is installed" {
    DESTDIR=/opt/root cmake --install "$project/build/$QDN_BUILD" --prefix /usr >"$desk/out"
    grep -hoE '(/usr/share|docs)/[a-zA-Z0-9./_-]*[a-zA-Z0-9]' "$project"/docs/*.[58] | sort -u |
        grep -vxE '/usr/share' >"$desk/named"
    [ "$(wc -l <"$desk/named")" -ge 4 ]
    while read -r path; do [ -e "/opt/root$path" ] || fail "$path is not installed"; done <"$desk/named"
}

@test "the installed program tells the project's version" {
    DESTDIR=/opt/root cmake --install "$project/build/$QDN_BUILD" --prefix /usr >"$desk/out"
    version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$project/CMakeLists.txt")
    [ -n "$version" ]
    [ "$(/opt/root/usr/sbin/qdn-configure.bin -help | tail -n 1)" = "This is version $version." ]
    grep -qF "## [$version] - " "$project/CHANGELOG.md"
}

each_test_is_a_session
