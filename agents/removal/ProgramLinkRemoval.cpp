// Which links of each agent version go, and which stay.
#include "agents/removal/ProgramLinkRemoval.h"

#include <cerrno>
#include <vector>

#include "config/SystemProbes.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/Path.h"
#include "deploykit/WrapperLinkBackend.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::FileInfo;
using corekit::HostDirectory;
using corekit::String;
namespace Path = corekit::Path;

namespace {

void SayRemoving(const String& linkDir) {
    Messages::Say(L"  Removing qdn-* links in " + Messages::Shown(linkDir) + L"\n");
}

/// The helper is the host's own program in its own directory; elsewhere there is a link to it.
void RemoveHelperLinks(const String& linkDir, RemovalOutcome& left) {
    if (Path::IsMatch(linkDir, Names::kHelperDir)) return;
    const String link = Path::Join(linkDir, Names::kHelperName);
    if (!linkDir.IsEmpty()) {
        const auto isOurs = IsHelperLink(link);
        left.Add(link, isOurs.Outcome(), HostDirectory::Meant);
        if (isOurs && *isOurs) RemoveFromHostDirectory(link, left);
    }
    RemoveFromHostDirectory(Names::kHelperProgram, left);
}

void RemoveWrappers(const String& installDir, const String& linkDir, RemovalOutcome& left) {
    const String programDir = ProgramDirectory(installDir);
    // Without a link directory there are only the wrappers beside the programs.
    const String& whereLinksAre = linkDir.IsEmpty() ? programDir : linkDir;
    const auto isOurs = [&](const String& link) { return IsAgentLink(link, installDir); };
    const auto removeLink = [&](const String& program) {
        namespace Backend = deploykit::ItemInstallers::WrapperLinkBackend;
        const corekit::Result removal = Backend::Uninstall(program, whereLinksAre, programDir, isOurs);
        if (removal.Code() == EEXIST) Messages::WarnNotReplaced(removal.Path());
        left.Add(removal.Path(), removal, HostDirectory::Meant);
    };
    std::vector<String> programs;
    left.Add(programDir, FindPrograms(programDir, programs));
    for (const String& program : programs) {
        if (program != L"qdn-configure") removeLink(program);
    }
    RemoveHelperLinks(linkDir, left);
    removeLink(L"qdn-monitor");
}

/// Handles an entry that has the name of a link of an agent 6.0.
void RemoveLink60(const String& link, const String& installDir, RemovalOutcome& left) {
    auto isOurs = IsAgentLink(link, installDir);
    if (isOurs && !*isOurs) isOurs = IsHelperLink(link);
    left.Add(link, isOurs.Outcome(), HostDirectory::Meant);
    if (!isOurs) return;
    if (*isOurs)
        RemoveFromHostDirectory(link, left);
    else
        Messages::WarnNotReplaced(link);
}

}  // namespace

RemovalOutcome RemoveProgramLinks60(const String& installDir, const String& linkDir) {
    if (installDir.IsEmpty() || linkDir.IsEmpty()) return {};
    if (Path::IsMatch(linkDir, ProgramDirectory(installDir))) return {};
    SayRemoving(linkDir);
    RemovalOutcome left;
    std::vector<FileInfo> links;
    left.Add(linkDir, corekit::Dir::ReadEntries(linkDir, L"qdn-*", links));
    for (const FileInfo& link : links) {
        if (link.isDirectory || Path::IsMatch(link.path, Names::kHelperProgram)) continue;
        RemoveLink60(link.path, installDir, left);
    }
    return left;
}

RemovalOutcome RemoveWrapperLinks(const String& installDir, const String& linkDir) {
    if (installDir.IsEmpty()) return {};
    SayRemoving(linkDir);
    RemovalOutcome left;
    RemoveWrappers(installDir, linkDir, left);
    return left;
}

}  // namespace Zorvane::AgentInstaller
