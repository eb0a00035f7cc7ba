// Output to the operator. Texts go out in the local character set; a value inside one is made printable by
// `Shown` first, so that nothing from a file can steer the terminal.
#pragma once

#include <set>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"
#include "corekit/text/Text.h"

namespace Zorvane::AgentInstaller::Messages {

/// Progress: to standard output, unless the run is quiet.
void Say(const corekit::String& text);

/// Refusals and the dialogue: to standard output, quiet or not.
void Tell(const corekit::String& text);

/// Warnings and errors: to standard error, quiet or not.
void Warn(const corekit::String& text);

/// Warns of something that should have been removed: "WARNING! <path> is kept: <why>."
void WarnKept(const corekit::String& path, const corekit::String& why);

/// Warns of something that the run goes on without: "WARNING! <path> could not be made: <why>."
void WarnNotMade(const corekit::Result& failure);

/// Warns, once for each path in a run: "WARNING! <path> is not replaced: it is not a link of the agent's."
void WarnNotReplaced(const corekit::String& path);

/// The paths that WarnNotReplaced has told.
inline std::set<corekit::String, corekit::Ltstr> pathsNotReplaced;

/// The texts that WarnNotMade has written: "<path> could not be made: <why>."
inline std::set<corekit::String, corekit::Ltstr> failuresToMake;

/// The value as it may stand in a message: control characters as \xNN.
inline corekit::String Shown(const corekit::String& value) {
    return corekit::Text::Printable(value);
}

/// The text with "?" for what ASCII lacks.
corekit::String Ascii(const corekit::String& text);

/// The value as it may stand in a message that is ASCII.
inline corekit::String ShownAscii(const corekit::String& value) {
    return Ascii(Shown(value));
}

}  // namespace Zorvane::AgentInstaller::Messages
