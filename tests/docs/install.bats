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
-rw-r--r-- /usr/share/doc/qdn-configure/README.md
-rw-r--r-- /usr/share/doc/qdn-configure/examples/cloud-init.yaml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/every-setting.xml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/fresh-install.xml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/new-server.xml
-rw-r--r-- /usr/share/doc/qdn-configure/examples/secure-server.xml
-rw-r--r-- /usr/share/man/man5/client.conf.5
-rw-r--r-- /usr/share/man/man5/qdn-agent-install-config.xml.5
-rw-r--r-- /usr/share/man/man5/qdn-env.5
-rw-r--r-- /usr/share/man/man8/qdn-configure.8
-rw-r--r-- /usr/share/qdn-configure/qdn-agent-install-config.xsd
END
)
}

@test "the installed program tells the project's version" {
    DESTDIR=/opt/root cmake --install "$project/build/$QDN_BUILD" --prefix /usr >"$desk/out"
    version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' "$project/CMakeLists.txt")
    [ -n "$version" ]
    [ "$(/opt/root/usr/sbin/qdn-configure.bin -help | tail -n 1)" = "This is version $version." ]
    grep -qF "## [$version] - " "$project/CHANGELOG.md"
}

each_test_is_a_session
