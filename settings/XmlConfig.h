// The XML configuration document KSAgentConfiguration, read into settings.
#pragma once

#include <memory>

#include "corekit/xml/BasicXml.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// The settings of a document. What the document lacks is present with an empty value, but for KSProtocol,
/// which then is "http"; Guid is in upper case and in braces, and KSUrlFormat is composed from KSProtocol.
std::unique_ptr<Settings> ReadXmlConfig(const corekit::BasicXml& document);

/// Sets the setting that is the trimmed text of the element of its name. KSName takes the port with it, and
/// is the address where that is to be used.
void ReadElementSetting(Settings& settings, const corekit::BasicXml& document, SettingName name);

/// The settings of the built-in document: the defaults.
std::unique_ptr<Settings> DefaultSettings();

}  // namespace Zorvane::AgentInstaller
