// The private temporary file in which the new client.conf is written, with an installed agent's values,
// before it moves into place.
#pragma once

#include "config/ClientConf.h"
#include "corekit/os/TemporaryFile.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The hand-over file. Its destructor removes the file, unless it has been moved into place by then.
class HandOverFile {
  public:
    /// Creates a new, empty file of mode 0600 under /tmp, and removes those of runs that were killed.
    Outcome<> Create();

    /// Removes those of runs that were killed: no other run may be under way.
    static void RemoveLeftovers();

    /// Removes the file, if there is one, and forgets its path.
    void RemoveHandOverFile();

    /// Empty when there is no file.
    const corekit::String& Path() const { return m_path; }

  private:
    corekit::String m_path;
    corekit::TemporaryFile m_file;
};

/// Creates the hand-over file and has it written. `installed` is the agent whose settings may be carried
/// over, null when there is none; they are carried unless the setting Upgrade is exactly "no". Returns what
/// the operator is to be told of it once the file is put to use; on failure there is no file.
Outcome<corekit::String> MigrateSettings(HandOverFile& handOver, const InstalledConfiguration* installed,
                                         Settings& settings);

}  // namespace Zorvane::AgentInstaller
