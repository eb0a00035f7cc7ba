// Names for what is made beside its final place.
#pragma once

#include <functional>
#include <string>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Makes something under a name; EEXIST when the name is taken.
using MakeNamed = std::function<Result(const std::string& name)>;

/// Calls `make` with the hidden name that belongs to an entry (".NAME.unfinished"), and returns the name.
/// First removes what a killed run left under that name; if the name is taken all the same, tries others
/// (".NAME.XXXXXX"). Fails when `make` fails with anything but EEXIST, or with that for a hundred others.
Expected<std::string> MakeBeside(const EntryRef& entry, const MakeNamed& make);

/// The same with names from a pattern, which ends in XXXXXX (EINVAL otherwise). mkstemp(3) takes a path, and
/// cannot make a file in an open directory.
Expected<std::string> MakeFromPattern(const std::string& pattern, const MakeNamed& make);

}  // namespace corekit
