# The SPDX document in the packages: that it is one, and that it says what is in them.

setup_file() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    packaging/build-packages 6.0.1
    dpkg-deb --fsys-tarfile "build/packages/qdn-ksclt_6.0.1_$(dpkg --print-architecture).deb" |
        tar x -C "$BATS_FILE_TMPDIR"
}

setup() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    document=$BATS_FILE_TMPDIR/usr/share/doc/qdn-configure/qdn-ksclt.spdx.json
    program=$BATS_FILE_TMPDIR/opt/zorvane/kell/ksagent/bin/qdn-configure.bin
}

version_of() {
    python3 -c 'import json, sys
print(*[each["versionInfo"] for each in json.load(open(sys.argv[1]))["packages"] if each["name"] == sys.argv[2]])' "$document" "$1"
}

@test "it is an SPDX document, whose parts are all there and have licences that SPDX knows" {
    tests/packaging/check-spdx "$document"
}

@test "a document with a mistake is found out" {
    for mistake in 's/SPDX-2.3/SPDX-9/' 's/"STATIC_LINK"/"GLUED_TO"/' 's/"MIT"/"Mine"/' '/downloadLocation/d' \
        's/"relatedSpdxElement": "SPDXRef-libmd-dev"/"relatedSpdxElement": "SPDXRef-none"/' 's/"created": "20/"created": "/' \
        's/"SHA256"/"SHA257"/' 's/"Organization: /"/' 's/SPDXRef-libmd-dev"/SPDXRef-libmd dev"/'; do
        sed "$mistake" "$document" >"$BATS_TEST_TMPDIR/changed"
        run cmp -s "$document" "$BATS_TEST_TMPDIR/changed"
        [ "$status" -eq 1 ]
        run tests/packaging/check-spdx "$BATS_TEST_TMPDIR/changed"
        [ "$status" -eq 1 ] || { echo "not found: $mistake"; false; }
    done
}

@test "it names the program by its bytes, and the version that it says itself" {
    grep -q "\"checksumValue\": \"$(sha256sum "$program" | cut -d ' ' -f 1)\"" "$document"
    [ "$(version_of qdn-ksclt)" = 6.0.1 ]
    [ "qdn-configure $(version_of qdn-configure)" = "$("$program" --version | tail -n 1)" ]
}

@test "it names the Expat that the program was linked with" {
    linked=$(strings "$program" | sed -n 's/^expat_\([0-9]\)/\1/p')
    [ -n "$linked" ]
    [[ $(version_of Expat) == "$linked-"* ]]
}

@test "every archive that the program is linked with is in it" {
    script/build release
    archives=$(ninja -C build/release -t commands qdn-configure | tail -n 1 | grep -o '/usr/[^ ]*\.a' | sort -u)
    [ -n "$archives" ]
    for archive in $archives; do
        package=$(dpkg -S "$(realpath "$archive")" | cut -d : -f 1)
        grep -q "pkg:deb/debian/$package@" "$document" || { echo "$archive of $package"; false; }
    done
}

@test "the rpm has the same document" {
    rpm2cpio "build/packages/qdn-ksclt-6.0.1-1.$(uname -m).rpm" >"$BATS_TEST_TMPDIR/cpio"
    cpio -i --quiet --to-stdout "*spdx.json" <"$BATS_TEST_TMPDIR/cpio" | cmp - "$document"
}
