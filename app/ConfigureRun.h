// The state of one configure run: what its steps hand on to each other.
#pragma once

#include <memory>

#include "agents/Agent.h"
#include "config/Migration.h"
#include "integration/SetupSequence.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

struct ConfigureRun {
    bool xmlLoaded = false;  // an XML configuration file was read and merged
    bool reinstall = false;  // the installed agent is to be installed anew, not upgraded

    std::shared_ptr<Settings> settings;
    std::unique_ptr<Agent> installed;  // the agent found on the host, or null
    std::unique_ptr<Agent> newAgent;   // the agent being configured, or null
    HandOverFile handOver;             // the new client.conf until it moves into place
    corekit::String migrationText;     // what is said of it when it is put to use
    SetupContext setup;                // what the set-up steps are to know, once client.conf is built

    /// The installed agent when it is of a version that can be upgraded, else null.
    Agent* Upgradable() const {
        return installed && installed->IsUpgradeSupported() ? installed.get() : nullptr;
    }
};

}  // namespace Zorvane::AgentInstaller
