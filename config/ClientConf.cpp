// Writing client.conf: the template's text, what is carried over, and the settings on top.
#include "config/ClientConf.h"

#include <utility>

#include "config/CarriedValues.h"
#include "config/ClientConfSettings.h"
#include "config/ConfiguredDirectories.h"
#include "config/SubAgents.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "run/Error.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/Texts.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
namespace File = corekit::File;

namespace {

// The two ways of writing tell of a template that cannot be read with texts that differ by a blank.
constexpr const wchar_t* kUnreadableFresh = L"Missing or unreadable file in install. File:";
constexpr const wchar_t* kUnreadableUpgrade = Texts::kUnreadableFile;

/// A value on one line: it brings no lines of its own into the file.
String OneLine(String value) {
    return value.Replace(L"\n", L" ").Replace(L"\r", L" ");
}

/// The package's template with its macros filled in. False with the error text set.
bool ReadTemplate(const Settings& settings, const wchar_t* unreadable, String& text) {
    const String installDir = settings.Get(L"InstallDir");
    const String path = installDir + Names::kClientProto;
    if (!File::Exists(path)) return Error::Fail(L"Missing file in install. File:", path);
    auto read = File::Read(path);
    if (!read || read->IsEmpty()) return Error::Fail(unreadable, path);
    text = ExpandPathMacros(read->Replace(L"%KSNAME%", OneLine(settings.Get(L"KSName"))), installDir);
    return true;
}

bool ApplySettings(IniFile ini, const Settings& settings) {
    return ApplySettingsToClientConf(ini, settings) &&
           (ini.Write().Ok() || Error::Fail(Texts::kUnwritableFile, ini.FileName()));
}

bool UpgradeClientConf(const String& outputPath, Settings& settings,
                       const InstalledConfiguration& installed) {
    const IniFile oldIni(installed.confPath, IniFile::KeyCase::FallBack);
    // Going on would replace the administrator's values by defaults.
    if (!oldIni.ReadResult() && !IsNotFound(oldIni.ReadResult()))
        return Error::Fail(kUnreadableUpgrade, installed.confPath);
    if (!settings.IsSet(L"KSName")) settings.Value(L"KSName") = GetValue(oldIni, Key::kServer);
    String text;
    if (!ReadTemplate(settings, kUnreadableUpgrade, text)) return false;
    const String etc = settings.Get(L"InstallDir") + L"/etc";
    if (CreateConfiguredDirectory(etc) != 0) return Error::Fail(L"Failed to create ", etc);

    IniFile newIni(outputPath, text);
    CarryOldValues(oldIni, newIni, settings);
    if (installed.registersSubAgents) CarryOverSubAgents(oldIni, newIni);
    return ApplySettings(std::move(newIni), settings);
}

}  // namespace

bool WriteClientConf(const String& outputPath, Settings& settings, const InstalledConfiguration* installed) {
    if (settings.Exists(L"InstallDir")) {
        settings.Value(L"InstallDir") = MakeAbsolutePath(settings.Get(L"InstallDir"));
    }
    const bool upgrade = installed != nullptr && !installed->confPath.IsEmpty() &&
                         (!settings.IsSet(L"Upgrade") || settings.IsYes(L"Upgrade"));
    return upgrade ? UpgradeClientConf(outputPath, settings, *installed)
                   : CreateClientConfFromTemplate(outputPath, settings);
}

bool CreateClientConfFromTemplate(const String& outputPath, const Settings& settings) {
    if (!settings.IsSet(L"InstallDir")) return ApplySettings(IniFile(outputPath), settings);
    Messages::Say(L"Creating/customizing Agent's configuration file.\n");
    String text;
    return ReadTemplate(settings, kUnreadableFresh, text) &&
           ApplySettings(IniFile(outputPath, text), settings);
}

}  // namespace Zorvane::AgentInstaller
