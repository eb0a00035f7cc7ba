// The settings store: sources, merging and the diagnostic dump.
#include "settings/Settings.h"

#include <algorithm>
#include <cstdio>

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using Messages::Shown;

const SettingRecord& Settings::Record(SettingName name) const {
    static const SettingRecord kAbsent;
    const auto found = m_usual.find(name);
    return found == m_usual.end() ? kAbsent : found->second;
}

void Settings::Set(SettingName name, const SourcedValue& value) {
    SettingRecord& record = m_usual[name];
    if (!record.used.value.IsEmpty()) record.unused.push_back(record.used);
    std::erase_if(record.unused,
                  [&](const SourcedValue& former) { return former.source.kind == value.source.kind; });
    record.used = value;
}

void Settings::Merge(const Settings& other) {
    for (const auto& [name, record] : other.m_usual) {
        if (!record.used.value.IsEmpty() || name == L"RunLevel") Set(name, record.used);
    }
    m_unusedExtra.insert(m_unusedExtra.end(), other.m_extra.begin(), other.m_extra.end());
}

void Settings::Reset(const Settings& defaults, std::span<const SettingName> kept) {
    std::erase_if(m_usual, [&](const auto& entry) {
        return !defaults.Exists(entry.first) && std::ranges::find(kept, entry.first) == kept.end();
    });
    for (const auto& [name, record] : defaults.m_usual) {
        if (std::ranges::find(kept, name) == kept.end()) Set(name, record.used);
    }
}

String InstalledDirectory(const Settings& settings) {
    const SettingRecord& record = settings.Record(L"InstallDir");
    const auto isInstalled = [](const SourcedValue& value) {
        return value.source.kind == Source::Kind::Installed;
    };
    if (isInstalled(record.used)) return record.used.value;
    const auto found = std::ranges::find_if(record.unused, isInstalled);
    return found == record.unused.end() ? String() : found->value;
}

namespace {

/// The separators of the dump are shown as the addresses of these constants.
constexpr wchar_t kColon[] = L":";
constexpr wchar_t kEquals[] = L"=";

String Address(const void* pointer) {
    char text[2 + 2 * sizeof pointer + 1];
    std::snprintf(text, sizeof text, "%p", pointer);
    return String::FromUtf8(text);
}

}  // namespace

void Settings::Print() const {
    String dump = L"Usual settings:\n";
    for (const auto& [name, record] : m_usual) {
        dump += Shown(name) + L"=" + Shown(record.used.value) + L"\n";
    }
    dump += L"\nExtra settings:\n";
    for (const ExtraSetting& extra : m_extra) {
        dump += Shown(extra.Section) + Address(kColon) + Shown(extra.Name) + Address(kEquals) +
                Shown(extra.Value) + L"\n";
    }
    Messages::Tell(dump + L"\n");
}

}  // namespace Zorvane::AgentInstaller
