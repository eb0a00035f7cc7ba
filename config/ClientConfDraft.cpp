// Fills in the template, and tells its lines apart from the values of settings.
#include "config/ClientConfDraft.h"

#include <algorithm>
#include <iterator>

#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

constexpr const wchar_t* kServerMacro = L"%KSNAME%";

/// A value of the template that is nothing but a macro, and the setting which that stands for.
struct MacroRow {
    const wchar_t* value;
    SettingName setting;
};
constexpr MacroRow kMacros[] = {{kServerMacro, L"KSName"}, {L"%INSTDIR%", L"InstallDir"}};

/// A value on one line: it brings no lines of its own into the file.
String OneLine(String value) {
    return value.Replace(L"\n", L" ").Replace(L"\r", L" ");
}

String FilledIn(String text, const Settings& settings) {
    text.Replace(kServerMacro, OneLine(settings.Get(L"KSName")));
    return ExpandPathMacros(text, OneLine(settings.Get(L"InstallDir")));
}

}  // namespace

ClientConfDraft::ClientConfDraft(const String& path, const String& templatePath, const String& text,
                                 const Settings& settings)
    : m_ini(path, FilledIn(text, settings)) {
    const IniFile raw(templatePath, text);
    for (const IniFile::Entry& entry : raw.AllEntries()) {
        const auto* const macro = std::ranges::find(kMacros, entry.value, &MacroRow::value);
        const Source source = macro != std::end(kMacros) ? SourceOf(macro->setting)
                                                         : Source{Source::Kind::Template, templatePath,
                                                                  raw.LineOf(entry.section, entry.key)};
        m_sources.emplace(std::pair(entry.section, entry.key), source);
    }
}

void ClientConfDraft::Set(const String& section, const String& key, const String& value,
                          const Source& source) {
    m_ini.SetValue(section, key, value);
    m_sources[{section, key}] = source;
}

}  // namespace Zorvane::AgentInstaller
