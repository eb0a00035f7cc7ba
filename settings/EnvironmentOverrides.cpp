// The environment overrides: their table and the check of each kind of value.
#include "settings/EnvironmentOverrides.h"

#include <algorithm>
#include <iterator>

#include "corekit/os/Sys.h"
#include "run/Messages.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

constexpr const wchar_t* kTrueWords[] = {L"y", L"yes", L"true", L"1"};
constexpr const wchar_t* kFalseWords[] = {L"n", L"no", L"false", L"0"};

template <std::size_t count>
bool IsOneOf(const String& word, const wchar_t* const (&words)[count]) {
    return std::ranges::find(words, word) != std::end(words);
}

// Each takes a value over into the settings; false when the value is bad.

bool TakeServer(SettingName, const String& value, const Source& source, Settings& settings) {
    const ServerUrl url(value);
    if (!url.IsValid() || !url.IsWeb()) return false;
    url.Compose(settings, source, value);
    return true;
}

bool TakeBoolean(SettingName setting, const String& value, const Source& source, Settings& settings) {
    const String word = value.Lower();
    const bool isTrue = IsOneOf(word, kTrueWords);
    if (!isTrue && !IsOneOf(word, kFalseWords)) return false;
    settings.Set(setting, {isTrue ? L"yes" : L"no", source, value});
    return true;
}

bool TakeRunLevels(SettingName setting, const String& value, const Source& source, Settings& settings) {
    if (value.FindOneOf(L"0123456789") == String::npos) return false;
    settings.Set(setting, value, source);
    return true;
}

struct EnvOverride {
    SettingName setting;
    const wchar_t* variable;
    bool (*take)(SettingName setting, const String& value, const Source& source, Settings& settings);
};
constexpr EnvOverride kOverrides[] = {
    {L"KSName", L"QDN_INSTALL_KSNAME", TakeServer},
    {L"Start", L"QDN_INSTALL_AUTOSTART", TakeBoolean},
    {L"RunLevel", L"QDN_INSTALL_RUNLEVELS", TakeRunLevels},
};

}  // namespace

void ApplyEnvironmentOverrides(Settings& settings) {
    for (const EnvOverride& row : kOverrides) {
        const String value = corekit::Env::Get(row.variable).value_or(String());
        if (value.IsEmpty()) continue;
        const Source source{Source::Kind::Environment, row.variable};
        if (row.take(row.setting, value, source, settings)) continue;
        Messages::Warn(String(L"WARNING! Environment variable %1 contains an invalid value.\n"
                              L"A default value for the appropriate setting will be used.\n")
                           .Arg(row.variable));
    }
}

}  // namespace Zorvane::AgentInstaller
