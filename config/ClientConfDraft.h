// A client.conf in the making: its text, where what is set in it is from, and the three sources of values.
#pragma once

#include "corekit/ini/IniFile.h"
#include "run/Keys.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// A client.conf in memory; nothing is written before `File().Write()`.
class ClientConfDraft {
  public:
    /// A file as it is on the disk, empty where there is none.
    explicit ClientConfDraft(const corekit::String& path) : m_ini(path) {}

    /// The text of the package's template with its macros filled in from the settings, whose values never
    /// bring lines of their own.
    ClientConfDraft(const corekit::String& path, const corekit::String& text, const Settings& settings);

    /// Gives a key its value, and says where that is from.
    void Set(const corekit::String& section, const corekit::String& key, const corekit::String& value,
             const Source& source);
    void Set(const ConfKey& key, const corekit::String& value, const Source& source) {
        Set(key.section, key.key, value, source);
    }

    const corekit::IniFile& File() const { return m_ini; }

    /// Where each value that has been set is from. The draft no longer has it then.
    KeySources TakeSources() { return std::move(m_sources); }

  private:
    corekit::IniFile m_ini;
    KeySources m_sources;
};

/// Where each value of the package's template is from: the setting that its macro stands for, or its line.
KeySources SourcesOfTemplate(const corekit::IniFile& packageTemplate);

/// A setting as the source of a key.
inline Source SourceOf(SettingName setting) {
    return {Source::Kind::Setting, setting};
}

/// A line of an installed agent's file as the source of a key or a setting.
inline Source SourceOf(const corekit::IniFile& conf, const corekit::String& section,
                       const corekit::String& key) {
    return {Source::Kind::Installed, conf.FileName(), conf.LineOf(section, key)};
}
inline Source SourceOf(const corekit::IniFile& conf, const ConfKey& key) {
    return SourceOf(conf, key.section, key.key);
}

// The sources of values.

/// Sets the keys that settings feed, the keys of fixed rules and then the extra settings. Always true.
bool ApplySettingsToClientConf(ClientConfDraft& draft, const Settings& settings);

/// Copies every entry of the key table that the old file (read with IniFile::KeyCase::FallBack) has, but
/// for empty paths, with paths moved to the new install directory, and makes it the setting that it belongs
/// to, unless the operator has answered a question for that. The settings GuidDir and LogDir move likewise.
void CarryOldValues(const corekit::IniFile& oldIni, ClientConfDraft& draft, Settings& settings);

/// Copies the registrations of class servers, sub-agents, roles and static agents from an older client.conf
/// to the new one; the agent's own tracker is never copied. Always true.
bool CarryOverSubAgents(const corekit::IniFile& oldIni, ClientConfDraft& draft);

}  // namespace Zorvane::AgentInstaller
