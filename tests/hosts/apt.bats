# The repository for apt: what is signed is installed, and nothing else.
# shellcheck disable=SC2154 # the root and the packages are host.bash's

load host
load repository

# What an administrator enters.
session=$(cat <<'END'
use_repository() {
    echo "deb [signed-by=/session/repository/qdn-ksclt.asc] file:/session/repository/apt stable main" >/etc/apt/sources.list
    try apt-get update
}
END
)

@test "apt installs the agent from the repository, and upgrades it" {
    lay_down_repository
    in_root <<END
$session
given_xml
use_repository
expect_status 0
try apt-get -y install qdn-ksclt=6.0.340
expect_status 0
expect_same 6.0.340 "\$(installed_version)"
expect_value server-1 kell.example
try apt-get -y upgrade
expect_status 0
expect_same 6.0.350 "\$(installed_version)"
expect_value server-1 kell.example
END
}

@test "a package that was changed after it was signed is refused" {
    lay_down_repository
    change_byte "$(ls "$root"/session/repository/apt/pool/qdn-ksclt_6.0.350_*.deb)"
    in_root <<END
$session
given_xml
use_repository
expect_status 0
try apt-get -y install qdn-ksclt
[ "\$status" -ne 0 ]
grep -q 'Hash Sum mismatch' /session/err
expect_same "" "\$(installed_version)"
[ ! -e "\$program" ]
END
}

@test "a list of packages that was changed after it was signed is refused" {
    lay_down_repository
    cd "$root/session/repository/apt/dists/stable"
    sed -i 's/^Version: 6.0.350/Version: 6.0.999/' main/binary-*/Packages
    gzip -9nkf main/binary-*/Packages
    in_root <<END
$session
use_repository
[ "\$status" -ne 0 ]
try apt-get -y install qdn-ksclt
[ "\$status" -ne 0 ]
expect_same "" "\$(installed_version)"
END
}

@test "a repository that somebody else has signed is refused" {
    [ -n "$(gpg --list-secret-keys stranger 2>/dev/null)" ] || new_key stranger
    lay_down_repository
    cd "$root/session/repository/apt/dists/stable"
    gpg --batch --yes --local-user stranger --clearsign --output InRelease Release
    gpg --batch --yes --local-user stranger --armor --detach-sign --output Release.gpg Release
    in_root <<END
$session
use_repository
[ "\$status" -ne 0 ]
grep -q 'NO_PUBKEY' /session/err
try apt-get -y install qdn-ksclt
[ "\$status" -ne 0 ]
expect_same "" "\$(installed_version)"
END
}
