// What the clean-up has the host's own tools do: look up a value in a key-value file, find a program's
// processes, send them a signal.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// The value of the first line that begins with the key (after blanks at most): what follows its first "=",
/// trimmed, with every "//" as "/". Empty when there is none, and for a file with a NUL in it. The key is a
/// prefix: "var" finds "variable" too.
corekit::String QueryValue(const corekit::String& key, const corekit::String& file);

/// The ids of the processes whose `ps` line contains the name ("inetd" finds xinetd too), joined by blanks.
corekit::String QueryProcessIds(const corekit::String& name);

/// Sends a signal, such as L"HUP", to process ids that are separated by blanks. Nothing is sent when either
/// is empty.
void SignalProcesses(const corekit::String& signal, const corekit::String& ids);

}  // namespace Zorvane::AgentInstaller
