// What becomes of the settings when an installed agent's are merged into them.
#pragma once

#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Tells whether the run has an XML configuration file.
enum class XmlFile { None, Loaded };

/// Merges what the installed agent's client.conf provides. KSName, KSProtocol and KSUrlFormat come from one
/// source together: with an XML file the server that was gathered wins over the installed agent's. If the
/// resulting server is not the agent's, sets KSNameChanged and drops the agent's identifier. A recorded
/// AllowNonRoot, StartupOnBoot or EnableNICError counts only if nothing else gives one. A value that
/// overrides the installed agent's counts for every setting.
void MergeInstalledValues(Settings& settings, const Settings& installed, XmlFile xmlFile);

/// True if the XML file gives the setting, and QDN_INSTALL_OVERRIDE says that what the file gives overrides
/// what the installed agent has.
bool OverridesInstalled(const Settings& settings, SettingName name);

/// Marks that the server of this run is another one than the old agent's, and drops an identifier that is not
/// given by an XML file.
void MarkServerChange(Settings& settings);

/// Warns of each value of the XML file or the environment that the installed agent's keeps from being used,
/// unless it means the same: "WARNING! <source>: <name> "<value>" is not used: the installed agent has
/// "<other>".", and in one line of extra settings, which an upgrade does not take.
void WarnOfUnusedValues(const Settings& settings);

}  // namespace Zorvane::AgentInstaller
