// The text of a native unit that runs a service script.
#pragma once

#include <vector>

#include "corekit/text/String.h"

namespace deploykit {

/// The unit that runs /etc/init.d/NAME: what the script's header says of its pid file, its name for people
/// and what must be there before it, and the targets that want it ("multi-user.target" stands there when none
/// does, for an administrator who enables it by hand).
corekit::String UnitText(const corekit::String& name, const corekit::String& script,
                         const std::vector<corekit::String>& wantedBy);

}  // namespace deploykit
