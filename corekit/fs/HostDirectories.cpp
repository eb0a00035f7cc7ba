// Knows the host's own directories by name and by identity.
#include "corekit/fs/HostDirectories.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <span>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "corekit/fs/Dir.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Regex.h"

namespace corekit {

/// The standard's entries of one directory.
struct HostEntries {
    const wchar_t* directory;
    std::span<const char* const> patterns;

    bool Hold(const std::string& name) const {
        return std::ranges::any_of(
            patterns, [&](const char* pattern) { return MatchesWildcard(pattern, name.c_str()); });
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

/// What the caller may have in a shared directory: an installation (DeclareOwn), or data as well
/// (DeclareOwnName, DeclareData).
enum class Use { Packages, Data };

/// What belongs to the host in a shared directory: its entries only, or everything below them, too.
enum class Depth { Entries, Trees };

/// A directory whose entries belong to packages and users, unless the caller has declared one its own.
struct SharedDirectory {
    const wchar_t* path;
    Use use = Use::Data;
    Depth depth = Depth::Trees;
};

constexpr std::array kSharedDirectories = {
    SharedDirectory{L"/etc", Use::Packages},
    SharedDirectory{L"/home", Use::Packages, Depth::Entries},
    SharedDirectory{L"/usr/lib", Use::Packages},
    SharedDirectory{L"/usr/lib64", Use::Packages},
    SharedDirectory{L"/usr/libexec", Use::Packages},
    SharedDirectory{L"/usr/share", Use::Packages},
    SharedDirectory{L"/boot"},
    SharedDirectory{L"/dev", Use::Data, Depth::Entries},
    SharedDirectory{L"/root"},
    SharedDirectory{L"/run"},
    SharedDirectory{L"/usr/include"},
    SharedDirectory{L"/usr/local/lib"},
    SharedDirectory{L"/usr/local/share"},
    SharedDirectory{L"/usr/src"},
    SharedDirectory{L"/var/cache"},
    SharedDirectory{L"/var/lib"},
    SharedDirectory{L"/var/log"},
    SharedDirectory{L"/var/mail"},
    SharedDirectory{L"/var/spool"},
};

std::vector<String> ownDirectories;
std::vector<String> ownNames;
std::vector<String> ownData;  // resolved

/// True for a directory of `DeclareOwn`, and for one above it.
bool IsOwn(const String& path) {
    return std::ranges::any_of(ownDirectories, [&](const String& own) { return Path::IsWithin(own, path); });
}

bool IsListed(const String& resolved) {
    if (resolved == L"/") return true;
    const std::string name = Path::GetFileName(resolved).Utf8();
    const String directory = Path::GetDirectory(resolved);
    const auto holds = [&](const HostEntries& entries) {
        return directory == entries.directory && entries.Hold(name);
    };
    return std::ranges::any_of(kHostEntries, holds);
}

/// EPERM when the path leads to the directory; the failure of the lookup when that is not known.
Result CheckIsNot(const String& path, const struct stat& directory) {
    struct stat info {};
    const Result found = Outcome(stat(NativePath(path).c_str(), &info));
    if (found) return IsSameFile(info, directory) ? Result(EPERM) : Result();
    return IsTransient(found) ? found : Result();
}

/// EPERM when an entry that a wildcard names leads to the directory. The failure to read concerns the
/// directory that is judged, not the one that was read.
Result CheckIsNoneNamed(const wchar_t* place, const String& wildcard, const struct stat& directory) {
    Result result;
    const Result read = Dir::Scan(place, wildcard, [&](const FileInfo& entry) {
        result = CheckIsNot(entry.path, directory);
        return result.Ok();
    });
    return result && IsTransient(read) ? Result(read.Code()) : result;
}

/// EPERM when one of these entries leads to the directory, over whichever links and mounts.
Result CheckIsNoneOf(const HostEntries& entries, const struct stat& directory) {
    Result result;
    for (const char* const pattern : entries.patterns) {
        if (!result) break;
        const String name = String::FromUtf8(pattern);
        result = HasWildcard(pattern) ? CheckIsNoneNamed(entries.directory, name, directory)
                                      : CheckIsNot(Path::Join(entries.directory, name), directory);
    }
    return result;
}

Result CheckIsNotTheStandards(const struct stat& directory) {
    Result result = CheckIsNot(L"/", directory);
    for (const HostEntries& entries : kHostEntries) {
        if (result) result = CheckIsNoneOf(entries, directory);
    }
    return result;
}

/// EPERM unless nothing lies in a directory but data of `DeclareData` and what leads to it.
Result CheckHoldsOwnData(const String& directory) {
    Result result;
    const Result read = Dir::Scan(directory, String(), [&](const FileInfo& entry) {
        const auto isData = [&](const String& own) {
            return own == entry.path || entry.path.StartsWith(own + L".");  // a log's rotation
        };
        const auto lies = [&](const String& own) { return own.StartsWith(entry.path + L"/"); };
        if (std::ranges::any_of(ownData, isData)) return true;
        result = std::ranges::any_of(ownData, lies) ? CheckHoldsOwnData(entry.path) : Result(EPERM);
        return result.Ok();
    });
    return result ? read : result;
}

/// EPERM unless `self`, which is that entry of a shared directory or lies below it, is the caller's own.
Result CheckIsOwn(const SharedDirectory& shared, const String& entry, const String& self) {
    const auto holds = [&](const String& own) {
        return Path::IsWithin(self, own) && Path::IsWithin(own, entry);
    };
    if (IsOwn(self) || std::ranges::any_of(ownDirectories, holds)) return Result();
    if (shared.use == Use::Packages) return Result(EPERM);
    if (std::ranges::find(ownNames, Path::GetFileName(entry)) != ownNames.end()) return Result();
    // A single path there may be a mistake.
    const auto lies = [&](const String& own) { return own.StartsWith(entry + L"/"); };
    return std::ranges::count_if(ownData, lies) > 1 ? CheckHoldsOwnData(entry) : Result(EPERM);
}

/// The shared directories, whichever links and mounts lead there; of one that is missing, zeros.
using SharedStats = std::array<struct stat, kSharedDirectories.size()>;

Expected<SharedStats> StatsOfShared() {
    SharedStats stats{};
    for (std::size_t at = 0; at < stats.size(); ++at) {
        const Result found = Outcome(stat(NativePath(kSharedDirectories[at].path).c_str(), &stats[at]));
        if (IsTransient(found)) return found;
    }
    return stats;
}

/// EPERM when the directory lies in a shared one and is not the caller's own. Looks at each directory above,
/// up to the root.
Result CheckIsNotShared(const Descriptor& directory) {
    const auto shared = StatsOfShared();
    if (!shared) return shared.error();
    const String self = Path::Resolve(String::FromUtf8(ProcPath(directory.Get())));
    auto level = StatOf(directory.Get());
    Descriptor held;
    for (String entry = self; level; entry = Path::GetDirectory(entry)) {
        auto above = OpenAt(held ? held.Get() : directory.Get(), "..", O_PATH | O_DIRECTORY);
        if (!above) return above.error();
        const auto higher = StatOf(above->Get());
        if (!higher) return higher.error();
        if (IsSameFile(*level, *higher)) return Result();  // the root
        for (std::size_t at = 0; at < shared->size(); ++at) {
            const bool isDeep = kSharedDirectories[at].depth == Depth::Trees;
            if ((isDeep || !held) && IsSameFile(*higher, (*shared)[at]))
                return CheckIsOwn(kSharedDirectories[at], entry, self);
        }
        level = higher;
        held = std::move(*above);
    }
    return level.error();
}

/// Looks at a directory that may be missing. Links of other users are followed here, since they can only lead
/// to more directories that are refused.
template <typename Check>
Result CheckDirectory(const String& path, Check&& check) {
    if (IsListed(Path::Resolve(path))) return Result(EPERM);
    const auto directory = OpenAt(AT_FDCWD, NativePath(path), O_PATH | O_DIRECTORY);
    if (directory) return check(*directory);
    return IsTransient(directory.error()) ? directory.error() : Result();
}

}  // namespace

Result CheckRemovable(const String& directory) {
    return CheckDirectory(directory, [](const Descriptor& open) { return CheckRemovable(open); });
}

Result CheckRemovable(const Descriptor& directory) {
    const auto info = StatOf(directory.Get());
    if (!info) return info.error();
    const Result allowed = CheckIsNotTheStandards(*info);
    return allowed ? CheckIsNotShared(directory) : allowed;
}

Result CheckInstallable(const String& directory) {
    return CheckDirectory(directory, [](const Descriptor& open) {
        const auto info = StatOf(open.Get());
        return info ? CheckIsNotTheStandards(*info) : info.error();
    });
}

void DeclareOwn(const String& directory) {
    if (!directory.IsEmpty()) ownDirectories.push_back(directory);
}

void DeclareOwnName(const String& name) {
    ownNames.push_back(name);
}

void DeclareData(const String& path) {
    const String resolved = Path::Resolve(path);
    if (std::ranges::find(ownData, resolved) == ownData.end()) ownData.push_back(resolved);
}

void ForgetOwn() {
    ownDirectories.clear();
    ownNames.clear();
    ownData.clear();
}

HostNames::HostNames(int directory, HostDirectory hostDirectory, const char* only) {
    const auto info = StatOf(directory);
    m_known = info.Outcome();
    if (!info) return;
    const auto isHere = [&](const wchar_t* path) {
        const Result elsewhere = CheckIsNot(path, *info);
        if (IsTransient(elsewhere)) m_known = elsewhere;
        return elsewhere.Code() == EPERM;
    };
    for (const HostEntries& entries : kHostEntries) {
        const bool matters = only == nullptr || entries.Hold(only);
        if (matters && isHere(entries.directory)) m_entries.push_back(&entries);
    }
    if (hostDirectory == HostDirectory::Meant) return;
    for (const SharedDirectory& shared : kSharedDirectories) {
        if (shared.use == Use::Packages && isHere(shared.path)) m_shared = shared.path;
    }
}

Result CheckReplaceable(const EntryRef& entry, HostDirectory hostDirectory) {
    const char* const name = entry.name.c_str();
    return HostNames(entry.directory, hostDirectory, name).Check(name);
}

Result HostNames::Check(const char* name) const {
    const auto hold = [&](const HostEntries* entries) { return entries->Hold(name); };
    const bool isShared = m_shared != nullptr && !IsOwn(Path::Join(m_shared, String::FromUtf8(name)));
    return isShared || std::ranges::any_of(m_entries, hold) ? Result(EPERM) : m_known;
}

}  // namespace corekit
