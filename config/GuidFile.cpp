// The file that holds the machine's identifier: its form, and when it goes.
#include "config/GuidFile.h"

#include "corekit/File.h"
#include "corekit/IniFile.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;

void WriteGuidFile(const String& path, const Settings& settings) {
    if (settings.IsSet(L"Guid")) Forgive(corekit::File::Write(path, settings.Get(L"Guid") + L"\nnull"));
}

void SettleGuidFile(const String& confPath, const Settings& settings) {
    const String path = corekit::IniFile(confPath).GetValue(Names::kConfiguration, L"guid_guid_file");
    if (path.IsEmpty()) return;
    WriteGuidFile(path, settings);
    if (!settings.IsSet(L"Guid")) Forgive(corekit::File::Remove(path));
}

}  // namespace Zorvane::AgentInstaller
