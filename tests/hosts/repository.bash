# For tests that install from a repository: one that is signed by a key of its own, at /session/repository in the root.
# shellcheck disable=SC2154 # the root is host.bash's

setup_file() {
    export GNUPGHOME=/run/gnupg # short, as sockets need it, and gone with the tests
    mkdir -m 0700 "$GNUPGHOME"
    new_key maintainer
    packaging/build-repository maintainer "$HOST_WORK/repository"
}

teardown_file() { gpgconf --kill gpg-agent; }

new_key() { gpg --batch --quiet --passphrase '' --quick-generate-key "$1@zorvane.example" rsa2048 sign never; }

lay_down_repository() { cp -r "$HOST_WORK/repository" "$root/session/repository"; }

# change_byte FILE: one in its middle, so that the size stays.
change_byte() {
    local middle=$(($(stat -c %s "$1") / 2))
    [ "$(dd if="$1" bs=1 skip=$middle count=1 status=none)" != '#' ] || middle=$((middle + 1))
    printf '#' | dd of="$1" bs=1 seek=$middle conv=notrunc status=none
}

# In $HOST_WORK/host-tools, what dnf looks for in a host that has its tools from debs.
given_host_tools() {
    rpmbuild --quiet -bb --define "_topdir $HOST_WORK/host-tools" tests/hosts/host-tools.spec
    createrepo_c --quiet "$HOST_WORK/host-tools/RPMS/noarch"
}
