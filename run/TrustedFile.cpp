// Whose file it is: the rule about directories that others can write.
#include "run/TrustedFile.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/Env.h"
#include "corekit/Path.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace Path = corekit::Path;

namespace {

/// An id that sudo left in the environment; -1 without one. Only root's environment is believed.
long SudoId(const wchar_t* variable) {
    String text;
    if (geteuid() != 0 || !corekit::Env::Get(variable, text) || text.IsEmpty()) return -1;
    for (const wchar_t digit : text) {
        if (digit < L'0' || digit > L'9') return -1;
    }
    return text.ToInt();
}

bool IsOurs(uid_t user) {
    return user == 0 || user == getuid() || static_cast<long>(user) == SudoId(L"SUDO_UID");
}

bool IsOurGroup(gid_t group) {
    return group == 0 || group == getgid() || static_cast<long>(group) == SudoId(L"SUDO_GID");
}

bool OthersCanWrite(const struct stat& info) {
    return (info.st_mode & S_IWOTH) != 0 || ((info.st_mode & S_IWGRP) != 0 && !IsOurGroup(info.st_gid));
}

/// Can others put files into the directory, or put another one in its place? `directory` is canonical.
bool OthersCanWriteBelow(const String& directory, ChosenBy chosenBy) {
    if (directory == Names::kHandOverDir) return true;
    for (String place = directory;; place = Path::GetDirectory(place)) {
        struct stat info {};
        if (stat(place.Utf8().c_str(), &info) != 0) return true;
        const bool writable =
            (info.st_mode & S_IWOTH) != 0 || (chosenBy == ChosenBy::Program && !IsOurs(info.st_uid));
        const bool replaceable = place == directory || (info.st_mode & S_ISVTX) == 0;
        if (writable && replaceable) return true;
        if (place == L"/") return false;
    }
}

/// Why a file in a directory that others can write must not be used; empty when it may be.
String WhyNotOurs(const String& path) {
    struct stat info {};
    if (lstat(path.Utf8().c_str(), &info) != 0) return corekit::GetErrorMsg(corekit::Result::FromErrno());
    if (!S_ISREG(info.st_mode)) return L"it is not a regular file";
    if (!IsOurs(info.st_uid)) return L"it belongs to another user";
    if (OthersCanWrite(info)) return L"other users can write to it";
    return String();
}

}  // namespace

String WhyNotTrusted(const String& path, ChosenBy chosenBy) {
    String directory = Path::GetDirectory(path);
    if (directory.IsEmpty()) directory = L".";
    String canonical;
    if (const auto result = Path::Canonicalise(directory, canonical); !result)
        return corekit::GetErrorMsg(result);
    const bool handOver = directory == Names::kHandOverDir;
    return handOver || OthersCanWriteBelow(canonical, chosenBy) ? WhyNotOurs(path) : String();
}

bool IsTrusted(const String& path, ChosenBy chosenBy) {
    const String why = WhyNotTrusted(path, chosenBy);
    if (!why.IsEmpty())
        Messages::Warn(L"WARNING! " + Messages::Shown(path) + L" is not used: " + why + L".\n");
    return why.IsEmpty();
}

}  // namespace Zorvane::AgentInstaller
