// A command that changes the host, as a preview sees it.
#pragma once

#include "corekit/os/Application.h"
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

    /// Why the command would do nothing right now; empty when it would run. Changes nothing.
    virtual corekit::String Refusal(const std::vector<corekit::String>& arguments) const = 0;

    /// Why it would do nothing even if no agent and no other run were in its way; empty when it would run.
    virtual corekit::String LastingRefusal(const std::vector<corekit::String>&) const { return L""; }

    /// The settings of the last run; null for a command that has none.
    virtual const Settings* LastSettings() const { return nullptr; }

  private:
    /// As `Run`, without the record.
    virtual unsigned Perform(const std::vector<corekit::String>& arguments) = 0;
};

}  // namespace Zorvane::AgentInstaller
