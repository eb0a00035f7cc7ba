// The package store of an older agent, carried into today's layout: one record a package, named after it.
#pragma once

#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// Converts each package of the store: a directory whose name begins with "{" and that has a record
/// NAME.qdn-pkg-info beside it. The new record is .qdn-pkg-xml-NAME, with the name in upper case there. A
/// package whose record cannot be read, or written as XML, stays as it is; nothing is reported. Does nothing
/// the second time.
void ConvertPackages(const corekit::String& packageStore);

}  // namespace Zorvane::AgentInstaller
