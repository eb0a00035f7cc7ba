// Program links: a wrapper script that sets a program's environment up, and a link to it where the operator
// calls it.
#pragma once

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace deploykit::ItemInstallers {

namespace WrapperLinkBackend {

/// Writes <programDir>/PROGRAM, a shell script that sources `environmentScript` and becomes
/// <programDir>/PROGRAM.bin with the arguments it was given, and the symbolic link <linkDir>/PROGRAM to it.
/// Where both directories are the same place there is only the wrapper. False when either could not be made.
bool Install(const corekit::String& program, const corekit::String& linkDir,
             const corekit::String& programDir, const corekit::String& environmentScript);

/// Removes both; a directory of that name is left alone. Success when nothing of them is left.
corekit::Result Uninstall(const corekit::String& program, const corekit::String& linkDir,
                          const corekit::String& programDir);

}  // namespace WrapperLinkBackend
}  // namespace deploykit::ItemInstallers
