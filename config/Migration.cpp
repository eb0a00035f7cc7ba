// The hand-over file, and whether an installed agent's values are carried into it.
#include "config/Migration.h"

#include "corekit/fs/File.h"
#include "corekit/os/Interruption.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

namespace File = corekit::File;

namespace {

constexpr const wchar_t* kTemplate = L"/tmp/.zorvane-agent-installer.XXXXXX";

// The file, and what is beside it while it is written.
constexpr const wchar_t* kLeftovers[] = {L"/tmp/.zorvane-agent-installer.??????",
                                         L"/tmp/..zorvane-agent-installer.??????.*"};

}  // namespace

void HandOverFile::RemoveLeftovers() {
    // One that stays is in nobody's way; the next run tries again.
    for (const wchar_t* pattern : kLeftovers) Forgive(File::RemoveEx(pattern, File::HostDirectory::Meant));
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

using corekit::String;

namespace {

constexpr const wchar_t* kCreating = L"Creating/customizing Agent's configuration file.\n";

}  // namespace

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

}  // namespace Zorvane::AgentInstaller
