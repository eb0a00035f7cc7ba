// Knows the host's own directories by name and by identity.
#include "corekit/fs/HostDirectories.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <span>
#include <string>
#include <sys/stat.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Regex.h"

namespace corekit {

/// The host's own entries of one directory.
struct HostEntries {
    const wchar_t* directory;
    std::span<const char* const> patterns;

    bool Hold(const char* name) const {
        return std::ranges::any_of(patterns,
                                   [&](const char* pattern) { return MatchesWildcard(pattern, name); });
    }
};

namespace {

constexpr std::array kOfRoot = {"bin",  "boot", "dev", "etc",  "home", "lib*", "media", "mnt", "opt",
                                "proc", "root", "run", "sbin", "srv",  "sys",  "tmp",   "usr", "var"};
constexpr std::array kOfUsr = {"bin", "games", "include", "lib*", "local", "libexec", "sbin", "share", "src"};
constexpr std::array kOfVar = {"cache", "lib", "local", "lock", "log", "mail", "opt", "run", "spool", "tmp"};
constexpr std::array kOfEtc = {"init.d", "rc*.d", "opt"};

constexpr std::array kHostEntries = {
    HostEntries{L"/", kOfRoot},   HostEntries{L"/usr", kOfUsr}, HostEntries{L"/usr/local", kOfUsr},
    HostEntries{L"/var", kOfVar}, HostEntries{L"/etc", kOfEtc},
};

bool IsListed(const String& resolved) {
    if (resolved == L"/") return true;
    const std::string name = Path::GetFileName(resolved).Utf8();
    const auto holds = [&](const HostEntries& entries) {
        return Path::GetDirectory(resolved) == entries.directory && entries.Hold(name.c_str());
    };
    return std::ranges::any_of(kHostEntries, holds);
}

bool IsSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Refuses the directory when the path leads to it, and when it might.
Result RefuseTargetOf(const String& path, const struct stat& directory) {
    struct stat info {};
    const Result found = Outcome(stat(NativePath(path).c_str(), &info));
    if (found) return IsSame(info, directory) ? Result(EPERM) : Result();
    return IsTransient(found) ? found : Result();
}

/// Refuses the directory when one of these entries leads there, over whichever links and mounts.
Result RefuseTargetOf(const HostEntries& entries, const struct stat& directory) {
    Result result;
    const Result read = Dir::Scan(entries.directory, String(), [&](const FileInfo& entry) {
        if (entries.Hold(entry.name.Utf8().c_str())) result = RefuseTargetOf(entry.path, directory);
        return result.Ok();
    });
    return result && IsTransient(read) ? read : result;
}

}  // namespace

Result RefuseHostDirectory(const String& path) {
    if (IsListed(Path::Resolve(path))) return Result(EPERM);
    const auto directory = OpenAt(AT_FDCWD, NativePath(path), O_PATH | O_DIRECTORY);
    if (directory) return RefuseHostDirectory(*directory);
    return IsTransient(directory.error()) ? directory.error() : Result();
}

Result RefuseHostDirectory(const Descriptor& directory) {
    const auto info = StatOf(directory.Get());
    if (!info) return info.error();
    Result result = RefuseTargetOf(L"/", *info);
    for (const HostEntries& entries : kHostEntries) {
        if (result) result = RefuseTargetOf(entries, *info);
    }
    return result;
}

HostNames::HostNames(int directory) {
    const auto info = StatOf(directory);
    m_known = info.Outcome();
    if (!info) return;
    for (const HostEntries& entries : kHostEntries) {
        const Result result = RefuseTargetOf(entries.directory, *info);
        if (result.Code() == EPERM) m_entries.push_back(&entries);
        if (IsTransient(result)) m_known = result;
    }
}

Result HostNames::Refuse(const char* name) const {
    const auto hold = [&](const HostEntries* entries) { return entries->Hold(name); };
    return std::ranges::any_of(m_entries, hold) ? Result(EPERM) : m_known;
}

}  // namespace corekit
