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

using corekit::Result;
using corekit::String;

namespace {

/// Refusals of the system that may pass: a file system is mounted read-only, a file is immutable, something
/// is mounted in the tree.
constexpr std::array kPassing = {EROFS, EPERM, EBUSY};

/// True if the program itself refuses to remove the path because it belongs to the host.
bool IsHosts(const String& path) {
    namespace Path = corekit::Path;
    const bool hasWildcard = corekit::HasWildcard(Path::GetFileName(path).Utf8());
    return corekit::IsHostDirectory(hasWildcard ? Path::GetDirectory(path) : path);
}

bool MayPass(const String& path, const Result& removal) {
    if (corekit::IsTransient(removal)) return true;
    return std::ranges::find(kPassing, removal.Code()) != kPassing.end() && !IsHosts(path);
}

}  // namespace

void RemovalOutcome::Add(const String& path, const Result& removal) {
    if (removal || !MayPass(path, removal)) return;
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
        Messages::Warn(L"WARNING! " + Messages::Shown(path) + L" could not be removed: " +
                       GetErrorMsg(remainder.why) + L".\n");
        remainder.isTold = true;
    }
}

String DirectoryBehindLink(const String& directory, const String& confPath) {
    namespace Path = corekit::Path;
    if (corekit::File::RefuseLink(directory).Code() != ELOOP) return directory;
    if (!Path::IsMatch(directory, Path::GetDirectory(Path::GetDirectory(confPath)))) return directory;
    const auto target = Path::Canonicalise(directory);
    return target ? *target : directory;
}

Result CheckOwnDirectory(const String& directory) {
    const Result allowed = corekit::RefuseHostDirectory(directory);
    return allowed ? corekit::File::RefuseLink(directory) : allowed;
}

}  // namespace Zorvane::AgentInstaller
