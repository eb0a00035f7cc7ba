// Knows the host's own directories by name and by identity.
#include "corekit/HostDirectories.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <span>
#include <string>
#include <sys/stat.h>

#include "corekit/Dir.h"
#include "corekit/Path.h"
#include "corekit/SystemCall.h"
#include "corekit/Wildcard.h"

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

bool Leads(const String& path, const struct stat& directory) {
    struct stat info {};
    return stat(NativePath(path).c_str(), &info) == 0 && IsSame(info, directory);
}

/// Does one of these entries lead to the directory, over whichever links and mounts?
bool AnyLeads(const HostEntries& entries, const struct stat& directory) {
    bool found = false;
    const auto visit = [&](const FileInfo& entry) {
        found = entries.Hold(entry.name.Utf8().c_str()) && Leads(entry.path, directory);
        return !found;
    };
    Forgive(Dir::Scan(entries.directory, String(), visit));
    return found;
}

}  // namespace

bool IsHostDirectory(const String& path) {
    if (IsListed(Path::Resolve(path))) return true;
    const Descriptor directory = OpenAt(AT_FDCWD, NativePath(path), O_PATH | O_DIRECTORY);
    return directory && IsHostDirectory(directory);
}

bool IsHostDirectory(const Descriptor& directory) {
    struct stat info {};
    if (fstat(directory.Get(), &info) != 0) return false;
    const auto anyLeads = [&](const HostEntries& entries) { return AnyLeads(entries, info); };
    return Leads(L"/", info) || std::ranges::any_of(kHostEntries, anyLeads);
}

HostNames::HostNames(int directory) {
    struct stat info {};
    if (fstat(directory, &info) != 0) return;
    for (const HostEntries& entries : kHostEntries) {
        if (Leads(entries.directory, info)) m_entries.push_back(&entries);
    }
}

bool HostNames::Include(const char* name) const {
    return std::ranges::any_of(m_entries, [&](const HostEntries* entries) { return entries->Hold(name); });
}

}  // namespace corekit
