// The XML configuration document KSAgentConfiguration, read into settings.
#pragma once

#include <memory>

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

/// Sets the setting that is the trimmed text of the element of its name. KSName takes the port with it, and
/// is the address where that is to be used.
void ReadElementSetting(Settings& settings, const corekit::BasicXml& document, SettingName name);

/// The settings of the built-in document: the defaults.
std::unique_ptr<Settings> DefaultSettings();

}  // namespace Zorvane::AgentInstaller
