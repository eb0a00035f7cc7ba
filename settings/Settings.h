// The settings of one run: named text values, and raw entries for client.conf.
#pragma once

#include <map>
#include <vector>

#include "corekit/text/String.h"
#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

/// One raw client.conf entry, written as it stands.
struct ExtraSetting {
    corekit::String Section;
    corekit::String Name;
    corekit::String Value;
};

/// Every input of a run ends up here and every output reads from here. Booleans are "yes" and "no", numbers
/// decimal digits, run levels a list like "rc2;rc3;rc5"; directories may hold %INSTDIR% and %ETCDIR%. Names
/// are case-sensitive.
class Settings {
  public:
    virtual ~Settings() = default;

    /// The value, to read or assign; a setting that is absent is made, empty.
    corekit::String& Value(SettingName name) { return m_usual[name]; }

    /// The value, "" for a setting that is absent. Makes nothing.
    corekit::String Get(SettingName name) const;

    /// Present and not empty? Makes nothing.
    bool IsSet(SettingName name) const;

    /// Present, be it empty? Makes nothing.
    bool Exists(SettingName name) const { return m_usual.contains(name); }

    /// Is the value exactly "yes"? Makes nothing.
    bool IsYes(SettingName name) const;

    /// Takes over the other's usual settings that are not empty, and its RunLevel even when that is empty.
    /// Extra settings are not taken over.
    void Merge(const Settings& other);

    void AddExtra(ExtraSetting extra) { m_extra.push_back(std::move(extra)); }
    const std::vector<ExtraSetting>& Extra() const { return m_extra; }

    /// A dump of all settings to standard output, for whoever looks for a fault: no command writes it.
    void Print() const;

  private:
    std::map<corekit::String, corekit::String, corekit::Ltstr> m_usual;
    std::vector<ExtraSetting> m_extra;
};

}  // namespace Zorvane::AgentInstaller
