# Makes the roots of hosts, each once, from the packages of the distribution; scripts that test whole hosts source this.

suite=bookworm
root_cache=$PWD/build/hosts

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
