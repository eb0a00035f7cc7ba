// A command that changes the host, the refusals that commands share, and the report of a failure.
#pragma once

#include "corekit/os/Application.h"
#include "corekit/text/String.h"
#include "run/Failure.h"
#include "run/RunLock.h"
#include "run/RunRecord.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

class ChangingCommand : public corekit::CommandBasedApp::Command {
  public:
    /// Runs, and leaves one record of it in the host's log.
    unsigned Run(const std::vector<corekit::String>& arguments) final {
        RunRecord record(Word());
        return record.End(Perform(arguments));
    }

    /// The command word.
    virtual corekit::String Word() const = 0;

    /// The reason why the command would do nothing right now; empty when it would run. Changes nothing.
    virtual corekit::String Refusal(const std::vector<corekit::String>& arguments) const = 0;

    /// The reason why it would do nothing even if no agent and no other run were in its way; empty when it
    /// would run.
    virtual corekit::String LastingRefusal(const std::vector<corekit::String>&) const { return L""; }

    /// The settings of the last run; null for a command that has none.
    virtual const Settings* LastSettings() const { return nullptr; }

  private:
    /// As `Run`, without the record.
    virtual unsigned Perform(const std::vector<corekit::String>& arguments) = 0;
};

// The program's statuses.
inline constexpr unsigned kSuccess = 0;
inline constexpr unsigned kFailure = 1;
inline constexpr unsigned kUsageError = corekit::CommandBasedApp::kUsageError;

inline constexpr const wchar_t* kAnotherRun = L"  Another run of qdn-configure is in progress.\n";

// The three that refuse return true after they have told the operator why the command cannot run.

/// Refuses a user who is not root.
bool RefuseOrdinaryUser();

/// Refuses, with the text `refusal`, while a plug-in process of the agent runs.
bool RefuseRunningAgent(const corekit::String& refusal);

/// Refuses when another run holds the lock.
bool RefuseSecondRun(const RunLock& lock);

/// Tells the operator of the failure on standard error. Returns the status of a run that failed.
unsigned Report(const Failure& failure);

}  // namespace Zorvane::AgentInstaller
