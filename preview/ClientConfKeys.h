// The keys of a client.conf as the document of a preview lists them.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace Zorvane::AgentInstaller::Preview {

/// Each key once, in the file's order, with its section and value; of two same keys the first counts. Values
/// of passwords are masked.
nlohmann::ordered_json KeysOf(const std::string& clientConf);

}  // namespace Zorvane::AgentInstaller::Preview
