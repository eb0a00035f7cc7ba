// The settings of one run: named text values, where each is from, and raw entries for client.conf.
#pragma once

#include <map>
#include <span>
#include <utility>
#include <vector>

#include "corekit/text/String.h"
#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

/// Where a value comes from.
struct Source {
    enum class Kind {
        Default,         // the built-in document
        Environment,     // a variable
        Xml,             // the XML configuration file
        Installed,       // a file of the installed agent
        Answer,          // typed, or confirmed by Enter, at a question
        Option,          // the command line
        PackageManager,  // what it knows of the installed package
        Program,         // the program's own place, or a conclusion of its own
        Setting,         // one of these settings; only of keys of client.conf
        Template,        // the package's template; only of keys of client.conf
    };

    Kind kind = Kind::Program;
    corekit::String name = {};  // the variable, the setting, or the path of the file
    unsigned long line = 0;     // in the file; 0 where nothing tells
    unsigned long column = 0;   // of the XML file's element or attribute

    bool operator==(const Source&) const = default;
};

/// A value and its source.
struct SourcedValue {
    corekit::String value;
    Source source;
    corekit::String given;  // as it stands at its source; it may differ from what becomes of it

    bool operator==(const SourcedValue&) const = default;
};

/// A setting: the value that is used, and those that it overrides, the oldest first.
struct SettingRecord {
    SourcedValue used;
    std::vector<SourcedValue> unused;
};

/// One raw client.conf entry, written as it stands.
struct ExtraSetting {
    corekit::String Section;
    corekit::String Name;
    corekit::String Value;
    Source source = {};
};

/// Where each key of a client.conf is from, by section and key.
using KeySources = std::map<std::pair<corekit::String, corekit::String>, Source>;

/// Every input of a run ends up here and every output reads from here. Booleans are "yes" and "no", numbers
/// decimal digits, run levels a list like "rc2;rc3;rc5"; directories may hold %INSTDIR% and %ETCDIR%.
class Settings {
  public:
    virtual ~Settings() = default;

    /// The value, to read or assign. Creates a setting that is absent, empty. The source of the setting
    /// stays.
    corekit::String& Value(SettingName name) { return m_usual[name].used.value; }

    /// Gives a setting its value. The former one becomes unused, unless it is empty; of the values from one
    /// kind of source only the last is kept.
    void Set(SettingName name, const SourcedValue& value);
    void Set(SettingName name, const corekit::String& value, const Source& source) {
        Set(name, {value, source, value});
    }

    /// The value, "" for a setting that is absent. Creates no setting.
    corekit::String Get(SettingName name) const { return Record(name).used.value; }

    /// The value, its source and the values that it overrides; an empty record for a setting that is absent.
    const SettingRecord& Record(SettingName name) const;

    /// All settings that are present, ordered by name.
    const std::map<SettingName, SettingRecord>& Records() const { return m_usual; }

    /// True if the setting is present and not empty. Creates no setting.
    bool IsSet(SettingName name) const { return !Record(name).used.value.IsEmpty(); }

    /// True if the setting is present, even if it is empty. Creates no setting.
    bool Exists(SettingName name) const { return m_usual.contains(name); }

    /// True if the value is exactly "yes". Creates no setting.
    bool IsYes(SettingName name) const { return Record(name).used.value == L"yes"; }

    /// Takes over the other's usual settings that are not empty, and its RunLevel even when that is empty,
    /// with their sources. The other's extra settings do not count; they become unused ones.
    void Merge(const Settings& other);

    /// Gives all settings but the named ones the values that `defaults` has, and removes those that it lacks.
    void Reset(const Settings& defaults, std::span<const SettingName> kept);

    void AddExtra(ExtraSetting extra) { m_extra.push_back(std::move(extra)); }
    const std::vector<ExtraSetting>& Extra() const { return m_extra; }

    /// The extra settings of what was merged.
    const std::vector<ExtraSetting>& UnusedExtra() const { return m_unusedExtra; }

    /// Where the keys are from that were set in the client.conf made of these settings; all others are as the
    /// package's template has them. Empty before that file was made.
    const KeySources& Keys() const { return m_keys; }
    void SetKeys(KeySources keys) { m_keys = std::move(keys); }

    /// Dumps all settings to standard output. No command calls it: it is there for debugging.
    void Print() const;

  private:
    std::map<SettingName, SettingRecord> m_usual;
    std::vector<ExtraSetting> m_extra;
    std::vector<ExtraSetting> m_unusedExtra;
    KeySources m_keys;
};

/// The install directory that the installed agent's configuration gives; "" when there is none.
corekit::String InstalledDirectory(const Settings& settings);

}  // namespace Zorvane::AgentInstaller
