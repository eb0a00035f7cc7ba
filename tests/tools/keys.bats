# The names of settings and the keys of client.conf: the compiler finds the misspelt ones.

root=$BATS_TEST_DIRNAME/../..

compiles() {
    printf '%s\n' '#include "settings/Settings.h"' 'using namespace Zorvane::AgentInstaller;' \
        'corekit::String Use(const Settings& settings, const corekit::IniFile& conf) {' \
        "    return $1;" '}' >"$BATS_TEST_TMPDIR/use.cpp"
    run c++ -std=c++20 -fsyntax-only -I"$root" -include run/Keys.h "$BATS_TEST_TMPDIR/use.cpp"
}

@test "a setting that exists and a key that exists compile" {
    compiles 'settings.Get(L"InstallDir") + GetValue(conf, Key::kInstallDir)'
    [ "$status" -eq 0 ]
}

@test "a misspelt setting does not compile" {
    for name in InstalDir installDir "InstallDir " ""; do
        compiles "settings.Get(L\"$name\") + GetValue(conf, Key::kInstallDir)"
        [ "$status" -ne 0 ]
        [[ $output == *ThereIsNoSuchSetting* ]]
    done
}

@test "a setting whose name is known at run time only does not compile" {
    compiles 'settings.Get(GetValue(conf, Key::kInstallDir))'
    [ "$status" -ne 0 ]
}

@test "a misspelt key, and a key that is a mere text, do not compile" {
    compiles 'GetValue(conf, Key::kInstalDir)'
    [ "$status" -ne 0 ]
    [[ $output == *kInstalDir* ]]
    compiles 'GetValue(conf, L"Configuration/installdir")'
    [ "$status" -ne 0 ]
}
