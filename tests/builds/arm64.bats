# The packages for hosts of another architecture.

@test "the packages for 64-bit ARM are named and marked so, and their program is of that kind and needs no library" {
    cd "$BATS_TEST_DIRNAME/../.."
    packaging/build-packages --for arm64 6.0.1
    cd build/arm64/packages
    [ "$(dpkg-deb -f qdn-ksclt_6.0.1_arm64.deb Architecture)" = arm64 ]
    [ "$(rpm -qp --qf '%{ARCH}' qdn-ksclt-6.0.1-1.aarch64.rpm)" = aarch64 ]
    dpkg-deb --fsys-tarfile qdn-ksclt_6.0.1_arm64.deb |
        tar xO ./opt/zorvane/kell/ksagent/bin/qdn-configure.bin >"$BATS_TEST_TMPDIR/program"
    LC_ALL=C readelf -h "$BATS_TEST_TMPDIR/program" | grep -q 'Machine: *AArch64'
    [ "$(readelf -d "$BATS_TEST_TMPDIR/program" | grep -c NEEDED)" -eq 0 ]
}
