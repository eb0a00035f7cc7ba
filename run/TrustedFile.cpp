// Whose file it is: the rule about directories that others can write.
#include "run/TrustedFile.h"

#include <charconv>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/os/Env.h"
#include "corekit/os/SystemCall.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

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

/// Can others put files into the directory, or put another one in its place? `directory` is canonical.
Result FindExposure(const String& directory, ChosenBy chosenBy, bool& exposed) {
    for (String place = directory; !exposed; place = Path::GetDirectory(place)) {
        struct stat info {};
        if (stat(place.Utf8().c_str(), &info) != 0) return Result::FromErrno();
        // The sticky bit keeps all others from replacing what lies there, but not the directory's owner.
        const bool byItsOwner = chosenBy == ChosenBy::Program && !IsOurs(info.st_uid);
        const bool isSticky = place != directory && (info.st_mode & S_ISVTX) != 0;
        exposed = byItsOwner || ((info.st_mode & S_IWOTH) != 0 && !isSticky);
        if (place == L"/") break;
    }
    return Result();
}

/// Why a file in a directory that others can write must not be used; empty when it may be.
String WhyNotOurs(const struct stat& info) {
    if (!S_ISREG(info.st_mode)) return L"it is not a regular file";
    if (!IsOurs(info.st_uid)) return L"it belongs to another user";
    if (OthersCanWrite(info)) return L"other users can write to it";
    return String();
}

}  // namespace

TrustedFile::TrustedFile(const String& path, ChosenBy chosenBy) : m_path(path) {
    String directory = Path::GetDirectory(path);
    if (directory.IsEmpty()) directory = L".";
    m_isExposed = directory == Names::kHandOverDir;
    const auto canonical = Path::Canonicalise(directory);
    m_opened = canonical ? FindExposure(*canonical, chosenBy, m_isExposed) : canonical.error();
    if (!m_opened) {
        m_whyNot = GetErrorMsg(m_opened);
        return;
    }
    const auto links = m_isExposed ? corekit::Links::Refused : corekit::Links::Followed;
    // By the path that was judged, which no link leads elsewhere meanwhile.
    const std::string canonicalPath = corekit::NativePath(Path::Join(*canonical, Path::GetFileName(path)));
    auto file = corekit::OpenRegular(AT_FDCWD, canonicalPath, links);
    m_opened = file.Outcome();
    if (m_isExposed) {
        const auto found = corekit::StatOf(AT_FDCWD, canonicalPath);
        m_isThere = found.has_value();
        m_whyNot = file ? WhyNotOurs(file->info) : found ? WhyNotOurs(*found) : String();
        if (m_whyNot.IsEmpty() && !file) m_whyNot = GetErrorMsg(m_opened);
    }
    if (file) m_file = std::move(file->file);
}

void TrustedFile::WarnNotUsed(const String& why) const {
    Messages::Warn(L"WARNING! " + Messages::Shown(m_path) + L" is not used: " + why + L".\n");
}

corekit::Expected<std::string> TrustedFile::Read() const {
    if (!m_opened) return m_opened;
    return corekit::File::ReadBytes(m_file);
}

}  // namespace Zorvane::AgentInstaller
