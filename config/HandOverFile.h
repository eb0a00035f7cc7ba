// The private temporary file in which the new client.conf is written before it moves into place.
#pragma once

#include "corekit/os/TemporaryFile.h"
#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// Owns the file: removes it when it goes, unless it has been moved into place by then.
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

}  // namespace Zorvane::AgentInstaller
