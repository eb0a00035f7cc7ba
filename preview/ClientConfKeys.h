// The keys of a client.conf as the document of a preview lists them.
#pragma once

#include "corekit/ini/IniFile.h"
#include "corekit/json/Json.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller::Preview {

/// Each key once, in the file's order, with its section, its value, where that is from, and whether it is
/// the usual one: that of the package's template, which is empty where the template has none. A key that
/// `sources` lacks is from the template. Of two same keys the first counts. Values of passwords are masked.
corekit::Json KeysOf(const corekit::IniFile& clientConf, const corekit::IniFile& packageTemplate,
                     const KeySources& sources);

}  // namespace Zorvane::AgentInstaller::Preview
