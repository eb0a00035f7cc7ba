// The jobs of an older agent's software delivery, carried into today's layout: one record a job, named after
// it.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Converts each job of the software-delivery store: a record NAME.qdn-job-info (INI, section JobInfo) whose
/// name begins with "{", which lies in the store or in the job's directory NAME there, with or without NAME
/// before its suffix. The new record is .qdn-job-xml-NAME, the name in upper case: an element Job whose
/// attributes are the old keys in CamelCase, and in it the element Download of NAME.qdn-job-xml with its
/// attributes. NAME.qdn-job-info goes.
///
/// A job whose record cannot be read, or written as XML without loss, stays as it is and is told:
/// "WARNING! <path> is not converted: <why>."
/// The second time nothing changes.
void ConvertJobs(const corekit::String& jobStore);

}  // namespace Zorvane::AgentInstaller
