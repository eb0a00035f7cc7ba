// Paths in settings: macros, absolute forms and the move to another install directory.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// A copy with %ETCDIR% as %INSTDIR%/etc and then %INSTDIR% as the install directory.
corekit::String ExpandPathMacros(const corekit::String& text, const corekit::String& installDir);

/// The absolute path; "/" for an empty one and when the current directory is not known.
corekit::String MakeAbsolutePath(const corekit::String& path);

/// Puts a path that is `oldPrefix` or lies below it under `newPrefix`, with "//" folded; leaves any other
/// alone, and all when `oldPrefix` is empty or the root.
void RebasePath(corekit::String& path, const corekit::String& oldPrefix, const corekit::String& newPrefix);

/// Trims the right end and makes a text that is not empty then end in `ch`.
void EnsureTrailingChar(corekit::String& text, wchar_t ch);

/// The directory made absolute, with one "/" and the name behind it.
corekit::String FileBelow(const corekit::String& directory, const corekit::String& name);

}  // namespace Zorvane::AgentInstaller
