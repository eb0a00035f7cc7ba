// What the set-up steps share: they read it, and change nothing but the host.
#pragma once

#include "corekit/text/String.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

struct SetupContext {
    corekit::String generatedConfPath;   // the new client.conf in its hand-over file
    corekit::String confPath;            // its place in the installation, set by the sequence
    const Settings* settings = nullptr;  // the run's settings, not owned
};

}  // namespace Zorvane::AgentInstaller
