# For tests of whole hosts: a fresh root for each test, entered as a chroot.

packages=$PWD/build/packages
failing_packages=$PWD/build/hosts/failing-packages
root=$HOST_WORK/root

# A root that no test has written to, with the packages and with what sessions can say.
setup() {
    mkdir -p "$HOST_WORK/changes" "$root"
    mount -t tmpfs tmpfs "$HOST_WORK/changes"
    mkdir "$HOST_WORK/changes/upper" "$HOST_WORK/changes/work"
    mount -t overlay overlay "$root" \
        -o "lowerdir=$HOST_WORK/pristine,upperdir=$HOST_WORK/changes/upper,workdir=$HOST_WORK/changes/work"
    mkdir "$root/session"
    cp "$packages"/* "$failing_packages"/* "$PWD/tests/hosts/session.bash" "$root/session"
    chroot "$root" rpm --initdb
}

# What a test leaves running would be seen by the next one.
teardown() {
    [ -n "${BATS_TEST_COMPLETED:-}" ] || tail -n 40 "$HOST_WORK/console" 2>/dev/null || true
    [ -z "${nspawn:-}" ] || kill -KILL "$nspawn" 2>/dev/null || true
    pkill -KILL qdn-plug || true
    umount --lazy "$root" "$HOST_WORK/changes"
}

# in_root [ARGUMENT ...] <<'END' ... END: a session in the root, in which no init runs. It ends 0 when every statement held.
in_root() {
    mountpoint -q "$root/proc" || mount -t proc proc "$root/proc"
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin PACKAGE_MANAGER="$PACKAGE_MANAGER" \
        bash -c 'source /session/session.bash; source /dev/stdin' session "$@"
}
