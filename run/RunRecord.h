// The record that a run leaves in the host's log when it ends.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// One record for each run of a command that changes the host: in the journal where there is one, else with
/// the syslog daemon, else nowhere. It is left by `End`, or when a signal or a lack of memory ends the
/// process before, by its handler. The first object of a process owns the record; one within its life leaves
/// none, and so do a rehearsed command and a process that was forked meanwhile.
class RunRecord {
  public:
    /// The record that this is, as journalctl(1) finds it: MESSAGE_ID.
    static constexpr const char* kMessageId = "c1261f8daa9d41c695d7bb9d9b008ac3";

    explicit RunRecord(const corekit::String& command);
    /// Leaves the record of a failure, unless `End` has been called.
    ~RunRecord();
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;

    /// Leaves the record. Returns the status.
    unsigned End(unsigned status);

    /// Each adds a field to the record of the run under way, if there is one. An empty text adds none.
    static void SetInstallDir(const corekit::String& directory);
    static void SetServer(const corekit::String& url);
    static void SetXmlFile(const corekit::String& path);
    static void SetXmlFileRemoved();

  private:
    bool m_isOwner = false;
};

}  // namespace Zorvane::AgentInstaller
