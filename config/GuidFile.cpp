// The file that holds the machine's identifier: its form, and when it goes.
#include "config/GuidFile.h"

#include "corekit/fs/File.h"
#include "run/Keys.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

String PathIn(const IniFile& conf) {
    return GetValue(conf, Key::kGuidFile);
}

}  // namespace

void WriteGuidFile(const IniFile& conf, const Settings& settings) {
    if (!settings.IsSet(L"Guid")) return;
    corekit::Forgive(corekit::File::Write(PathIn(conf), settings.Get(L"Guid") + L"\nnull"));
}

void RemoveUnwantedGuidFile(const IniFile& conf, const Settings& settings) {
    if (settings.IsSet(L"Guid")) return;
    const String path = PathIn(conf);
    if (IsTransient(corekit::File::Remove(path))) corekit::Forgive(corekit::File::Remove(path));
}

}  // namespace Zorvane::AgentInstaller
