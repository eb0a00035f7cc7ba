// Judges failures of removals by whether the next run could do better.
#include "agents/removal/RemovalOutcome.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Regex.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::HostDirectory;
using corekit::Result;
using corekit::String;

namespace {

/// Refusals of the system that may pass: a file system is mounted read-only, a file is immutable, something
/// is mounted in the tree. The link of another user may go as well.
constexpr std::array kPassing = {EROFS, EPERM, EBUSY, corekit::kBelongsToOthers};

/// True if the program itself refuses to remove the path because it belongs to the host.
bool IsHosts(const String& path) {
    namespace Path = corekit::Path;
    const Result refused(EPERM);
    if (corekit::HasWildcard(Path::GetFileName(path).Utf8()))
        return corekit::CheckRemovable(Path::GetDirectory(path)) == refused;
    return corekit::CheckRemovable(path) == refused || corekit::File::CheckRemovable(path) == refused;
}

bool MayPass(const String& path, const Result& removal, HostDirectory hostDirectory) {
    if (corekit::IsTransient(removal)) return true;
    const bool isRefusal = removal.Code() == EPERM && hostDirectory == HostDirectory::Refused;
    return std::ranges::find(kPassing, removal.Code()) != kPassing.end() && !(isRefusal && IsHosts(path));
}

}  // namespace

void RemovalOutcome::Add(const String& path, const Result& removal, HostDirectory hostDirectory) {
    if (removal || !MayPass(path, removal, hostDirectory)) return;
    // Of a tree, the entry that could not be removed.
    const String& entry = removal.Path().StartsWith(L"/") ? removal.Path() : path;
    const bool endsInSlash = entry.Length() > 1 && entry.EndsWith(L"/");
    m_left.try_emplace(endsInSlash ? entry.Left(entry.Length() - 1) : entry, Remainder{removal});
}

void RemovalOutcome::Add(const RemovalOutcome& others) {
    m_left.insert(others.m_left.begin(), others.m_left.end());
    m_toldElsewhere = m_toldElsewhere || others.m_toldElsewhere;
}

void RemovalOutcome::Tell() {
    for (auto& [path, remainder] : m_left) {
        if (remainder.isTold) continue;
        const String shown = Messages::Shown(path);
        const String why = Messages::Shown(GetErrorMsg(remainder.why));
        if (remainder.why.Code() == corekit::kBelongsToOthers)
            Messages::Warn(L"WARNING! " + shown + L" is not used: " + why + L".\n");
        else
            Messages::Warn(L"WARNING! " + shown + L" could not be removed: " + why + L".\n");
        remainder.isTold = true;
    }
}

void RemoveFromHostDirectory(const String& path, RemovalOutcome& left) {
    left.Add(path, corekit::File::Remove(path, HostDirectory::Meant), HostDirectory::Meant);
}

String DirectoryBehindLink(const String& directory, const String& confPath) {
    namespace Path = corekit::Path;
    if (corekit::File::RefuseLink(directory).Code() != ELOOP) return directory;
    if (!Path::IsMatch(directory, Path::GetDirectory(Path::GetDirectory(confPath)))) return directory;
    const auto target = Path::Canonicalise(directory);
    return target ? *target : directory;
}

Result CheckOwnDirectory(const String& directory) {
    const Result allowed = corekit::CheckRemovable(directory);
    return allowed ? corekit::File::RefuseLink(directory) : allowed;
}

}  // namespace Zorvane::AgentInstaller
