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

/// The host's own entries of one directory.
struct HostEntries {
    const wchar_t* directory;
    std::span<const char* const> patterns;  // none: all of them, but for directories of `DeclareOwn`

    bool Hold(const std::string& name) const {
        if (patterns.empty()) return true;
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

/// Entries of these belong to packages and users, unless the caller has declared one its own (DeclareOwn).
constexpr std::array kSharedEntries = {
    HostEntries{L"/etc", {}},       HostEntries{L"/home", {}},        HostEntries{L"/usr/lib", {}},
    HostEntries{L"/usr/lib64", {}}, HostEntries{L"/usr/libexec", {}}, HostEntries{L"/usr/share", {}},
};

/// The same, but here a directory of a declared name is the caller's own, too (DeclareOwnName).
constexpr std::array kDataEntries = {
    HostEntries{L"/boot", {}},
    HostEntries{L"/dev", {}},
    HostEntries{L"/root", {}},
    HostEntries{L"/run", {}},
    HostEntries{L"/usr/include", {}},
    HostEntries{L"/usr/local/lib", {}},
    HostEntries{L"/usr/local/share", {}},
    HostEntries{L"/usr/src", {}},
    HostEntries{L"/var/cache", {}},
    HostEntries{L"/var/lib", {}},
    HostEntries{L"/var/log", {}},
    HostEntries{L"/var/mail", {}},
    HostEntries{L"/var/spool", {}},
};

std::vector<String> ownDirectories;
std::vector<String> ownNames;
Descriptor confinement;  // none: removals go wherever they are allowed to

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

/// EPERM when one of these entries leads to the directory, over whichever links and mounts.
Result CheckIsNoneOf(const HostEntries& entries, const struct stat& directory) {
    Result result;
    const Result read = Dir::Scan(entries.directory, String(), [&](const FileInfo& entry) {
        if (entries.Hold(entry.name.Utf8())) result = CheckIsNot(entry.path, directory);
        return result.Ok();
    });
    // The failure concerns the directory that is judged, not the one that was read.
    return result && IsTransient(read) ? Result(read.Code()) : result;
}

Result CheckIsNotTheStandards(const struct stat& directory) {
    Result result = CheckIsNot(L"/", directory);
    for (const HostEntries& entries : kHostEntries) {
        if (result) result = CheckIsNoneOf(entries, directory);
    }
    return result;
}

/// EPERM when the directory lies in one of those whose entries are the host's, and is no own one.
Result CheckIsNotShared(const Descriptor& directory, std::span<const HostEntries> shared,
                        std::span<const String> names) {
    const auto above = OpenAt(directory.Get(), "..", O_PATH | O_DIRECTORY);
    if (!above) return above.error();
    const auto info = StatOf(above->Get());
    if (!info) return info.error();
    for (const HostEntries& entries : shared) {
        const Result elsewhere = CheckIsNot(entries.directory, *info);
        if (elsewhere) continue;
        const String self =
            Path::Resolve(String::FromUtf8("/proc/self/fd/" + std::to_string(directory.Get())));
        const bool isOwn = IsOwn(self) || std::ranges::find(names, Path::GetFileName(self)) != names.end();
        return elsewhere.Code() == EPERM && isOwn ? Result() : elsewhere;
    }
    return Result();
}

/// Looks at a directory that may be missing. Links of others are followed here, since they only make for more
/// that is the host's.
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
    Result allowed = CheckIsNotTheStandards(*info);
    if (allowed) allowed = CheckIsNotShared(directory, kSharedEntries, {});
    return allowed ? CheckIsNotShared(directory, kDataEntries, ownNames) : allowed;
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

Result ConfineRemovals(const String& directory) {
    auto opened = OpenDirectory(directory);
    if (!opened) return opened.error().About(directory);
    confinement = std::move(*opened);
    return Result();
}

Result CheckConfined(const EntryRef& entry) {
    if (!confinement) return Result();
    const auto limit = StatOf(confinement.Get());
    if (!limit) return limit.error();
    auto info = StatOf(entry.directory, entry.name);
    if (info && IsSameFile(*info, *limit)) return Result();
    Descriptor held;
    for (int at = entry.directory;; at = held.Get()) {
        const auto level = StatOf(at);
        if (!level) return level.error();
        if (IsSameFile(*level, *limit)) return Result();
        auto above = OpenAt(at, "..", O_PATH | O_DIRECTORY);
        if (!above) return above.error();
        const auto higher = StatOf(above->Get());
        if (!higher) return higher.error();
        if (IsSameFile(*higher, *level)) return Result(EXDEV);  // the root
        held = std::move(*above);
    }
}

void ForgetOwn() {
    ownDirectories.clear();
    ownNames.clear();
    confinement = Descriptor();
}

HostNames::HostNames(int directory, HostDirectory hostDirectory) {
    const auto info = StatOf(directory);
    m_known = info.Outcome();
    if (!info) return;
    const auto add = [&](const HostEntries& entries) {
        const Result elsewhere = CheckIsNot(entries.directory, *info);
        if (elsewhere.Code() == EPERM) m_entries.push_back(&entries);
        if (IsTransient(elsewhere)) m_known = elsewhere;
    };
    std::ranges::for_each(kHostEntries, add);
    if (hostDirectory == HostDirectory::Refused) std::ranges::for_each(kSharedEntries, add);
}

Result HostNames::Check(const char* name) const {
    const auto hold = [&](const HostEntries* entries) {
        if (!entries->Hold(name)) return false;
        return !entries->patterns.empty() || !IsOwn(Path::Join(entries->directory, String::FromUtf8(name)));
    };
    return std::ranges::any_of(m_entries, hold) ? Result(EPERM) : m_known;
}

}  // namespace corekit
