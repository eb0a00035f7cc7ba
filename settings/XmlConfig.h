// The XML configuration document KSAgentConfiguration: reading it into settings, and warning of its mistakes.
#pragma once

#include <memory>

#include "corekit/text/String.h"
#include "corekit/xml/BasicXml.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The settings of a document; `path` is the file that their sources name. What the document lacks is present
/// with an empty value. Guid is in upper case and in braces; a word for "yes" is "yes", one for "no"
/// is "no"; an Upgrade that is neither "yes" nor "no" is "yes".
///
/// KSName, KSProtocol and KSUrlFormat come together: from KSName with KSPort and KSProtocol ("http" without
/// one), or all three from a KSName that is a URL. A document that names no server gives none of them.
std::unique_ptr<Settings> ReadXmlConfig(const corekit::BasicXml& document,
                                        const corekit::String& path = corekit::String());

/// Sets a setting from the trimmed text of the element of its name. KSName becomes the server as
/// `ReadXmlConfig` reads it: with the port, and the address where the document says that the address is to be
/// used.
void ReadElementSetting(Settings& settings, const corekit::BasicXml& document, SettingName name);

/// The settings of the built-in document: the defaults.
std::unique_ptr<Settings> DefaultSettings();

/// True for the words, in any case, that count as a no. Text::StrToBool judges what counts as a yes.
[[nodiscard]] bool IsWordForNo(const corekit::String& value);

/// Warns, in the document's order, of each element and attribute that is unknown, doubled or in a wrong
/// place, and of each value that its setting cannot have: "WARNING! <path>:<line>:<column>: <what>." The
/// schema in docs/ accepts exactly the documents that give no such warning, as far as one value does not
/// depend on another.
void WarnOfXmlMistakes(const corekit::BasicXml& document, const corekit::String& path);

}  // namespace Zorvane::AgentInstaller
