// A preview as people read it.
#pragma once

#include "corekit/json/Json.h"
#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller::Preview {

enum class Colours { None, Terminal };
enum class Output { Shown, SeenAlready };  // of the command: on a terminal that it asked its questions on

/// The settings with their sources, the changes by path, the differences of text files, the command's output,
/// and a closing line with the counts and the status. Parts that are empty are left out.
corekit::String TextReport(const corekit::Json& document, Colours colours, Output output);

}  // namespace Zorvane::AgentInstaller::Preview
