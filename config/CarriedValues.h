// The values of an installed agent's client.conf that the new one takes over.
#pragma once

#include "config/ClientConfDraft.h"

namespace Zorvane::AgentInstaller {

/// Copies every entry of the key table that the old file (read with IniFile::KeyCase::FallBack) has, but
/// for empty paths, with paths moved to the new install directory, and makes it the setting that it belongs
/// to, unless the operator has answered a question for that. The settings GuidDir and LogDir move likewise.
void CarryOldValues(const corekit::IniFile& oldIni, ClientConfDraft& draft, Settings& settings);

}  // namespace Zorvane::AgentInstaller
