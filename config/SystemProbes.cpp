// Small questions to the host: their command lines and how the answers are read.
#include "config/SystemProbes.h"

#include <cerrno>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "deploykit/RCScriptBackend.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::Expected;
using corekit::String;
namespace Path = corekit::Path;

namespace {

constexpr const wchar_t* kPluginProbe = L"if ps -e | grep qdn-plug>/dev/null; then echo YES; fi";
constexpr const wchar_t* kSolutionsProbe =
    L"if [ ! -f '%1/etc/config.xml' ]; then echo 0; else grep -c '<Solution ' '%1/etc/config.xml'; fi";
// The replacement is the control character itself, and no back-reference: sed drops the version.
constexpr const wchar_t* kRpmVersionProbe = L"rpm --version | sed -r -e 's,[^0-9]*([0-9][.0-9]*),\x01,'";

// Levels 7 and 8 count as found although they are not supported: with nothing else, no level is one to start
// in.
constexpr int kHighestRunLevel = 8;

/// Where a link leads as it stands in the link; empty where none stands.
Expected<String> LinkTarget(const String& path) {
    auto target = corekit::File::ReadLink(path);
    const corekit::Result found = target.Outcome();
    const bool isNoLink = found.Code() == EINVAL || IsNotFound(found);
    return isNoLink ? Expected<String>(String()) : target;
}

}  // namespace

String RunShellCommand(const String& commandLine) {
    corekit::StringToMapFilter filter;
    // A probe that fails has no answer.
    Forgive(corekit::PosixLocaleProgram::Run(commandLine, filter));
    return filter.RawData(0);
}

String DetectDistribution() {
    if (corekit::File::Probe(L"/etc/SuSE-release")) return L"suse";
    if (corekit::File::Probe(L"/etc/UnitedLinux-release")) return L"united";
    return L"linux";
}

bool IsPluginProcessRunning() {
    return RunShellCommand(kPluginProbe) == L"YES";
}

bool HasRegisteredSolutions(const String& installDir) {
    return RunShellCommand(String(kSolutionsProbe).Arg(corekit::Text::InShellQuotes(installDir))) != L"0";
}

RunLevels SplitRunLevels(const String& levels) {
    RunLevels split;
    bool noneFound = true;
    for (int number = 0; number <= kHighestRunLevel; ++number) {
        const String level = String::FromInt(number);
        const bool found = levels.Contains(level);
        if (found) noneFound = false;
        if (!deploykit::ItemInstallers::RCScriptBackend::IsRunLevelSupported(level)) continue;
        if (found) split.startDigits += level;
        (found ? split.startList : split.stopList) += level + L" ";
    }
    if (noneFound) return {};
    return {split.startDigits, split.startList.Trim(), split.stopList.Trim()};
}

corekit::Version GetPackageManagerVersion() {
    return ParseVersion(RunShellCommand(kRpmVersionProbe));
}

corekit::Version ParseVersion(const String& text) {
    corekit::StringTokenizer fields(text, L".");
    int numbers[3] = {};
    for (int& number : numbers) {
        String field;
        if (fields.GetToken(field)) number = field.ToInt();
    }
    return {numbers[0], numbers[1], numbers[2]};
}

String DirOfRunningProgram() {
    const auto program = Path::Canonicalise(L"/proc/self/exe");
    return program ? Path::GetDirectory(Path::GetDirectory(*program)) : String();
}

String ProgramDirectory(const String& installDir) {
    String directory = installDir;
    EnsureTrailingChar(directory, L'/');
    return directory + L"bin";
}

corekit::Result FindPrograms(const String& programDir, std::vector<String>& programs) {
    return corekit::Dir::Scan(programDir, L"qdn-*.bin", [&](const corekit::FileInfo& file) {
        if (!file.isDirectory) programs.push_back(file.name.WithoutSuffix(L".bin").value_or(file.name));
        return true;
    });
}

Expected<bool> IsAgentLink(const String& path, const String& installDir) {
    const auto leadsTo = LinkTarget(path);
    if (!leadsTo) return leadsTo.error();
    if (leadsTo->IsEmpty()) return false;
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

Expected<bool> IsHelperLink(const String& path) {
    const auto target = LinkTarget(path);
    if (!target) return target.error();
    return *target == Names::kHelperProgram;
}

}  // namespace Zorvane::AgentInstaller
