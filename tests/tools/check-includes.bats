# Who may include whom: script/check-includes finds each kind of offence in a small house of its own.

setup() {
    house=$BATS_TEST_TMPDIR/house
    for folder in corekit/text corekit/os corekit/fs/detail deploykit run settings config agents/removal integration preview apply \
        status app; do
        mkdir -p "$house/$folder"
    done
}

file() {
    printf '%s\n' "${@:2}" >"$house/$1"
}

check() {
    run "$BATS_TEST_DIRNAME/../../script/check-includes" "$house"
}

@test "a file may include its own floor, the floors below and what is embedded" {
    file corekit/text/String.h '#include <string>'
    file deploykit/Script.h '#include "corekit/text/String.h"'
    file settings/Settings.h '#include "corekit/text/String.h"'
    file config/Paths.h '#include "settings/Settings.h"'
    file config/Migration.cpp '#include "config/Paths.h"' '#include "config/Migration.h"'
    file config/Migration.h '#include "config/Paths.h"'
    file app/main.cpp '#include "config/Migration.h"' '#include "kTemplate.embedded.h"'
    check
    [ "$status" -eq 0 ]
    [ "$output" = "" ]
}

@test "an include of a higher floor is found" {
    file run/Error.h ''
    file corekit/fs/File.cpp '#include <vector>' '#  include "run/Error.h"  // why'
    check
    [ "$status" -eq 1 ]
    [ "$output" = 'check-includes: corekit/fs/File.cpp includes "run/Error.h" of a higher floor' ]
}

@test "a room of corekit includes no room above it, nor does what an agent left include the agent" {
    file corekit/text/Text.h '#include "corekit/os/Sys.h"'
    file corekit/os/Sys.h ''
    file agents/removal/Files.h '#include "agents/Agent.h"'
    file agents/Agent.h ''
    check
    [ "$status" -eq 1 ]
    [ "${lines[0]}" = 'check-includes: agents/removal/Files.h includes "agents/Agent.h" of a higher floor' ]
    [ "${lines[1]}" = 'check-includes: corekit/text/Text.h includes "corekit/os/Sys.h" of a higher floor' ]
    [ "${#lines[@]}" -eq 2 ]
}

@test "the detail of a room is closed to all but the room" {
    file corekit/fs/detail/Tree.h ''
    file app/Run.cpp '#include "corekit/fs/detail/Tree.h"'
    check
    [ "$status" -eq 1 ]
    [ "$output" = 'check-includes: app/Run.cpp includes "corekit/fs/detail/Tree.h", which only corekit/fs/ may use' ]
}

@test "a file outside the rooms is found" {
    file corekit/File.h ''
    check
    [ "$status" -eq 1 ]
    [ "$output" = 'check-includes: corekit/File.h is on no floor of the house' ]
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
