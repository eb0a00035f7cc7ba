// The last failure of the run, told to the operator when it ends.
#pragma once

#include "corekit/text/String.h"

namespace Zorvane::AgentInstaller::Error {

inline corekit::String m_sErrorText;  // empty: no failure with a text of its own

/// Records the failure `text` followed by `subject` (made printable) and returns false, for
/// `return Error::Fail(L"Unable to write to file: ", path);`.
bool Fail(const corekit::String& text, const corekit::String& subject = corekit::String());

}  // namespace Zorvane::AgentInstaller::Error
