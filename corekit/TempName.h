// Names for what is made beside its final place.
#pragma once

#include <functional>
#include <string>

#include "corekit/Result.h"

namespace corekit {

/// Calls `make` with one hidden name after another (".NAME.XXXXXX"), until it does not fail with EEXIST;
/// returns its result, and the name in `made`.
Result MakeBeside(const std::string& name, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make);

}  // namespace corekit
