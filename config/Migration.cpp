// Writing the new client.conf into its hand-over file: whether an installed agent's values are carried.
#include "config/Migration.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

bool MigrateSettings(HandOverFile& handOver, const InstalledConfiguration* installed, Settings& settings) {
    if (!handOver.Create()) return false;
    const bool carry = installed != nullptr && settings.Get(L"Upgrade") != L"no";
    if (carry) {
        Messages::Say(L"Migrating Agent " + Messages::Shown(installed->versionLabel) + L" settings...\n");
    }
    const bool written = WriteClientConf(handOver.Path(), settings, carry ? installed : nullptr);
    if (!written) handOver.RemoveHandOverFile();
    return written;
}

}  // namespace Zorvane::AgentInstaller
