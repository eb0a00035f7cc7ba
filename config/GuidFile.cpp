// The file that holds the machine's identifier: its form.
#include "config/GuidFile.h"

#include "corekit/File.h"
#include "corekit/IniFile.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;

void WriteGuidFile(const String& path, const Settings& settings) {
    if (settings.IsSet(L"Guid")) {
        Forgive(corekit::File::Write(path, settings.Get(L"Guid") + L"\nnull"));
    } else {
        Forgive(corekit::File::Remove(path));
    }
}

void WriteMissingGuidFile(const String& confPath, const Settings& settings) {
    const String path = corekit::IniFile(confPath).GetValue(Names::kConfiguration, L"guid_guid_file");
    if (!path.IsEmpty() && settings.IsSet(L"Guid") && !corekit::File::Exists(path))
        WriteGuidFile(path, settings);
}

}  // namespace Zorvane::AgentInstaller
