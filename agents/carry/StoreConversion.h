// The stores of an older agent's software delivery, carried into today's layout: one record for each job and
// for each package, named after it.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller {

/// Converts each job of the software-delivery store: a record NAME.qdn-job-info (INI, section JobInfo) whose
/// name begins with "{", which lies in the store or in the job's directory NAME there, with or without NAME
/// before its suffix. The new record is .qdn-job-xml-NAME, the name in upper case: an element Job whose
/// attributes are the old keys in CamelCase, and in it the element Download of NAME.qdn-job-xml with its
/// attributes. NAME.qdn-job-info goes.
///
/// A job whose record cannot be read, or written as XML without loss, stays as it is, with a warning:
/// "WARNING! <path> is not converted: <why>." The second time nothing changes.
void ConvertJobs(const corekit::String& jobStore);

/// Converts each package of the store: a directory whose name begins with "{", with its record beside it in
/// NAME.qdn-pkg-info (INI, section PackageInfo). The new record is .qdn-pkg-xml-NAME, the name in upper case:
/// an element Package with a PackageUser "Zorvane.SWD" in it, their attributes the old keys in CamelCase. How
/// far the delivery is (codebases, pkg_current_size, pkg_status, the last download's status,
/// pkg_download_number, pkg_delete_after) is the user's; everything else is the package's, and so is the text
/// of InternalVersion in NAME.qdn-pkg-xml. Enabled="true", Deleted="false" and the user's Priority="normal"
/// stand there too where the old record does not say otherwise. Code bases and snapshot take their new names;
/// NAME.qdn-pkg-info goes.
///
/// A package whose record cannot be read, or written as XML without loss, stays as it is, with a warning:
/// "WARNING! <path> is not converted: <why>." The second time nothing changes.
void ConvertPackages(const corekit::String& packageStore);

}  // namespace Zorvane::AgentInstaller
