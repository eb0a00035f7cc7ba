// What the set-up steps share: they read it, and change nothing but the host.
#pragma once

#include "corekit/text/String.h"
#include "run/Failure.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

struct SetupContext {
    corekit::String generatedConfPath;   // the new client.conf in its hand-over file
    corekit::String confPath;            // where the steps read it: there, or in its place once it has moved
    const Settings* settings = nullptr;  // the run's settings, not owned
};

}  // namespace Zorvane::AgentInstaller
