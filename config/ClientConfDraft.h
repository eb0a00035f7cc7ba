// A client.conf in the making: its text, and where each of its values is from.
#pragma once

#include "corekit/ini/IniFile.h"
#include "run/Keys.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

class ClientConfDraft {
  public:
    /// A file as it is on the disk, empty where there is none.
    explicit ClientConfDraft(const corekit::String& path) : m_ini(path) {}

    /// The package's template, read from `templatePath`, with its macros filled in from the settings. Their
    /// number of lines is the same before and after.
    ClientConfDraft(const corekit::String& path, const corekit::String& templatePath,
                    const corekit::String& text, const Settings& settings);

    /// Gives a key its value, and says where that is from.
    void Set(const corekit::String& section, const corekit::String& key, const corekit::String& value,
             const Source& source);
    void Set(const ConfKey& key, const corekit::String& value, const Source& source) {
        Set(key.section, key.key, value, source);
    }

    const corekit::IniFile& File() const { return m_ini; }
    const KeySources& Sources() const { return m_sources; }

  private:
    corekit::IniFile m_ini;
    KeySources m_sources;
};

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

}  // namespace Zorvane::AgentInstaller
