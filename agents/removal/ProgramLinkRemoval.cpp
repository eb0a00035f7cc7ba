// Which links of each agent version go, and which stay.
#include "agents/removal/ProgramLinkRemoval.h"

#include <climits>
#include <unistd.h>
#include <vector>

#include "config/AgentPrograms.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "deploykit/WrapperLinkBackend.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::FileInfo;
using corekit::Result;
using corekit::String;
namespace Path = corekit::Path;

namespace {

void SayRemoving(const String& linkDir) {
    Messages::Say(L"  Removing qdn-* links in " + Messages::Shown(linkDir) + L"\n");
}

Result ReadLink(const String& link, String& target) {
    char text[PATH_MAX];
    const ssize_t length = readlink(link.Utf8().c_str(), text, sizeof text);
    if (length < 0) return Result::FromErrno();
    target = String::FromUtf8({text, static_cast<std::size_t>(length)});
    return Result();
}

/// The helper is the host's own program in its own directory; elsewhere there is a link to it.
void RemoveHelperLinks(const String& linkDir, RemovalOutcome& left) {
    if (Path::IsMatch(linkDir, Names::kHelperDir)) return;
    const String link = Path::Join(linkDir, Names::kHelperName);
    String target;
    if (!linkDir.IsEmpty()) left.Add(ReadLink(link, target));
    if (target == Names::kHelperProgram) left.Add(corekit::File::Remove(link));
    left.Add(corekit::File::Remove(Names::kHelperProgram));
}

void RemoveWrappers(const String& programDir, const String& linkDir, RemovalOutcome& left) {
    // Without a link directory there are only the wrappers beside the programs.
    const String& whereLinksAre = linkDir.IsEmpty() ? programDir : linkDir;
    const auto removeLink = [&](const String& program) {
        left.Add(
            deploykit::ItemInstallers::WrapperLinkBackend::Uninstall(program, whereLinksAre, programDir));
    };
    std::vector<String> programs;
    left.Add(FindPrograms(programDir, programs));
    for (const String& program : programs) {
        if (program != L"qdn-configure") removeLink(program);
    }
    RemoveHelperLinks(linkDir, left);
    removeLink(L"qdn-monitor");
}

}  // namespace

RemovalOutcome RemoveProgramLinks60(const String& installDir, const String& linkDir) {
    if (installDir.IsEmpty() || linkDir.IsEmpty()) return {};
    if (Path::IsMatch(linkDir, ProgramDirectory(installDir))) return {};
    SayRemoving(linkDir);
    return TryTwice([&](RemovalOutcome& left) {
        std::vector<FileInfo> links;
        left.Add(corekit::Dir::ReadEntries(linkDir, L"qdn-*", links));
        for (const FileInfo& link : links) {
            if (!link.isDirectory) left.Add(corekit::File::Remove(link.path));
        }
    });
}

RemovalOutcome RemoveWrapperLinks(const String& installDir, const String& linkDir) {
    if (installDir.IsEmpty()) return {};
    SayRemoving(linkDir);
    return TryTwice(
        [&](RemovalOutcome& left) { RemoveWrappers(ProgramDirectory(installDir), linkDir, left); });
}

}  // namespace Zorvane::AgentInstaller
