// The agent's programs: where they are, and which of them are there.
#include "config/AgentPrograms.h"

#include "corekit/fs/Dir.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

String ProgramDirectory(const String& installDir) {
    String directory = installDir;
    EnsureTrailingChar(directory, L'/');
    return directory + L"bin";
}

corekit::Result FindPrograms(const String& programDir, std::vector<String>& programs) {
    return corekit::Dir::Scan(programDir, L"qdn-*.bin", [&](const corekit::FileInfo& file) {
        constexpr std::size_t kSuffixLength = 4;  // of ".bin"
        if (!file.isDirectory) programs.push_back(file.name.Left(file.name.Length() - kSuffixLength));
        return true;
    });
}

}  // namespace Zorvane::AgentInstaller
