# The same sources give the same bytes, wherever and by whomever they are built.

setup() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    clone=$BATS_TEST_TMPDIR/another/place
}

# The sources as they are, those included that are not committed yet, as a stranger's umask gives them.
clone_sources() {
    (umask 077 && git clone --quiet --no-hardlinks . "$clone")
    git ls-files -z --modified --others --exclude-standard |
        while IFS= read -r -d '' file; do [ ! -e "$file" ] || cp --parents --no-preserve=mode "$file" "$clone"; done
    git ls-files -z --modified --others --exclude-standard |
        while IFS= read -r -d '' file; do [ ! -x "$file" ] || chmod u+x "$clone/$file"; done
    find "$clone" -path "$clone/.git" -prune -o -type f -exec touch --date=2001-02-03 {} +
}

packages_of() { (cd "$1/build/packages" && sha256sum ./*6.0.1*); }

@test "a clone in another directory, under another umask, in another time zone and language gives the same packages" {
    packaging/build-packages 6.0.1
    clone_sources
    (
        umask 077
        # Nothing is taken from a cache of what was compiled here.
        unset CMAKE_CXX_COMPILER_LAUNCHER SOURCE_DATE_EPOCH
        cd "$clone"
        TZ=Pacific/Kiritimati LANG=de_DE.UTF-8 packaging/build-packages 6.0.1
    )
    cmp build/release/qdn-configure.bin "$clone/build/release/qdn-configure.bin"
    [ "$(packages_of .)" = "$(packages_of "$clone")" ]
    [ "$(packages_of . | wc -l)" -ge 2 ]
}

@test "the program says nothing of where it was built" {
    script/build release
    run grep -c -a -F -e "$PWD" -e "$HOME/" build/release/qdn-configure.bin
    [ "$output" = 0 ]
}
