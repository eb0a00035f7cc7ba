// The settings store: tests, merging and the diagnostic dump.
#include "settings/Settings.h"

#include <cstdio>

#include "corekit/Console.h"
#include "corekit/Encoding.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::StringEncoder::Local;

String Settings::Get(const String& name) const {
    const auto found = m_usual.find(name);
    return found == m_usual.end() ? String() : found->second;
}

bool Settings::IsSet(const String& name) const {
    return !Get(name).IsEmpty();
}

bool Settings::IsYes(const String& name) const {
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

std::string Address(const void* pointer) {
    char text[2 + 2 * sizeof pointer + 1];
    std::snprintf(text, sizeof text, "%p", pointer);
    return text;
}

}  // namespace

void Settings::Print() const {
    std::string dump = "Usual settings:\n";
    for (const auto& [name, value] : m_usual) dump += Local(name) + "=" + Local(value) + "\n";
    dump += "\nExtra settings:\n";
    for (const ExtraSetting& extra : m_extra) {
        dump += Local(extra.Section) + Address(kColon) + Local(extra.Name) + Address(kEquals) +
                Local(extra.Value) + "\n";
    }
    corekit::Console::Out(dump + "\n");
    corekit::Console::Flush();
}

}  // namespace Zorvane::AgentInstaller
