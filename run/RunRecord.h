// The record that a run leaves in the host's log when it ends.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// One record for each run of a command that changes the host: in the journal where there is one, else with
/// the syslog daemon, else nowhere. `End` leaves it, or the handler of a signal or a lack of memory that ends
/// the process before. The first object of a process owns the record. An object within its life leaves none,
/// nor does a rehearsed command or a forked process.
class RunRecord {
  public:
    /// The MESSAGE_ID by which journalctl(1) finds these records.
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
