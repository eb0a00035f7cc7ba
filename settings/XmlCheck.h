// What is wrong with an XML configuration document that is well-formed, and what means yes or no in it.
#pragma once

#include "corekit/text/String.h"
#include "corekit/xml/BasicXml.h"

namespace Zorvane::AgentInstaller {

/// True for the words, in any case, that count as a no; whatever Text::StrToBool takes for a yes counts as
/// one.
[[nodiscard]] bool IsWordForNo(const corekit::String& value);

/// Warns, in the document's order, of each element and attribute that is unknown, doubled or in a wrong
/// place, and of each value that its setting cannot have: "WARNING! <path>:<line>:<column>: <what>." The
/// schema in docs/ accepts exactly the documents that give no such warning, as far as one value does not
/// depend on another.
void WarnOfXmlMistakes(const corekit::BasicXml& document, const corekit::String& path);

}  // namespace Zorvane::AgentInstaller
