# What hosts are made of: roots, each made once from the packages of the distribution, and packages of an agent that fails;
# scripts that test whole hosts source this.

suite=bookworm
root_cache=$PWD/build/hosts
failing_version=6.0.345
failing_packages=$root_cache/failing-packages

# The file that keeps a root; another one for other packages.
root_file() {
    echo "$root_cache/$suite-$1.tar.zst"
}

make_root() {
    local file
    file=$(root_file "$1")
    [ ! -e "$file" ] || return 0
    echo "Making a root with $1"
    mkdir -p "$root_cache"
    # shellcheck disable=SC2016 # the hook is run with the root as its argument
    mirrors "$suite" | as_root mmdebstrap --quiet --variant=minbase --include="$1" \
        --customize-hook='rm -f "$1"/etc/apt/sources.list' "$suite" - - | zstd --quiet -T0 -o "$file.new"
    mv "$file.new" "$file"
}

# Packages of an agent that ends at once, where no repository is made of them.
build_failing_packages() {
    local files
    files=$(mktemp -d)
    cp -r package/. "$files"
    printf '#!/bin/sh\nexit 1\n' >"$files/bin/qdn-pluginmanager.bin"
    AGENT_FILES=$files packaging/build-packages "$failing_version"
    rm -rf "$files" "$failing_packages"
    mkdir -p "$failing_packages"
    mv build/packages/*"$failing_version"* "$failing_packages"
}
