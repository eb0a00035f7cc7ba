# How the packages are made. What they do on a host is tested by script/test-hosts.

setup_file() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    packaging/build-packages 6.0.1
}

setup() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    rpm=build/packages/qdn-ksclt-6.0.1-1.$(uname -m).rpm
    deb=build/packages/qdn-ksclt_6.0.1_$(dpkg --print-architecture).deb
}

@test "the same sources give the same packages, whatever the umask" {
    sums=$(sha256sum "$rpm" "$deb")
    touch package/sample-program
    umask 077
    packaging/build-packages 6.0.1
    [ "$(sha256sum "$rpm" "$deb")" = "$sums" ]
}

@test "a package that is made again is there all the time, and whole" {
    cp "$rpm" "$deb" "$BATS_TEST_TMPDIR"
    packaging/build-packages 6.0.1 3>&- &
    while kill -0 $! 2>/dev/null; do
        cmp "$rpm" "$BATS_TEST_TMPDIR/${rpm##*/}"
        cmp "$deb" "$BATS_TEST_TMPDIR/${deb##*/}"
    done
    wait $!
}

@test "both packages have the agent's files, all of them root's" {
    package/lay-down "$BATS_TEST_TMPDIR/agent" build/release/qdn-configure.bin
    (cd "$BATS_TEST_TMPDIR/agent" && find . -type f -printf '%M root root /opt/zorvane/kell/ksagent/%P\n') |
        sort >"$BATS_TEST_TMPDIR/files"
    dpkg-deb -c "$deb" | awk '$1 ~ /^-/ && $6 ~ /opt/ { sub("/", " ", $2); print $1, $2, substr($6, 2) }' | sort |
        diff "$BATS_TEST_TMPDIR/files" -
    rpm -qp --qf '[%{FILEFLAGS:fflags} %{FILEMODES:perms} %{FILEUSERNAME} %{FILEGROUPNAME} %{FILENAMES}\n]' "$rpm" |
        sed -n 's,^ \(-.*/opt/\),\1,p' | sort | diff "$BATS_TEST_TMPDIR/files" -
}

@test "both packages have the unit for an image's first boot, which no preset enables" {
    name=qdn-ksclt-first-boot.service
    mkdir "$BATS_TEST_TMPDIR/deb" "$BATS_TEST_TMPDIR/rpm"
    dpkg-deb --extract "$deb" "$BATS_TEST_TMPDIR/deb"
    rpm2cpio "$rpm" | cpio --extract --quiet --make-directories --directory "$BATS_TEST_TMPDIR/rpm"
    for root in "$BATS_TEST_TMPDIR/deb" "$BATS_TEST_TMPDIR/rpm"; do
        grep -x ConditionFirstBoot=yes "$root/usr/lib/systemd/system/$name"
        [ -z "$(find "$root" -type l -name "$name")" ]
        systemctl --quiet --root="$root" preset-all
        [ "$(systemctl --root="$root" is-enabled "$name")" = disabled ]
        systemctl --quiet --root="$root" enable "$name"
        [ "$(systemctl --root="$root" is-enabled "$name")" = enabled ]
    done
}

@test "the agent is of the version of its package" {
    dpkg-deb --fsys-tarfile "$deb" | tar xO ./opt/zorvane/kell/ksagent/etc/client.proto >"$BATS_TEST_TMPDIR/proto"
    [ "$(sed -n '/^.Version/,/^$/s/^agent_/agent_/p' "$BATS_TEST_TMPDIR/proto")" = "agent_major=6
agent_minor=0
agent_build=1" ]
    [ "$(dpkg-deb -f "$deb" Version) $(rpm -qp --qf '%{VERSION}' "$rpm")" = "6.0.1 6.0.1" ]
}

@test "both packages tell the changes, which are those of the program's version, and where all of them are told" {
    version=$(sed -n 's/^project(.* VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
    head -n 1 packaging/changes | grep -F "qdn-configure $version; CHANGELOG.md"
    rpm -qp --qf '[%{CHANGELOGTEXT}\n]' "$rpm" | diff <(sed 's/^  \*/-/' packaging/changes) -
    dpkg-deb --fsys-tarfile "$deb" >"$BATS_TEST_TMPDIR/deb.tar"
    tar xOf "$BATS_TEST_TMPDIR/deb.tar" ./usr/share/doc/qdn-ksclt/changelog.gz | gunzip >"$BATS_TEST_TMPDIR/changelog"
    dpkg-parsechangelog -l "$BATS_TEST_TMPDIR/changelog" -S Changes 2>"$BATS_TEST_TMPDIR/faults" | sed '1,2d; s/^ //' |
        sed '/^\.$/d' | diff <(sed 's/^ //' packaging/changes) -
    [ ! -s "$BATS_TEST_TMPDIR/faults" ]
    tar tf "$BATS_TEST_TMPDIR/deb.tar" | grep -x ./usr/share/doc/qdn-configure/CHANGELOG.md
    rpm -qlp "$rpm" | grep -x /usr/share/doc/qdn-configure/CHANGELOG.md
}

@test "a scriptlet needs nothing that lies on disk" {
    cd "$BATS_TEST_TMPDIR"
    dpkg-deb --ctrl-tarfile "$OLDPWD/$deb" | tar x
    for name in PREIN POSTIN PREUN; do rpm -qp --qf "%{$name}" "$OLDPWD/$rpm" >"$name"; done
    for scriptlet in preinst postinst prerm PREIN POSTIN PREUN; do
        sh -n "$scriptlet"
        [ "$(grep -c -e '^make_hand_over() {$' -e '^\. ' "$scriptlet")" -eq 1 ]
    done
}

@test "a malformed version is refused" {
    for version in 6 6.0 6.0.x "6.0.1 2" ../6.0.1; do
        run packaging/build-packages "$version"
        [ "$status" -eq 2 ]
        [ "${lines[2]}" = "  packaging/build-packages [--for arm64] [VERSION]" ]
    done
}
