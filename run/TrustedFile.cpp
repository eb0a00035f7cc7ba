// Whose file it is: the rule about directories that others can write.
#include "run/TrustedFile.h"

#include <charconv>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/os/Sys.h"
#include "corekit/os/SystemCall.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Expected;
using corekit::ParentDirectory;
using corekit::Result;
using corekit::String;
namespace Path = corekit::Path;

namespace {

/// An id that sudo left in the environment; none without one. Only root's environment is believed.
std::optional<id_t> SudoId(const wchar_t* variable) {
    const auto text = corekit::Env::Get(variable);
    if (geteuid() != 0 || !text) return std::nullopt;
    const std::string digits = text->Utf8();
    const char* const end = digits.data() + digits.size();
    id_t id = 0;
    const auto read = std::from_chars(digits.data(), end, id);
    return read.ec == std::errc() && read.ptr == end ? std::optional(id) : std::nullopt;
}

bool IsOurs(uid_t user) {
    return user == 0 || user == getuid() || user == SudoId(L"SUDO_UID");
}

bool IsOurGroup(gid_t group) {
    return group == 0 || group == getgid() || group == SudoId(L"SUDO_GID");
}

bool OthersCanWrite(const struct stat& info) {
    return (info.st_mode & S_IWOTH) != 0 || ((info.st_mode & S_IWGRP) != 0 && !IsOurGroup(info.st_gid));
}

bool IsAnybody(uid_t) {
    return true;
}

/// Sets `exposed` if others than trusted owners can put files into an open directory, or put another
/// directory in its place or in that of one above it.
Result FindExposure(const ParentDirectory& place, bool (&isTrusted)(uid_t), bool& exposed) {
    corekit::Descriptor held;
    for (int at = place.Fd(); !exposed; at = held.Get()) {
        const auto info = corekit::StatOf(at);
        if (!info) return info.error();
        // The sticky bit keeps all others from replacing what lies there, but not the directory's owner.
        const bool byItsOwner = !isTrusted(info->st_uid);
        const bool isSticky = at != place.Fd() && (info->st_mode & S_ISVTX) != 0;
        exposed = byItsOwner || ((info->st_mode & S_IWOTH) != 0 && !isSticky);
        auto above = corekit::OpenAt(at, "..", O_PATH | O_DIRECTORY);
        if (!above) return above.error();
        const auto aboveInfo = corekit::StatOf(above->Get());
        if (!aboveInfo) return aboveInfo.error();
        if (corekit::IsSameFile(*aboveInfo, *info)) break;  // the root
        held = std::move(*above);
    }
    return Result();
}

/// True if the file is root's, in a place that only root can have given it.
Expected<bool> IsRootsAt(const ParentDirectory& place, const struct stat& file) {
    bool isOthers = !corekit::IsRoots(file.st_uid);
    const Result judged = FindExposure(place, corekit::IsRoots, isOthers);
    if (!judged) return judged;
    return !isOthers;
}

/// True if the directory of hand-over files is root's and closed to others. Anybody could have renamed a file
/// of root's into one that is not.
bool IsRootsAlone(const struct stat& info) {
    const bool isRoots = info.st_uid == 0 || info.st_uid == geteuid();
    return isRoots && (S_ISLNK(info.st_mode) || !OthersCanWrite(info));
}

/// Why a file in a directory that others can write must not be used; empty when it may be.
String WhyNotOurs(const struct stat& info) {
    if (!S_ISREG(info.st_mode)) return L"it is not a regular file";
    if (!IsOurs(info.st_uid)) return L"it belongs to another user";
    if (OthersCanWrite(info)) return L"other users can write to it";
    if (info.st_nlink != 1) return L"it has a second name";
    return String();
}

}  // namespace

TrustedFile::TrustedFile(const String& path, ChosenBy chosenBy) : m_path(path) {
    const bool isHandOver = Path::GetDirectory(path) == Names::kHandOverDir;
    m_isExposed = isHandOver;
    const auto place = ParentDirectory::Of(path);
    auto& isTrusted = chosenBy == ChosenBy::Program ? IsOurs : IsAnybody;
    m_opened = place ? FindExposure(*place, isTrusted, m_isExposed) : place.error();
    if (!m_opened) {
        m_whyNot = GetErrorMsg(m_opened);
        return;
    }
    if (!m_isExposed) {
        OpenFollowing();
        return;
    }
    auto file = corekit::OpenRegular(place->Fd(), place->name, corekit::Links::Refused);
    const auto found = corekit::StatOf(place->Fd(), place->name);
    m_opened = file.Outcome();
    m_isThere = file || found;
    m_whyNot = file ? WhyNotOurs(file->info) : found ? WhyNotOurs(*found) : String();
    if (m_whyNot.IsEmpty() && !file) m_whyNot = GetErrorMsg(m_opened);
    const auto holder = corekit::StatOf(place->Fd());
    if (m_isThere && isHandOver && !(holder && IsRootsAlone(*holder)))
        m_whyNot = String(Names::kHandOverDir) + L" belongs to another user";
    if (!file) return;
    Take(*place, std::move(*file));
}

/// A file of which nobody can tell whose it is counts as one that cannot be read.
void TrustedFile::Take(const ParentDirectory& place, corekit::OpenFile file) {
    const auto isRoots = IsRootsAt(place, file.info);
    m_opened = isRoots.Outcome();
    m_isRoots = isRoots && *isRoots;
    m_file = std::move(file.file);
}

/// Nobody else can have put a link there.
void TrustedFile::OpenFollowing() {
    const auto place = ParentDirectory::OfTarget(m_path);
    if (place) {
        auto file = corekit::OpenRegular(place->Fd(), place->name, corekit::Links::Refused);
        m_opened = file.Outcome();
        if (file) Take(*place, std::move(*file));
    } else {
        m_opened = place.error();
    }
    m_isThere = m_opened.Ok();
    if (m_opened.Code() == corekit::kBelongsToOthers) m_whyNot = GetErrorMsg(m_opened);
}

void TrustedFile::WarnNotUsed(const String& why) const {
    Messages::Warn(L"WARNING! " + Messages::Shown(m_path) + L" is not used: " + why + L".\n");
}

Expected<std::string> TrustedFile::Read() const {
    if (!m_opened) return m_opened;
    return corekit::File::ReadBytes(m_file).About(m_path);
}

Result RemoveHandOverDirectory() {
    const String path = Names::kHandOverDir;
    const auto place = ParentDirectory::Of(path);
    const auto info = place ? corekit::StatOf(place->Fd(), place->name) : place.error();
    if (!info) return IsNotFound(info.error()) ? Result() : info.error();
    if (IsRootsAlone(*info)) {
        return S_ISDIR(info->st_mode) ? corekit::Dir::Remove(path)
                                      : corekit::File::Remove(path, corekit::HostDirectory::Meant);
    }
    const Result refused = Result(corekit::kBelongsToOthers).About(path);
    Messages::Warn(L"WARNING! " + path + L" is not used: " + GetErrorMsg(refused) + L".\n");
    return refused;
}

}  // namespace Zorvane::AgentInstaller
