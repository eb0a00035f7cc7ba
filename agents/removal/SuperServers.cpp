// The host's files that name version 5.6 of the agent, and how each is edited.
#include "agents/removal/SuperServers.h"

#include "agents/removal/LineRemoval.h"
#include "agents/removal/ProcessControl.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;
namespace File = corekit::File;

namespace {

constexpr const wchar_t* kXinetd = L"/etc/xinetd.conf";
constexpr const wchar_t* kInetd = L"/etc/inetd.conf";
constexpr const wchar_t* kServices = L"/etc/services";

constexpr DeletedLines kXinetdBlocks[] = {{"Zorvane", "}"}};
constexpr DeletedLines kInetdLines[] = {{"Zorvane"}, {"qdnmsg"}};
constexpr DeletedLines kServicesLines[] = {{"QDN"}, {"qdnm"}};

void Edit(const wchar_t* path, std::span<const DeletedLines> deleted, RemovalOutcome& left) {
    const Result edited = DeleteLines(path, deleted);
    if (edited || IsNotFound(edited)) return;
    Messages::Warn(String(L"WARNING! ") + path + L" is not edited: " + GetErrorMsg(edited) + L".\n");
    left.AddTold();
}

/// Removes the listener's own file from the directory that xinetd reads beside its configuration.
void RemoveIncludedListener(RemovalOutcome& left) {
    const String directory = RunShellCommand(L"grep \"includedir\" /etc/xinetd.conf | sed s/includedir//");
    if (directory.IsEmpty()) return;
    const String listener = directory.Trim() + L"/qdn-messagelistener";
    left.Add(listener, File::Remove(listener));
}

/// Edits the configuration of the super-server that the host has, and returns the signal that makes it read
/// its configuration again; empty without one. Where the system does not tell which one the host has, both
/// are edited.
String EditSuperServer(RemovalOutcome& left) {
    const Result xinetd = File::Probe(kXinetd);
    if (!IsNotFound(xinetd)) {
        RemoveIncludedListener(left);
        Edit(kXinetd, kXinetdBlocks, left);
    }
    if (xinetd) return L"USR2";
    if (!File::Exists(kInetd)) return String();
    Edit(kInetd, kInetdLines, left);
    return L"HUP";
}

}  // namespace

RemovalOutcome RemoveSuperServerEntries() {
    RemovalOutcome left;
    const String processes = QueryProcessIds(L"inetd");
    SignalProcesses(EditSuperServer(left), processes);
    Edit(kServices, kServicesLines, left);
    return left;
}

}  // namespace Zorvane::AgentInstaller
