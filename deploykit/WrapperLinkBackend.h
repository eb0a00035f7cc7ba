// Program links: a wrapper script that sets a program's environment up, and a link to it where the operator
// calls it.
#pragma once

#include <functional>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace deploykit::ItemInstallers {

namespace WrapperLinkBackend {

/// True if the file or link at `path` is the caller's own, which may be replaced or removed. Fails where that
/// is not known.
using OwnsLink = std::function<corekit::Expected<bool>(const corekit::String& path)>;

/// Writes <programDir>/PROGRAM, a shell script that sources `environmentScript` and becomes
/// <programDir>/PROGRAM.bin with the arguments it was given, and the symbolic link <linkDir>/PROGRAM to it.
/// If both directories are the same place, or `linkDir` is empty, there is only the wrapper, which is always
/// replaced. Fails, with the path concerned, if either cannot be made: with EEXIST if `owns` denies what
/// stands in the place of the link, and with the failure of `owns`.
corekit::Result Install(const corekit::String& program, const corekit::String& linkDir,
                        const corekit::String& programDir, const corekit::String& environmentScript,
                        const OwnsLink& owns);

/// Removes both. Leaves alone a directory in the place of either, and a file or link in the place of the link
/// that `owns` denies (EEXIST) or fails to judge. Success if nothing else is left.
corekit::Result Uninstall(const corekit::String& program, const corekit::String& linkDir,
                          const corekit::String& programDir, const OwnsLink& owns);

}  // namespace WrapperLinkBackend
}  // namespace deploykit::ItemInstallers
