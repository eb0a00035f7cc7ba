// Names for what is made beside its final place.
#pragma once

#include <functional>
#include <string>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Calls `make` with the hidden name that belongs to an entry (".NAME.unfinished"); returns its result, and
/// the name in `made`. First removes what a killed run left under that name; if the name is taken all the
/// same, tries others (".NAME.XXXXXX") until `make` does not fail with EEXIST.
Result MakeBeside(const EntryRef& entry, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make);

/// Calls `make` with names from a pattern ending in XXXXXX, until it does not fail with EEXIST; returns its
/// result, and the name in `made`. Unlike mkstemp(3) it works where the system gives no random numbers.
Result MakeFromPattern(const std::string& pattern, std::string& made,
                       const std::function<Result(const std::string& candidate)>& make);

}  // namespace corekit
