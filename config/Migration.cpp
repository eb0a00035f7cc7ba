// Writing the new client.conf into its hand-over file: whether an installed agent's values are carried.
#include "config/Migration.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

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
