// The agent's programs: where they are, and which of them are there.
#include "config/AgentPrograms.h"

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace Path = corekit::Path;

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

bool IsAgentLink(const String& path, const String& installDir) {
    const auto leadsTo = corekit::File::ReadLink(path);
    if (!leadsTo) return false;
    const String target =
        leadsTo->StartsWith(L"/") ? *leadsTo : Path::Join(Path::GetDirectory(path), *leadsTo);
    if (Path::IsWithin(target, Names::kUsualInstallDir)) return true;
    if (!Path::IsMatch(installDir, L"/") && Path::IsWithin(target, installDir)) return true;
    const String programDir = Path::GetDirectory(target);
    if (Path::GetFileName(programDir) != L"bin") return false;
    const bool isLeftBehind =
        Path::GetFileName(target) == Path::GetFileName(path) && !corekit::File::Exists(target);
    return isLeftBehind || corekit::File::Exists(Path::GetDirectory(programDir) + Names::kClientProto);
}

}  // namespace Zorvane::AgentInstaller
