// Writing client.conf: the template's text, what is carried over, and the settings on top.
#include "config/ClientConf.h"

#include <utility>

#include "config/ClientConfDraft.h"
#include "corekit/fs/Access.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/Interruption.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/InstalledValues.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
namespace File = corekit::File;

namespace {

constexpr const wchar_t* kTemplate = L"/tmp/.zorvane-agent-installer.XXXXXX";

// The hand-over files, and the temporary files beside them while they are written.
constexpr const wchar_t* kLeftovers[] = {L"/tmp/.zorvane-agent-installer.??????",
                                         L"/tmp/..zorvane-agent-installer.??????.*"};

constexpr const wchar_t* kCreating = L"Creating/customizing Agent's configuration file.\n";

// The two ways of writing tell of a template that cannot be read with texts that differ by a blank.
constexpr const wchar_t* kUnreadableFresh = L"Missing or unreadable file in install. File:";
constexpr const wchar_t* kUnreadableUpgrade = Texts::kUnreadableFile;

/// The package's template with its macros filled in, which is going to be written to `outputPath`.
Outcome<ClientConfDraft> ReadTemplate(const String& outputPath, const Settings& settings,
                                      const wchar_t* unreadable) {
    const String path = settings.Get(L"InstallDir") + Names::kClientProto;
    if (!File::Exists(path)) return Fail(L"Missing file in install. File:", path);
    auto text = File::Read(path);
    if (!text) return FailAt(unreadable, path, text.error());
    if (text->IsEmpty()) return Fail(unreadable, path);
    return ClientConfDraft(outputPath, *text, settings);
}

Outcome<> ApplySettings(ClientConfDraft draft, Settings& settings) {
    ApplySettingsToClientConf(draft, settings);
    const IniFile& file = draft.File();
    if (const auto written = file.Write(); !written)
        return FailAt(Texts::kUnwritableFile, file.FileName(), written);
    settings.SetKeys(draft.TakeSources());
    return {};
}

/// Fails unless the template's directory is one to which the new client.conf can move.
Outcome<> CheckTemplateDirectory(const String& etc) {
    if (const auto writable = corekit::Access::CheckWritableDirectory(etc); !writable)
        return FailAt(L"Failed to create ", etc, writable);
    return {};
}

/// The old file's server counts if nothing else names one. One that differs, in a file whose server was not
/// loaded before (that of version 5.6), changes.
void TakeOldServer(const IniFile& oldIni, Settings& settings) {
    const String old = GetValue(oldIni, Key::kServer);
    if (!settings.IsSet(L"KSName")) {
        settings.Set(L"KSName", old, SourceOf(oldIni, Key::kServer));
    } else if (!old.IsEmpty() && ServerNamesDiffer(old, settings.Get(L"KSName"))) {
        MarkServerChange(settings);
    }
}

Outcome<> UpgradeClientConf(const String& outputPath, Settings& settings,
                            const InstalledConfiguration& installed) {
    const IniFile oldIni(installed.confPath, IniFile::KeyCase::FallBack);
    // Going on would replace the administrator's values by defaults.
    if (!oldIni.ReadResult() && !IsNotFound(oldIni.ReadResult()))
        return FailAt(kUnreadableUpgrade, installed.confPath, oldIni.ReadResult());
    TakeOldServer(oldIni, settings);
    auto draft = ReadTemplate(outputPath, settings, kUnreadableUpgrade);
    if (!draft) return draft.error();
    if (const auto etc = CheckTemplateDirectory(settings.Get(L"InstallDir") + L"/etc"); !etc) return etc;

    CarryOldValues(oldIni, *draft, settings);
    if (installed.registersSubAgents) CarryOverSubAgents(oldIni, *draft);
    return ApplySettings(std::move(*draft), settings);
}

/// What a client.conf was made from, or the reason why it could not be written.
Outcome<ClientConfSource> MadeFrom(const Outcome<>& written, ClientConfSource source) {
    if (!written) return written.error();
    return source;
}

}  // namespace

void HandOverFile::RemoveLeftovers() {
    // A file that stays does no harm, and the next run tries again.
    for (const wchar_t* pattern : kLeftovers) Forgive(File::RemoveEx(pattern, corekit::HostDirectory::Meant));
}

Outcome<> HandOverFile::Create() {
    RemoveHandOverFile();
    RemoveLeftovers();
    const corekit::SignalBlock untilItIsOwned;
    const auto made = File::MakeTemp(kTemplate);
    if (!made) return Fail(L"Failed to create migration config file: ", GetErrorMsg(made.error()));
    m_path = *made;
    m_file.Take(m_path.Utf8());
    return {};
}

void HandOverFile::RemoveHandOverFile() {
    m_file.Remove();
    m_path = corekit::String();
}

Outcome<String> MigrateSettings(HandOverFile& handOver, const InstalledConfiguration* installed,
                                Settings& settings) {
    if (const auto created = handOver.Create(); !created) return created.error();
    const bool carry = installed != nullptr && settings.Get(L"Upgrade") != L"no";
    const auto source = WriteClientConf(handOver.Path(), settings, carry ? installed : nullptr);
    if (!source) {
        handOver.RemoveHandOverFile();
        return source.error();
    }
    String told;
    if (carry) told += L"Migrating Agent " + Messages::Shown(installed->versionLabel) + L" settings...\n";
    if (*source == ClientConfSource::Template) told += kCreating;
    return told;
}

Outcome<ClientConfSource> WriteClientConf(const String& outputPath, Settings& settings,
                                          const InstalledConfiguration* installed) {
    if (settings.Exists(L"InstallDir")) {
        settings.Value(L"InstallDir") = MakeAbsolutePath(settings.Get(L"InstallDir"));
    }
    const bool upgrade = installed != nullptr && !installed->confPath.IsEmpty() &&
                         (!settings.IsSet(L"Upgrade") || settings.IsYes(L"Upgrade"));
    if (!upgrade) return CreateClientConfFromTemplate(outputPath, settings);
    return MadeFrom(UpgradeClientConf(outputPath, settings, *installed), ClientConfSource::InstalledAgent);
}

Outcome<ClientConfSource> CreateClientConfFromTemplate(const String& outputPath, Settings& settings) {
    if (!settings.IsSet(L"InstallDir"))
        return MadeFrom(ApplySettings(ClientConfDraft(outputPath), settings), ClientConfSource::Nothing);
    auto draft = ReadTemplate(outputPath, settings, kUnreadableFresh);
    if (!draft) return draft.error();
    return MadeFrom(ApplySettings(std::move(*draft), settings), ClientConfSource::Template);
}

}  // namespace Zorvane::AgentInstaller
