# The repository for dnf: what is signed is installed, and nothing else. The dnf is that of this machine, which installs into
# the root.
# shellcheck disable=SC2154 # the root and the packages are host.bash's

load host
load repository

given_repositories() {
    given_host_tools
    lay_down_repository
    mkdir -p "$HOST_WORK/yum.repos.d" "$HOST_WORK/log"
    cat >"$HOST_WORK/yum.repos.d/all.repo" <<END
[host-tools]
name=host-tools
baseurl=file://$HOST_WORK/host-tools/RPMS/noarch
gpgcheck=0
[qdn-ksclt]
name=qdn-ksclt
baseurl=file://$root/session/repository/rpm
gpgkey=file://$root/session/repository/qdn-ksclt.asc
gpgcheck=1
repo_gpgcheck=1
END
    mount -t proc proc "$root/proc"
}

# In the root, and as far as possible nowhere else. What it says is kept.
on_root_dnf() {
    status=0
    dnf --refresh --installroot="$root" --releasever=1 --setopt=reposdir="$HOST_WORK/yum.repos.d" --setopt=cachedir=/session/cache \
        --setopt=logdir="$HOST_WORK/log" --setopt=plugins=0 -y "$@" >"$HOST_WORK/out" 2>&1 </dev/null || status=$?
}

version_in_root() { chroot "$root" rpm -qa --qf '%{VERSION}\n' qdn-ksclt; }

@test "dnf installs the agent from the repository, and upgrades it" {
    given_repositories
    in_root <<<given_xml
    on_root_dnf install qdn-ksclt-6.0.340
    cat "$HOST_WORK/out"
    [ "$status" -eq 0 ]
    [ "$(version_in_root)" = 6.0.340 ]
    in_root <<<'expect_value server-1 kell.example'
    on_root_dnf upgrade
    cat "$HOST_WORK/out"
    [ "$status" -eq 0 ]
    [ "$(version_in_root)" = 6.0.350 ]
    in_root <<<'expect_value agent_build 350; expect_value server-1 kell.example'
}

@test "a package that was changed after it was signed is refused" {
    given_repositories
    change_byte "$(ls "$root"/session/repository/rpm/qdn-ksclt-6.0.350-*.rpm)"
    on_root_dnf install qdn-ksclt
    cat "$HOST_WORK/out"
    [ "$status" -ne 0 ]
    [ "$(version_in_root)" = "" ]
    [ ! -e "$root/opt/zorvane" ]
}

@test "a package that nobody signed is refused, even where it is listed" {
    given_repositories
    cp "$packages"/qdn-ksclt-6.0.350-*.rpm "$root/session/repository/rpm"
    (cd "$root/session/repository/rpm" && rm -r repodata && createrepo_c --quiet --no-database --simple-md-filenames . &&
        gpg --batch --local-user maintainer --armor --detach-sign --output repodata/repomd.xml.asc repodata/repomd.xml)
    on_root_dnf install qdn-ksclt
    cat "$HOST_WORK/out"
    [ "$status" -ne 0 ]
    grep -q 'is not signed' "$HOST_WORK/out"
    [ "$(version_in_root)" = "" ]
}

@test "a list of packages that was changed after it was signed is refused" {
    given_repositories
    echo >>"$root/session/repository/rpm/repodata/repomd.xml"
    on_root_dnf install qdn-ksclt
    cat "$HOST_WORK/out"
    [ "$status" -ne 0 ]
    [ "$(version_in_root)" = "" ]
}
