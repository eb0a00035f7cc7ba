// The environment.
#pragma once

#include <optional>

#include "corekit/text/String.h"

namespace corekit::Env {

/// The value, when the variable exists.
std::optional<String> Get(const String& name);

}  // namespace corekit::Env
