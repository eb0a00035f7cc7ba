// Whose file it is: files found where others can write are used only when root or the invoking user made
// them.
#pragma once

#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// Who chose the directory that a file was found in.
enum class ChosenBy {
    Program,        // a fixed or searched path
    Administrator,  // the command line or an environment variable named it: its owner does not matter
};

/// Why the file must not be used: empty when it may be. In a directory that others can write, it must be a
/// regular file, owned by root or the invoking user (real user, SUDO_UID) and not writable by others. A
/// directory counts as one when it is /tmp/ksclt, belongs to somebody else, is writable by all, or lies below
/// such a one without a sticky bit.
corekit::String WhyNotTrusted(const corekit::String& path, ChosenBy chosenBy);

/// The same question, answered with "WARNING! <path> is not used: <why>." on standard error when it may not
/// be used.
bool IsTrusted(const corekit::String& path, ChosenBy chosenBy);

}  // namespace Zorvane::AgentInstaller
