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

# A host may have its tools from debs: in $HOST_WORK/host-tools, a package that says so stands in for those that dnf looks for.
given_host_tools() {
    cat >"$HOST_WORK/host-tools.spec" <<'END'
Name: host-tools
Version: 1
Release: 1
Summary: Says what the host has
License: MIT
BuildArch: noarch
Provides: /bin/sh, procps, grep, sed, gawk, findutils, coreutils
%description
%files
END
    rpmbuild --quiet -bb --define "_topdir $HOST_WORK/host-tools" "$HOST_WORK/host-tools.spec"
    createrepo_c --quiet "$HOST_WORK/host-tools/RPMS/noarch"
}
