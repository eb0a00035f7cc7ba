// The jobs of an older agent's software delivery, carried into today's layout: one record a job, named after
// it.
#pragma once

#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// Converts each job of the software-delivery store: a record NAME.qdn-job-info whose name begins with "{",
/// with NAME.qdn-job-xml beside it. The new record is .qdn-job-xml-NAME, with the name in upper case there. A
/// job whose record cannot be read, or written as XML, stays as it is; nothing is reported. Does nothing the
/// second time.
void ConvertJobs(const corekit::String& jobStore);

}  // namespace Zorvane::AgentInstaller
