// The host's files that name version 5.6 of the agent, and how each is edited.
#include "agents/SuperServers.h"

#include "agents/LineRemoval.h"
#include "agents/ProcessControl.h"
#include "config/SystemProbes.h"
#include "corekit/File.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

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

void Edit(const EditedFile& file) {
    DeleteLines(file.path, file.command, file.deleted);
}

/// The listener's own file in the directory that xinetd reads beside its configuration.
void RemoveIncludedListener() {
    const String directory = RunShellCommand(L"grep \"includedir\" /etc/xinetd.conf | sed s/includedir//");
    if (directory.IsEmpty()) return;
    Forgive(corekit::File::Remove(directory.Trim() + L"/qdn-messagelistener"));
}

/// Edits the configuration of the super-server that the host has, and returns the signal that makes it read
/// its configuration again; empty without one.
String EditSuperServer() {
    if (corekit::File::Exists(kXinetd.path)) {
        RemoveIncludedListener();
        Edit(kXinetd);
        return L"USR2";
    }
    if (corekit::File::Exists(kInetd.path)) {
        Edit(kInetd);
        return L"HUP";
    }
    return String();
}

}  // namespace

void RemoveSuperServerEntries() {
    const String processes = QueryProcessIds(L"inetd");
    SignalProcesses(EditSuperServer(), processes);
    Edit(kServices);
}

}  // namespace Zorvane::AgentInstaller
