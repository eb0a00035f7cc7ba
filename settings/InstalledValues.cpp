// An installed agent's settings: which of them count, and what they keep from being used.
#include "settings/InstalledValues.h"

#include <algorithm>
#include <string>

#include "corekit/fs/Path.h"
#include "corekit/os/Sys.h"
#include "corekit/text/Text.h"
#include "run/Messages.h"
#include "settings/ClientConfKeyMap.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::Text::StrToBool;
using Messages::Shown;

namespace {

constexpr SettingName kServerSettings[] = {L"KSName", L"KSProtocol", L"KSUrlFormat"};

bool IsGiven(const SourcedValue& value) {
    return !value.value.IsEmpty() &&
           (value.source.kind == Source::Kind::Xml || value.source.kind == Source::Kind::Environment);
}

/// The installed agent's server, whole: it had http where its file does not say.
void TakeInstalledServer(Settings& settings, const Settings& installed) {
    const Source source = installed.Record(L"KSName").used.source;
    const String format = installed.Get(L"KSUrlFormat");
    if (format.IsEmpty()) settings.Set(L"KSUrlFormat", UrlFormat(L"http"), source);
    settings.Set(L"KSProtocol", ServerUrl(settings.Get(L"KSUrlFormat")).GetProtocol(), source);
}

// --- Whether two values mean the same

bool MeanSameServer(const SourcedValue& unused, const Settings& settings) {
    const ServerUrl given(unused.given);
    const ServerUrl current = CurrentServer(settings);
    return given.Scheme() == current.Scheme() && given.Port() == current.Port() &&
           !ServerNamesDiffer(unused.value, settings.Get(L"KSName"));
}

bool MeanSamePath(const String& left, const String& right, const Settings& settings) {
    const auto whole = [&](const String& path) {
        const String expanded = ExpandPathMacros(path, settings.Get(L"InstallDir"));
        return expanded.IsEmpty() ? expanded
                                  : corekit::Path::WithoutTrailingSlashes(MakeAbsolutePath(expanded));
    };
    return whole(left) == whole(right);
}

bool MeanSameLevels(const String& left, const String& right) {
    for (const wchar_t level : std::wstring_view(L"0123456")) {
        const String digit(std::wstring(1, level));
        if (left.Contains(digit) != right.Contains(digit)) return false;
    }
    return true;
}

enum class Meaning { Exact, AnyCase, Bool, Number, Path, Levels, Text };

struct MeaningRow {
    SettingName setting;
    Meaning meaning;
};
constexpr MeaningRow kMeanings[] = {
    {L"RunLevel", Meaning::Levels},     {L"LogSize", Meaning::Number},      {L"LogLevel", Meaning::AnyCase},
    {L"SysLogLevel", Meaning::AnyCase}, {L"UseDomain", Meaning::Bool},      {L"SSLVerifyPeer", Meaning::Bool},
    {L"SSLVerifyHost", Meaning::Bool},  {L"EnableNICError", Meaning::Bool}, {L"CAInfo", Meaning::Path},
    {L"CAPath", Meaning::Path},         {L"LogDir", Meaning::Path},         {L"InstallDir", Meaning::Path},
    {L"BinDir", Meaning::Path},         {L"TempDir", Meaning::Path},        {L"GuidDir", Meaning::Path},
    {L"EventQueueDir", Meaning::Path},  {L"TasksDir", Meaning::Path},       {L"PackagesDir", Meaning::Path},
    {L"SWDDir", Meaning::Path},         {L"SerialNumber", Meaning::Text},   {L"AssetTag", Meaning::Text},
    {L"EmployeeID", Meaning::Text},     {L"ContactName", Meaning::Text},    {L"ContactPhone", Meaning::Text},
    {L"ContactEmail", Meaning::Text},   {L"Location", Meaning::Text},       {L"Department", Meaning::Text},
    {L"Description", Meaning::Text},
};

bool MeanTheSame(SettingName name, const SourcedValue& unused, const Settings& settings) {
    if (name == L"KSName") return MeanSameServer(unused, settings);
    const String& left = unused.value;
    const String right = settings.Get(name);
    const auto row = std::ranges::find(kMeanings, name, &MeaningRow::setting);
    switch (row == std::end(kMeanings) ? Meaning::Exact : row->meaning) {
        case Meaning::AnyCase:
            return left.Lower() == right.Lower();
        case Meaning::Bool:
            return StrToBool(left) == StrToBool(right);
        case Meaning::Number:
            return left == right || (left.ToInt() == right.ToInt() && left.ToInt() != 0);
        case Meaning::Path:
            return MeanSamePath(left, right, settings);
        case Meaning::Levels:
            return MeanSameLevels(left, right);
        case Meaning::Text:
            return FreeText(left) == FreeText(right);
        case Meaning::Exact:
            break;
    }
    return left == right;
}

/// "<path>:<line>:<column>", or the variable.
String Place(const Source& source) {
    if (source.kind == Source::Kind::Environment) return Shown(source.name);
    return Shown(source.name) + L":" + String::FromInt(static_cast<long long>(source.line)) + L":" +
           String::FromInt(static_cast<long long>(source.column));
}

void WarnOfUnused(SettingName name, const SettingRecord& record, const Settings& settings) {
    // The warning of KSName, with which they come, is enough.
    if (name == L"KSProtocol" || name == L"KSUrlFormat") return;
    for (const SourcedValue& unused : record.unused) {
        if (!IsGiven(unused) || MeanTheSame(name, unused, settings)) continue;
        Messages::Warn(L"WARNING! " + Place(unused.source) + L": " + String(name) + L" \"" +
                       Shown(unused.given) + L"\" is not used: the installed agent has \"" +
                       Shown(record.used.given) + L"\".\n");
    }
}

}  // namespace

bool OverridesInstalled(const Settings& settings, SettingName name) {
    return settings.IsSet(name) && settings.Record(name).used.source.kind == Source::Kind::Xml &&
           StrToBool(corekit::Env::Get(L"QDN_INSTALL_OVERRIDE").value_or(String()));
}

void MergeInstalledValues(Settings& settings, const Settings& installed, XmlFile xmlFile) {
    const Settings gathered = settings;
    settings.Merge(installed);
    const auto restore = [&](SettingName name) { settings.Set(name, gathered.Record(name).used); };

    if (gathered.IsSet(L"KSName") && (xmlFile == XmlFile::Loaded || !installed.IsSet(L"KSName"))) {
        for (const SettingName name : kServerSettings) restore(name);
    } else if (installed.IsSet(L"KSName")) {
        TakeInstalledServer(settings, installed);
    }
    for (const Key::RecordedKey& row : Key::kRecorded) {
        const bool isRecord = installed.Get(row.setting) == L"no";
        if (isRecord && IsGiven(gathered.Record(row.setting).used)) restore(row.setting);
    }
    for (const auto& [name, record] : gathered.Records()) {
        if (OverridesInstalled(gathered, name)) restore(name);
    }
    if (installed.IsSet(L"KSName") && ServerNamesDiffer(settings.Get(L"KSName"), installed.Get(L"KSName")))
        MarkServerChange(settings);
    if (gathered.IsSet(L"Guid")) restore(L"Guid");
}

void MarkServerChange(Settings& settings) {
    settings.Set(L"KSNameChanged", L"true", {Source::Kind::Program});
    if (settings.Record(L"Guid").used.source.kind != Source::Kind::Xml)
        settings.Set(L"Guid", L"", {Source::Kind::Program});
}

void WarnOfUnusedValues(const Settings& settings) {
    for (const auto& [name, record] : settings.Records()) {
        if (record.used.source.kind == Source::Kind::Installed) WarnOfUnused(name, record, settings);
    }
    const auto& extra = settings.UnusedExtra();
    if (extra.empty() || !settings.IsYes(L"Upgrade")) return;
    Messages::Warn(L"WARNING! " + Shown(extra.front().source.name) + L": " +
                   String::FromInt(static_cast<long long>(extra.size())) +
                   L" extra settings are not used: an upgrade keeps those of the installed agent.\n");
}

}  // namespace Zorvane::AgentInstaller
