// The version of the agent that a client.conf describes, the member of the family for it, and the members for
// installations that are left alone.
#pragma once

#include <memory>

#include "agents/Agent.h"
#include "corekit/ini/IniFile.h"
#include "corekit/text/Version.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller {

/// The version that a client.conf states; 5.6.0 (5.5.0 for the inventory solution's file) when it states
/// none.
corekit::Version ReadAgentVersion(const corekit::IniFile& conf);

/// The member of the family for a version, without a configuration file; null when none knows it.
std::unique_ptr<Agent> CreateAgentForVersion(const corekit::Version& version,
                                             const corekit::String& installDir);

/// Version 5.5, or an installation without a configuration that the program understands: provides no settings
/// and leaves everything where it is.
class UnsupportedAgent : public Agent {
  public:
    using Agent::Agent;

    Outcome<std::unique_ptr<Settings>> LoadSettings() override { return nullptr; }
    Outcome<> RemoveSystemIntegration() override { return {}; }
    Outcome<> RemoveFiles(const corekit::String&) override { return {}; }
    bool IsUpgradeSupported() const override { return false; }
};

/// An installation whose configuration is there but cannot be read now, because a device gives an error, for
/// example. Every operation fails, so that a temporarily unreadable agent is treated neither as absent nor as
/// removed.
class UnreadableAgent : public Agent {
  public:
    UnreadableAgent(const corekit::String& confPath, const corekit::Result& cause)
        : Agent(corekit::String(), corekit::String()), m_cause(cause) {
        SetConfPath(confPath);
    }

    Outcome<std::unique_ptr<Settings>> LoadSettings() override { return FailToRead(); }
    Outcome<> RemoveSystemIntegration() override { return FailToRead(); }
    Outcome<> RemoveFiles(const corekit::String&) override { return FailToRead(); }

  private:
    Failure FailToRead() const { return FailAt(Texts::kUnreadableFile, ConfPath(), m_cause); }

    corekit::Result m_cause;
};

}  // namespace Zorvane::AgentInstaller
