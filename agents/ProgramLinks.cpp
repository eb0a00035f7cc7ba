// Which links of each agent version go, and which stay.
#include "agents/ProgramLinks.h"

#include <climits>
#include <unistd.h>
#include <vector>

#include "config/PathMacros.h"
#include "corekit/Dir.h"
#include "corekit/File.h"
#include "corekit/Path.h"
#include "deploykit/WrapperLinkBackend.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::FileInfo;
using corekit::Result;
using corekit::String;
namespace Path = corekit::Path;

namespace {

constexpr std::size_t kProgramSuffixLength = 4;  // of ".bin"

String ProgramDir(String installDir) {
    EnsureTrailingChar(installDir, L'/');
    return installDir + L"bin";
}

void SayRemoving(const String& linkDir) {
    Messages::Say(L"  Removing qdn-* links in " + Messages::Shown(linkDir) + L"\n");
}

/// Everything but directories. Read to the end first, so that what is removed cannot upset the reading.
std::vector<FileInfo> FilesIn(const String& directory, const String& pattern, Leftovers& left) {
    std::vector<FileInfo> files;
    const auto collect = [&](const FileInfo& entry) {
        if (!entry.isDirectory) files.push_back(entry);
        return true;
    };
    left.Add(corekit::Dir::Scan(directory, pattern, collect));
    return files;
}

Result ReadLink(const String& link, String& target) {
    char text[PATH_MAX];
    const ssize_t length = readlink(link.Utf8().c_str(), text, sizeof text);
    if (length < 0) return Result::FromErrno();
    target = String::FromUtf8({text, static_cast<std::size_t>(length)});
    return Result();
}

/// The helper is the host's own program in its own directory; elsewhere there is a link to it.
void RemoveHelperLinks(const String& linkDir, Leftovers& left) {
    if (Path::IsMatch(linkDir, Names::kHelperDir)) return;
    const String link = Path::Join(linkDir, Names::kHelperName);
    String target;
    if (!linkDir.IsEmpty()) left.Add(ReadLink(link, target));
    if (target == Names::kHelperProgram) left.Add(corekit::File::Remove(link));
    left.Add(corekit::File::Remove(Names::kHelperProgram));
}

void RemoveWrappers(const String& programDir, const String& linkDir, Leftovers& left) {
    // Without a link directory there are only the wrappers beside the programs.
    const String& whereLinksAre = linkDir.IsEmpty() ? programDir : linkDir;
    const auto removeLink = [&](const String& program) {
        left.Add(
            deploykit::ItemInstallers::WrapperLinkBackend::Uninstall(program, whereLinksAre, programDir));
    };
    for (const FileInfo& file : FilesIn(programDir, L"qdn-*.bin", left)) {
        const String program = file.name.Left(file.name.Length() - kProgramSuffixLength);
        if (program != L"qdn-configure") removeLink(program);
    }
    RemoveHelperLinks(linkDir, left);
    removeLink(L"qdn-monitor");
}

}  // namespace

Leftovers RemoveProgramLinks60(const String& installDir, const String& linkDir) {
    if (installDir.IsEmpty() || linkDir.IsEmpty()) return {};
    if (Path::IsMatch(linkDir, ProgramDir(installDir))) return {};
    SayRemoving(linkDir);
    return TryTwice([&](Leftovers& left) {
        for (const FileInfo& link : FilesIn(linkDir, L"qdn-*", left))
            left.Add(corekit::File::Remove(link.path));
    });
}

Leftovers RemoveWrapperLinks(const String& installDir, const String& linkDir) {
    if (installDir.IsEmpty()) return {};
    SayRemoving(linkDir);
    return TryTwice([&](Leftovers& left) { RemoveWrappers(ProgramDir(installDir), linkDir, left); });
}

}  // namespace Zorvane::AgentInstaller
