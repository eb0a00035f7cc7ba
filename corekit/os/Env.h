// The environment.
#pragma once

#include "corekit/text/String.h"

namespace corekit::Env {

/// True, and the value, when the variable exists.
bool Get(const String& name, String& value);

}  // namespace corekit::Env
