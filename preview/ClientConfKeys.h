// The keys of a client.conf as the document of a preview lists them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "corekit/ini/IniFile.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller::Preview {

/// Each key once, in the file's order, with its section, its value and where that is from; of two same keys
/// the first counts. Values of passwords are masked.
nlohmann::ordered_json KeysOf(const corekit::IniFile& clientConf, const KeySources& sources);

}  // namespace Zorvane::AgentInstaller::Preview
