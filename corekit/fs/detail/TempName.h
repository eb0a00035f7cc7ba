// Names for what is made beside its final place.
#pragma once

#include <functional>
#include <string>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Calls `make` with the hidden name that belongs to an entry (".NAME.unfinished"); returns its result, and
/// the name in `made`. What a run that was killed left under that name is removed first; when the name is
/// taken all the same, other ones (".NAME.XXXXXX") are tried until `make` does not fail with EEXIST.
Result MakeBeside(const EntryRef& entry, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make);

/// Calls `make` with the names that a pattern ending in XXXXXX stands for, until it does not fail with
/// EEXIST; returns its result, and the name in `made`. Unlike the C library's, it does without random numbers
/// where the system gives none.
Result MakeFromPattern(const std::string& pattern, std::string& made,
                       const std::function<Result(const std::string& candidate)>& make);

}  // namespace corekit
