// The settings of a run, each with its source and the values that lost, as the document of a preview lists
// them.
#pragma once

#include "corekit/json/Json.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller::Preview {

/// A source as the document has it.
corekit::Json SourceAsJson(const Source& source);

/// All settings that are present, ordered by name. The values of passwords are as they are.
corekit::Json SettingsList(const Settings& settings);

}  // namespace Zorvane::AgentInstaller::Preview
