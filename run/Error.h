// The last failure of the run, told to the operator when it ends.
#pragma once

#include "corekit/text/String.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Error {

inline corekit::String m_sErrorText;  // empty: no failure with a text of its own

/// Records the failure `text` followed by `subject` (made printable) and returns false, for
/// `return Error::Fail(L"Unable to write to file: ", path);`. New code returns an `Outcome` instead.
bool Fail(const corekit::String& text, const corekit::String& subject = corekit::String());

/// The outcome of an operation that records its failure by `Fail`.
Outcome<> OutcomeOf(bool succeeded);

}  // namespace Zorvane::AgentInstaller::Error
