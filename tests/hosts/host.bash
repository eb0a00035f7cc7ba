# For tests of whole hosts: a fresh root for each test, entered as a chroot.

packages=$BATS_TEST_DIRNAME/../../build/packages
root=$HOST_WORK/root

# A root that no test has written to, with the packages and what sessions say.
setup() {
    mkdir -p "$HOST_WORK/changes" "$root"
    mount -t tmpfs tmpfs "$HOST_WORK/changes"
    mkdir "$HOST_WORK/changes/upper" "$HOST_WORK/changes/work"
    mount -t overlay overlay "$root" \
        -o "lowerdir=$HOST_WORK/pristine,upperdir=$HOST_WORK/changes/upper,workdir=$HOST_WORK/changes/work"
    mkdir "$root/session"
    cp "$packages"/* "$BATS_TEST_DIRNAME/session.bash" "$root/session"
    mount -t proc proc "$root/proc"
    chroot "$root" rpm --initdb
}

# Agents that a test leaves behind would be seen by the next one.
teardown() {
    pkill -KILL qdn-plug || true
    umount --lazy "$root/proc" "$root" "$HOST_WORK/changes"
}

# in_root <<'END' ... END: a session in the root, in which no init runs. It ends 0 when every statement held.
in_root() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin PACKAGE_MANAGER="$PACKAGE_MANAGER" \
        bash -c 'source /session/session.bash; source /dev/stdin'
}
