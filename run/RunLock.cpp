// One run at a time: a lock on a file that only root can have made.
#include "run/RunLock.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"

namespace Zorvane::AgentInstaller {

using corekit::Descriptor;
using corekit::String;

namespace {

constexpr const wchar_t* kPlaces[] = {L"/run/lock", L"/run"};
constexpr std::size_t kLongestTable = 1 << 24;
constexpr const wchar_t* kFileName = L"/qdn-configure.lock";

/// Nobody else can take away what this user makes there.
bool IsSafeDirectory(const String& directory) {
    struct stat info {};
    return lstat(directory.Utf8().c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == geteuid() &&
           ((info.st_mode & S_IWOTH) == 0 || (info.st_mode & S_ISVTX) != 0);
}

/// The lock file, made when missing; none when it is somebody else's or no plain file.
Descriptor OpenLockFile(const String& path) {
    Descriptor file(open(path.Utf8().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat info {};
    const bool ours =
        file && fstat(file.Get(), &info) == 0 && S_ISREG(info.st_mode) && info.st_uid == geteuid();
    return ours ? std::move(file) : Descriptor();
}

int Lock(const Descriptor& file) {
    int result = flock(file.Get(), LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR) result = flock(file.Get(), LOCK_EX | LOCK_NB);
    return result;
}

/// A run that ends removes its lock file: the one that was locked may no longer be the one of that name.
bool IsStillThere(const Descriptor& file, const String& path) {
    struct stat opened {};
    struct stat named {};
    return fstat(file.Get(), &opened) == 0 && lstat(path.Utf8().c_str(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

RunLock::RunLock() {
    for (const wchar_t* place : kPlaces) {
        if (IsSafeDirectory(place) && TryIn(place)) return;
    }
}

bool RunLock::IsHeld() {
    std::string locks;
    const corekit::Expected<Descriptor> table = corekit::OpenAt(AT_FDCWD, "/proc/locks", O_RDONLY);
    if (table) locks = corekit::ReadAll(table->Get(), kLongestTable).value_or("");
    for (const wchar_t* place : kPlaces) {
        struct stat info {};
        if (!IsSafeDirectory(place) || lstat((String(place) + kFileName).Utf8().c_str(), &info) != 0)
            continue;
        // "1: FLOCK  ADVISORY  WRITE 4711 fe:00:131 0 EOF": device and inode of the file that is locked.
        char file[64];
        std::snprintf(file, sizeof file, " %02x:%02x:%lu ", major(info.st_dev), minor(info.st_dev),
                      info.st_ino);
        if (locks.find(file) != std::string::npos) return true;
    }
    return false;
}

/// False when the directory gives no lock file; else the lock is held, or known to be taken.
bool RunLock::TryIn(const String& directory) {
    const corekit::SignalBlock untilItIsOwned;
    const String path = directory + kFileName;
    while (Descriptor file = OpenLockFile(path)) {
        if (Lock(file) != 0) {
            m_isTaken = errno == EWOULDBLOCK;
            return m_isTaken;
        }
        if (IsStillThere(file, path)) {
            m_file = std::move(file);
            m_name.Take(path.Utf8());
            return true;
        }
    }
    return false;
}

}  // namespace Zorvane::AgentInstaller
