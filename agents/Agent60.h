// Agents of version 6.0 and later, each version with what it does differently from the one before.
#pragma once

#include "agents/Agent.h"
#include "corekit/ini/IniFile.h"

namespace Zorvane::AgentInstaller {

/// Version 6.0 and 6.0 SP1. Every operation that needs the old configuration fails, before it touches
/// anything, while the agent has no configuration file path.
class Agent60 : public Agent {
  public:
    using Agent::Agent;

    Outcome<std::unique_ptr<Settings>> LoadSettings() override;
    Outcome<> RemoveSystemIntegration() override;
    Outcome<> RemoveFiles(const corekit::String& newConfPath) override;
    bool RegistersSubAgents() const override { return true; }

    // The steps of those operations. What a step could not remove is in `m_left`; a bool that it returns says
    // nothing that its caller needs.

    virtual bool RemoveProgramLinks(const corekit::IniFile& oldConf);
    virtual bool RemoveRunLevelScripts(const corekit::IniFile& oldConf);

    /// Moves the data to where the new client.conf wants it, converts the package store and removes the old
    /// files.
    virtual Outcome<> RelocateFiles(const corekit::String& newConfPath);

    /// Converts jobs and packages, which have been moved to where the new client.conf says, to today's
    /// layout.
    virtual bool ConvertPackageStore(const corekit::IniFile& newConf);

    /// Both remove the rotated logs of a version that rotates them; the logs themselves stay.
    virtual bool RemoveRotatedDebugLogs(const corekit::IniFile& oldConf);
    virtual bool RemoveRotatedClientLogs(const corekit::IniFile& oldConf,
                                         const corekit::String& newInstallDir);
};

/// Versions 6.0 SP2 and 6.1, whose links lead to wrapper scripts, and whose service is a script in
/// /etc/init.d.
class Agent60SP2 : public Agent60 {
  public:
    using Agent60::Agent60;

    bool RemoveProgramLinks(const corekit::IniFile& oldConf) override;
    bool RemoveRunLevelScripts(const corekit::IniFile& oldConf) override;
};

/// The agent that this program configures.
class CurrentAgent : public Agent60SP2 {
  public:
    using Agent60SP2::Agent60SP2;
};

/// Version 6.2, which rotates its logs: the rotations are removed with the agent.
class Agent62 : public Agent60SP2 {
  public:
    using Agent60SP2::Agent60SP2;

    bool RemoveRotatedDebugLogs(const corekit::IniFile& oldConf) override;
    bool RemoveRotatedClientLogs(const corekit::IniFile& oldConf,
                                 const corekit::String& newInstallDir) override;
};

}  // namespace Zorvane::AgentInstaller
