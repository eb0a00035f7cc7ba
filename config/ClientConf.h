// Writing client.conf from the package's template, the run's settings and an installed agent's configuration:
// at first into a private hand-over file, which moves into place later.
#pragma once

#include "corekit/os/TemporaryFile.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// What carrying an installed agent's configuration over needs to know of that agent.
struct InstalledConfiguration {
    corekit::String versionLabel;  // such as 6.0SP1
    corekit::String confPath;      // its client.conf
    bool registersSubAgents;       // version 6.0 or later
};

/// What a new client.conf was made from, beside the settings.
enum class ClientConfSource { Template, InstalledAgent, Nothing };

/// Writes a new client.conf to `outputPath`. If there is an installed agent with a client.conf, and Upgrade
/// is empty or "yes", that file's values are carried over and also become the settings they belong to.
/// Records in the settings where the keys are from that it sets. Changes nothing else on the host, and writes
/// nothing to the operator. On failure `outputPath` may be incomplete.
Outcome<ClientConfSource> WriteClientConf(const corekit::String& outputPath, Settings& settings,
                                          const InstalledConfiguration* installed);

/// The same without an installed agent. Where no install directory is set, there is no template: the settings
/// are applied to the file as it is.
Outcome<ClientConfSource> CreateClientConfFromTemplate(const corekit::String& outputPath, Settings& settings);

/// The hand-over file. Its destructor removes the file, unless it has been moved into place by then.
class HandOverFile {
  public:
    /// Creates a new, empty file of mode 0600 under /tmp, and removes those that killed runs have left.
    Outcome<> Create();

    /// Removes the files that killed runs have left. No other run may be under way.
    static void RemoveLeftovers();

    /// Removes the file, if there is one, and forgets its path.
    void RemoveHandOverFile();

    /// Empty when there is no file.
    const corekit::String& Path() const { return m_path; }

  private:
    corekit::String m_path;
    corekit::TemporaryFile m_file;
};

/// Creates and writes the hand-over file. `installed` is the agent whose settings may be carried over, null
/// when there is none; they are carried unless the setting Upgrade is exactly "no". Returns the text for the
/// operator, to be shown once the file is in place; on failure there is no file.
Outcome<corekit::String> MigrateSettings(HandOverFile& handOver, const InstalledConfiguration* installed,
                                         Settings& settings);

}  // namespace Zorvane::AgentInstaller
