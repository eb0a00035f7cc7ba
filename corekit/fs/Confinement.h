// Removals that are confined to one directory, whatever a configuration names.
#pragma once

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// From now on nothing is removed but this directory and what lies below it, whatever a path looks like and
/// whichever links lead there: EXDEV for all else. Fails when the directory cannot be opened.
Result ConfineRemovals(const String& directory);

/// Success for an entry that `ConfineRemovals` allows to be removed, EXDEV for any other.
Result CheckConfined(const EntryRef& entry);

/// Ends what `ConfineRemovals` has begun.
void EndConfinement();

}  // namespace corekit
