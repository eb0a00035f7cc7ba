# How a package is verified, as SECURITY.md says it, to the word: on a private machine, and from a repository that lies on it.

load ../hosts/repository

setup_file() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    script/setup --for hosts
    GNUPGHOME=$(mktemp -d /tmp/gnupg.XXXXXX) # short, as sockets need it
    export GNUPGHOME
    new_key maintainer
    packaging/build-packages 6.0.1
    packaging/build-repository maintainer build/verification
}

teardown_file() {
    gpgconf --kill gpg-agent
    rm -r "$GNUPGHOME" build/verification
}

setup() { cd "$BATS_TEST_DIRNAME/../.." || exit; }

# block LINE: the lines of SECURITY.md that are set apart, from this one on.
block() {
    awk -v first="    $1" '$0 == first { found = 1 } found && !/^    / { exit } found { print substr($0, 5) }' SECURITY.md |
        sed 's,https://packages.example.com,file:///opt/packages,' | grep .
}

# What ends 0 only when a command fails.
refused() { ! "$@"; }

# A session of an administrator who has the repository in /opt/packages. It ends 0 when every statement held.
on_private_machine() {
    env --unset=GNUPGHOME tests/support/private-machine bash -c "$(declare -f block refused change_byte given_host_tools)
        set -eEuo pipefail
        trap 'echo \"failed: \$BASH_COMMAND\" >&2' ERR
        cp -r build/verification /opt/packages
        source /dev/stdin"
}

@test "the fingerprint that is shown is that of the key which signs" {
    fingerprint=$(gpg --list-keys --with-colons maintainer | sed -n 's/^fpr:*\([0-9A-F]*\):$/\1/p')
    [ "${#fingerprint}" -eq 40 ]
    on_private_machine <<END
show=\$(block 'gpg --show-keys qdn-ksclt.asc')
cd /opt/packages
eval "\$show" >/tmp/shown
grep -w $fingerprint /tmp/shown
END
}

@test "apt takes what is signed, and refuses a package that was changed; without the key it takes nothing" {
    on_private_machine <<'END'
rm -rf /etc/apt/sources.list /etc/apt/sources.list.d/*
block 'Types: deb' >/etc/apt/sources.list.d/qdn-ksclt.sources
refused apt-get update
install -D -m 0644 /opt/packages/qdn-ksclt.asc /etc/apt/keyrings/qdn-ksclt.asc
apt-get update
deb=$(basename "$PWD"/build/packages/qdn-ksclt_6.0.1_*.deb)
made=$PWD/build/packages/$deb
cd /tmp
apt-get download qdn-ksclt=6.0.1
cmp "$made" "$deb"
rm "$deb"
change_byte "/opt/packages/apt/pool/$deb"
refused apt-get download qdn-ksclt=6.0.1
[ ! -e "$deb" ]
END
}

@test "dnf takes what is signed, and refuses a package that was changed, and a list that was changed" {
    on_private_machine <<'END'
HOST_WORK=/tmp
given_host_tools
rm -rf /etc/yum.repos.d
mkdir /etc/yum.repos.d
block '[qdn-ksclt]' >/etc/yum.repos.d/qdn-ksclt.repo
on_dnf() {
    dnf -y --releasever=1 --refresh --setopt=plugins=0 --repofrompath=host-tools,/tmp/host-tools/RPMS/noarch \
        --setopt=host-tools.gpgcheck=0 "$@"
}
on_dnf --downloadonly install qdn-ksclt-6.0.1
cd /opt/packages/rpm
cp repodata/repomd.xml /tmp
echo >>repodata/repomd.xml
refused on_dnf --downloadonly install qdn-ksclt-6.0.1
mv /tmp/repomd.xml repodata
on_dnf --downloadonly install qdn-ksclt-6.0.1
change_byte qdn-ksclt-6.0.1-1.*.rpm
refused on_dnf --downloadonly install qdn-ksclt-6.0.1
END
}

@test "an rpm that is checked by hand has to be signed, and unchanged" {
    on_private_machine <<'END'
check=$(block "rpm --import qdn-ksclt.asc && rpm --define '_pkgverify_level all' --checksig qdn-ksclt-*.rpm")
unsigned=$(echo "$PWD"/build/packages/qdn-ksclt-6.0.1-1.*.rpm)
mkdir /tmp/here
cd /tmp/here
cp /opt/packages/qdn-ksclt.asc /opt/packages/rpm/"${unsigned##*/}" .
eval "$check"
change_byte "${unsigned##*/}"
refused eval "$check"
cp "$unsigned" .
refused eval "$check"
END
}

@test "the repository has the packages that the sources give: the same deb, and the rpm but for its signature" {
    on_private_machine <<'END'
digest=$(block "rpm -qp --qf '%{SHA256HEADER}\\\\n' qdn-ksclt-*.rpm")
of() { (cd "$1" && eval "${digest/\*/6.0.1-1.*}" 2>/dev/null); }
cmp build/packages/qdn-ksclt_6.0.1_*.deb /opt/packages/apt/pool/qdn-ksclt_6.0.1_*.deb
refused cmp -s build/packages/qdn-ksclt-6.0.1-1.*.rpm /opt/packages/rpm/qdn-ksclt-6.0.1-1.*.rpm
[ "$(of build/packages)" = "$(of /opt/packages/rpm)" ]
[ "$(of build/packages | wc -c)" -eq 65 ]
END
}
