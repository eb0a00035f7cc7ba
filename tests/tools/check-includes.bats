# Who may include whom: script/check-includes finds each kind of offence in a small house of its own.

setup() {
    house=$BATS_TEST_TMPDIR/house
    for folder in corekit deploykit run settings config agents integration app; do mkdir -p "$house/$folder"; done
    printf 'add_library(settings_store STATIC\n    Settings.cpp\n)\nadd_library(settings STATIC\n    Migration.cpp\n)\n' \
        >"$house/settings/CMakeLists.txt"
}

file() {
    printf '%s\n' "${@:2}" >"$house/$1"
}

check() {
    run "$BATS_TEST_DIRNAME/../../script/check-includes" "$house"
}

@test "a file may include its own floor, the floors below and what is embedded" {
    file corekit/String.h '#include <string>'
    file deploykit/Script.h '#include "corekit/String.h"'
    file settings/Settings.h '#include "corekit/String.h"'
    file config/Paths.h '#include "settings/Settings.h"'
    file settings/Migration.cpp '#include "config/Paths.h"' '#include "settings/Migration.h"'
    file settings/Migration.h '#include "config/Paths.h"'
    file app/main.cpp '#include "settings/Migration.h"' '#include "kTemplate.embedded.h"'
    check
    [ "$status" -eq 0 ]
    [ "$output" = "" ]
}

@test "an include of a higher floor is found" {
    file run/Error.h ''
    file corekit/File.cpp '#include <vector>' '#  include "run/Error.h"  // why'
    check
    [ "$status" -eq 1 ]
    [ "$output" = 'check-includes: corekit/File.cpp includes "run/Error.h" of a higher floor' ]
}

@test "the settings store stands below config, the rest of settings above it" {
    file settings/Migration.h ''
    file config/Paths.h '#include "settings/Migration.h"'
    file settings/Settings.cpp '#include "config/Paths.h"'
    check
    [ "$status" -eq 1 ]
    [ "${lines[0]}" = 'check-includes: config/Paths.h includes "settings/Migration.h" of a higher floor' ]
    [ "${lines[1]}" = 'check-includes: settings/Settings.cpp includes "config/Paths.h" of a higher floor' ]
    [ "${#lines[@]}" -eq 2 ]
}

@test "a circle is found and shown" {
    file config/A.h '#include "config/B.h"'
    file config/B.h '#include "config/C.h"'
    file config/C.h '#include "config/A.h"'
    check
    [ "$status" -eq 1 ]
    [ "$output" = 'check-includes: circle: config/A.h -> config/B.h -> config/C.h -> config/A.h' ]
}

@test "an include that is not written from the root is found, and so is one of the tests" {
    file config/A.h ''
    file config/B.h '#include "A.h"'
    file config/C.h '#include "tests/support/TestFiles.h"'
    check
    [ "$status" -eq 1 ]
    [ "${lines[0]}" = 'check-includes: config/B.h includes "A.h": not a file of the program, by its path from the root' ]
    [ "${lines[1]}" = 'check-includes: config/C.h includes "tests/support/TestFiles.h": not a file of the program, by its path from the root' ]
}
