// Judges failures of removals by whether the next run could do better.
#include "agents/removal/RemovalOutcome.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>
#include <vector>

#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Regex.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::HostDirectory;
using corekit::Result;
using corekit::String;
namespace Path = corekit::Path;

namespace {

/// Refusals of the system that may pass: a file system is mounted read-only, a file is immutable, something
/// is mounted in the tree. The link of another user may go as well.
constexpr std::array kPassing = {EROFS, EPERM, EBUSY, corekit::kBelongsToOthers};

bool HasWildcardName(const String& path) {
    return corekit::HasWildcard(Path::GetFileName(path).Utf8());
}

/// True if the program itself refuses to remove the path because it belongs to the host.
bool IsHosts(const String& path) {
    const Result refused(EPERM);
    if (HasWildcardName(path)) return corekit::CheckRemovable(Path::GetDirectory(path)) == refused;
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
    // Of a tree, the entry that could not be removed counts. But where another user's link is on the way, the
    // path that was to be removed counts, since the reason names the link.
    const bool isOnTheWay = removal.Code() == corekit::kBelongsToOthers;
    const String asked = isOnTheWay && HasWildcardName(path) ? Path::GetDirectory(path) : path;
    const String& entry = !isOnTheWay && removal.Path().StartsWith(L"/") ? removal.Path() : asked;
    const bool endsInSlash = entry.Length() > 1 && entry.EndsWith(L"/");
    m_left.try_emplace(endsInSlash ? entry.Left(entry.Length() - 1) : entry, Remainder{removal});
}

void RemovalOutcome::Add(const RemovalOutcome& others) {
    m_left.insert(others.m_left.begin(), others.m_left.end());
    m_toldElsewhere = m_toldElsewhere || others.m_toldElsewhere;
}

void RemovalOutcome::Tell() {
    std::vector<String> onTheWay;  // paths with another user's link on the way: none below them is warned of
    for (auto& entry : m_left) {
        const String& path = entry.first;
        Remainder& remainder = entry.second;
        const bool isOthers = remainder.why.Code() == corekit::kBelongsToOthers;
        const auto holds = [&](const String& other) { return path.StartsWith(other + L"/"); };
        const bool isBelow = isOthers && std::ranges::any_of(onTheWay, holds);
        if (isOthers && !isBelow) onTheWay.push_back(path);
        if (std::exchange(remainder.isTold, true) || isBelow) continue;
        const String shown = Messages::Shown(path);
        const String why = Messages::Shown(GetErrorMsg(remainder.why));
        if (isOthers)
            Messages::Warn(L"WARNING! " + shown + L" is not used: " + why + L".\n");
        else
            Messages::Warn(L"WARNING! " + shown + L" could not be removed: " + why + L".\n");
    }
}

void RemoveFromHostDirectory(const String& path, RemovalOutcome& left) {
    left.Add(path, corekit::File::Remove(path, HostDirectory::Meant), HostDirectory::Meant);
}

String DirectoryBehindLink(const String& directory, const String& confPath) {
    if (corekit::File::CheckNotLink(directory).Code() != ELOOP) return directory;
    if (!Path::IsMatch(directory, Path::GetDirectory(Path::GetDirectory(confPath)))) return directory;
    const auto target = Path::Canonicalise(directory);
    return target ? *target : directory;
}

Result CheckOwnDirectory(const String& directory) {
    const Result allowed = corekit::CheckRemovable(directory);
    return allowed ? corekit::File::CheckNotLink(directory) : allowed;
}

}  // namespace Zorvane::AgentInstaller
