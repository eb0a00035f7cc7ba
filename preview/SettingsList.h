// The settings of a run, each with its source and the values that lost, as the document of a preview lists
// them.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "settings/Settings.h"

namespace Zorvane::AgentInstaller::Preview {

/// A source as the document has it.
nlohmann::ordered_json SourceAsJson(const Source& source);

/// All settings that are present, ordered by name. The values of passwords are as they are.
nlohmann::ordered_json SettingsList(const Settings& settings);

}  // namespace Zorvane::AgentInstaller::Preview
