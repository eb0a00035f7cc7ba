// The host's files that name version 5.6 of the agent, and how each is edited.
#include "agents/removal/SuperServers.h"

#include "agents/removal/LineRemoval.h"
#include "agents/removal/ProcessControl.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;
namespace File = corekit::File;

namespace {

struct EditedFile {
    const wchar_t* path;
    const wchar_t* command;
    std::span<const DeletedLines> deleted;  // by the command
};

constexpr DeletedLines kXinetdBlocks[] = {{"Zorvane", "}"}};
constexpr DeletedLines kInetdLines[] = {{"Zorvane"}, {"qdnmsg"}};
constexpr DeletedLines kServicesLines[] = {{"QDN"}, {"qdnm"}};

constexpr EditedFile kXinetd = {L"/etc/xinetd.conf", L"sed -e '/Zorvane/,/}/d' < %1 > stuff; mv stuff %2",
                                kXinetdBlocks};
constexpr EditedFile kInetd = {L"/etc/inetd.conf",
                               L"sed -e '/Zorvane/d' -e '/qdnmsg/d' < %1 > stuff; mv stuff %2", kInetdLines};
constexpr EditedFile kServices = {L"/etc/services", L"sed -e '/QDN/d' -e '/qdnm/d' < %1 > stuff; mv stuff %2",
                                  kServicesLines};

Result Edit(const EditedFile& file) {
    return DeleteLines(file.path, file.command, file.deleted);
}

/// The listener's own file in the directory that xinetd reads beside its configuration.
Result RemoveIncludedListener() {
    const String directory = RunShellCommand(L"grep \"includedir\" /etc/xinetd.conf | sed s/includedir//");
    if (directory.IsEmpty()) return Result();
    return File::Remove(directory.Trim() + L"/qdn-messagelistener");
}

/// Edits the configuration of the super-server that the host has, and returns the signal that makes it read
/// its configuration again; empty without one. Where it cannot be told which one the host has, both are
/// edited.
String EditSuperServer(RemovalOutcome& left) {
    const Result xinetd = File::Probe(kXinetd.path);
    if (!IsNotFound(xinetd)) {
        left.Add(RemoveIncludedListener());
        left.Add(Edit(kXinetd));
    }
    if (xinetd) return L"USR2";
    if (!File::Exists(kInetd.path)) return String();
    left.Add(Edit(kInetd));
    return L"HUP";
}

}  // namespace

RemovalOutcome RemoveSuperServerEntries() {
    RemovalOutcome left;
    const String processes = QueryProcessIds(L"inetd");
    SignalProcesses(EditSuperServer(left), processes);
    left.Add(Edit(kServices));
    return left;
}

void ClearUpAfterSuperServerEntries() {
    for (const EditedFile& file : {kXinetd, kInetd, kServices})
        ClearUpAfterDeleteLines(file.path, file.deleted);
}

}  // namespace Zorvane::AgentInstaller
