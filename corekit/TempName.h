// Names for what is made beside its final place.
#pragma once

#include <functional>
#include <string>

#include "corekit/Place.h"
#include "corekit/Result.h"

namespace corekit {

/// Calls `make` with the hidden name that belongs to an entry (".NAME.unfinished"); returns its result, and
/// the name in `made`. What a run that was killed left under that name is removed first; when the name is
/// taken all the same, other ones (".NAME.XXXXXX") are tried until `make` does not fail with EEXIST.
Result MakeBeside(const Entry& entry, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make);

}  // namespace corekit
