// The state of the installed agent as the JSON document that programs read, and as text for people.
#pragma once

#include <optional>
#include <string>

#include "corekit/json/Json.h"
#include "corekit/text/String.h"
#include "status/Facts.h"

namespace Zorvane::AgentInstaller::Status {

inline constexpr const char* kFormat = "qdn-configure/status/1";

// As the Linux Standard Base has them for services.
inline constexpr unsigned kInOrder = 0;
inline constexpr unsigned kOutOfOrder = 1;
inline constexpr unsigned kNotRunning = 3;
inline constexpr unsigned kNotConfigured = 4;

/// What is known of the state besides the facts.
struct Findings {
    std::string version;              // of the program
    std::optional<bool> isReachable;  // none: nobody has asked
    /// What FindDifferences returned; null where they were not looked for, for the reason `notCompared`.
    const corekit::Json* found = nullptr;
    std::string notCompared;
};

corekit::Json MakeDocument(const Facts& facts, const Findings& findings);

/// One line for each fact, then the differences, as many as fit on a screen, and a closing line with the
/// status.
corekit::String TextReport(const corekit::Json& document);

}  // namespace Zorvane::AgentInstaller::Status
