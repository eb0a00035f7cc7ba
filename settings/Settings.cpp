// The settings store: tests, merging and the diagnostic dump.
#include "settings/Settings.h"

#include <cstdio>

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using Messages::Shown;

String Settings::Get(SettingName name) const {
    const auto found = m_usual.find(name);
    return found == m_usual.end() ? String() : found->second;
}

bool Settings::IsSet(SettingName name) const {
    return !Get(name).IsEmpty();
}

bool Settings::IsYes(SettingName name) const {
    return Get(name) == L"yes";
}

void Settings::Merge(const Settings& other) {
    for (const auto& [name, value] : other.m_usual) {
        if (!value.IsEmpty() || name == L"RunLevel") m_usual[name] = value;
    }
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
    for (const auto& [name, value] : m_usual) dump += Shown(name) + L"=" + Shown(value) + L"\n";
    dump += L"\nExtra settings:\n";
    for (const ExtraSetting& extra : m_extra) {
        dump += Shown(extra.Section) + Address(kColon) + Shown(extra.Name) + Address(kEquals) +
                Shown(extra.Value) + L"\n";
    }
    Messages::Tell(dump + L"\n");
}

}  // namespace Zorvane::AgentInstaller
