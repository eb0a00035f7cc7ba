# What protects the program as it ships against its own mistakes, read from its file. What each check finds in a program
# that is built without protection shows that it can tell.

setup_file() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    script/build release >/dev/null
    echo 'int main() { char text[64]; return __builtin_sprintf(text, "%p", (void*)text); }' |
        g++ -x c++ -O2 -no-pie -fno-stack-protector -U_FORTIFY_SOURCE -z norelro -z lazy -z execstack \
            -o "$BATS_FILE_TMPDIR/unprotected" -
}

setup() {
    cd "$BATS_TEST_DIRNAME/../.." || exit
    program=build/release/qdn-configure.bin
    unprotected=$BATS_FILE_TMPDIR/unprotected
}

# A line that begins with "!" would never fail a test.
is_not() { ! "$@"; }

elf() { LC_ALL=C readelf --wide "$@"; }

lies_anywhere() { elf -h "$1" | grep -q 'Type: *DYN' && elf -d "$1" | grep -q 'FLAGS_1.* PIE'; }

needs_a_library() { elf -l "$1" | grep -q INTERP || elf -d "$1" | grep -q NEEDED; }

has_writable_code() { elf -l "$1" | grep -Eq '^ +(LOAD|GNU_STACK) .* (RWE|WE) '; }

# All that only the start itself has to write is read-only from then on.
closes_its_tables() {
    local start size address
    read -r start size < <(elf -l "$1" | awk '$1 == "GNU_RELRO" { print $3, $6 }')
    [ -n "$size" ] || return 1
    elf -d "$1" | grep -q 'FLAGS_1.* NOW' || return 1
    while read -r address; do
        ((16#$address >= start && 16#$address < start + size)) || return 1
    done < <(elf -S "$1" | sed -n 's/^ *\[ *[0-9]*\] //p' |
        awk '$1 ~ /^\.(got|got\.plt|init_array|fini_array|data\.rel\.ro|dynamic)$/ { print $3 }')
}

@test "the program lies at another place in memory at each run" {
    lies_anywhere "$program"
    is_not lies_anywhere "$unprotected"
}

@test "the program needs no library of the host" {
    is_not needs_a_library "$program"
    needs_a_library "$unprotected"
}

@test "nothing that the program can write can be run, the stack included" {
    elf -l "$program" | grep -q GNU_STACK # without the line it would be one that can be run
    is_not has_writable_code "$program"
    has_writable_code "$unprotected"
}

@test "the tables that the start fills in are read-only afterwards" {
    closes_its_tables "$program"
    is_not closes_its_tables "$unprotected"
}

@test "every file of the program is compiled with the checks" {
    python3 - <<'END'
import json, sys
flags = {"-fPIE", "-fstack-protector-strong", "-fstack-clash-protection", "-ftrivial-auto-var-init=zero", "-D_FORTIFY_SOURCE=3", "-O2"}
commands = [entry for entry in json.load(open("build/release/compile_commands.json")) if "/bench/" not in entry["file"]]
lacking = {entry["file"]: flags - set(entry["command"].split()) for entry in commands}
lacking = {file: missing for file, missing in lacking.items() if missing}
print(lacking)
sys.exit(len(commands) < 50 or bool(lacking))
END
}

@test "the checks are in the code of every folder" {
    source script/common.bash
    for folder in "${folders[@]}"; do
        archives=$(find "build/release/$folder" -name '*.a')
        [ -n "$archives" ]
        # shellcheck disable=SC2086 # words
        nm -u $archives 2>/dev/null | grep -qw __stack_chk_fail || { echo "$folder"; false; }
    done
    # shellcheck disable=SC2046 # words
    nm -u $(find build/release/corekit -name '*.a') 2>/dev/null | grep -Eq '__(read|readlinkat|memcpy|memset|snprintf|getcwd)_chk'
}
