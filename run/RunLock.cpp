// One run at a time: a lock on a file that only root can have made.
#include "run/RunLock.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"
#include "run/Args.h"

namespace Zorvane::AgentInstaller {

using corekit::Descriptor;
using corekit::String;

namespace {

// Where everybody may make files, as in /run/lock, anybody could hold up every run.
constexpr const wchar_t* kPlaces[] = {L"/run", L"/var/lock", L"/etc"};
constexpr std::size_t kLongestTable = 1 << 24;
constexpr const char* kFileName = "qdn-configure.lock";
// More runs than ever end between our opening of the file and the look whether it is still there.
constexpr int kMostTries = 1000;

/// A directory where nobody else can make or take away anything; none otherwise.
Descriptor OpenOwnDirectory(const String& path) {
    auto directory = corekit::OpenDirectory(path);
    const auto info = directory ? corekit::StatOf(directory->Get()) : directory.error();
    const bool isOurs = info && info->st_uid == geteuid() && (info->st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return isOurs ? std::move(*directory) : Descriptor();
}

/// The lock file, made when missing; none when it is somebody else's or no plain file.
Descriptor OpenLockFile(const Descriptor& directory) {
    auto file = corekit::OpenAt(directory.Get(), kFileName, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0600);
    const auto info = file ? corekit::StatOf(file->Get()) : file.error();
    const bool isOurs = info && S_ISREG(info->st_mode) && info->st_uid == geteuid();
    return isOurs ? std::move(*file) : Descriptor();
}

/// True if the locked file still has its name: a run that ends removes its lock file.
bool IsStillThere(const Descriptor& file, const Descriptor& directory) {
    const auto opened = corekit::StatOf(file.Get());
    const auto named = corekit::StatOf(directory.Get(), kFileName);
    return opened && named && corekit::IsSameFile(*opened, *named);
}

/// Whether somebody has locked a file, as the kernel tells it; a failure where that cannot be read.
corekit::Expected<bool> IsLocked(const struct stat& file) {
    const auto table = corekit::OpenAt(AT_FDCWD, "/proc/locks", O_RDONLY);
    if (!table) return table.error();
    const auto locks = corekit::ReadAll(table->Get(), kLongestTable);
    if (!locks) return locks.error();
    // "1: FLOCK  ADVISORY  WRITE 4711 fe:00:131 0 EOF": device and inode of the file that is locked.
    char name[64];
    std::snprintf(name, sizeof name, " %02x:%02x:%lu ", major(file.st_dev), minor(file.st_dev), file.st_ino);
    return locks->find(name) != std::string::npos;
}

/// Takes away the lock file of a directory where no lock can be had, unless another run has locked it.
void RemoveUnlocked(const Descriptor& file, const Descriptor& directory) {
    const auto info = corekit::StatOf(file.Get());
    if (info && !IsLocked(*info).value_or(true)) unlinkat(directory.Get(), kFileName, 0);
}

}  // namespace

RunLock::RunLock() {
    if (RunMode::isAttempt) return;
    for (const wchar_t* place : kPlaces) {
        if (TryIn(place)) return;
    }
}

bool RunLock::IsHeld() {
    return std::ranges::any_of(kPlaces, [](const wchar_t* place) {
        const Descriptor directory = OpenOwnDirectory(place);
        const auto info = corekit::StatOf(directory.Get(), kFileName);
        return info && IsLocked(*info).value_or(false);
    });
}

/// Tries to take the lock in a directory. Returns true when the lock is held or known to be taken, and false
/// when the directory has no place for it.
bool RunLock::TryIn(const String& path) {
    const Descriptor directory = OpenOwnDirectory(path);
    if (!directory) return false;
    const corekit::SignalBlock untilItIsOwned;
    for (int tries = 0; tries < kMostTries; ++tries) {
        Descriptor file = OpenLockFile(directory);
        if (!file) return false;
        if (corekit::Uninterrupted([&] { return flock(file.Get(), LOCK_EX | LOCK_NB); }) != 0) {
            m_isTaken = errno == EWOULDBLOCK;
            if (!m_isTaken) RemoveUnlocked(file, directory);
            return m_isTaken;
        }
        if (IsStillThere(file, directory)) {
            m_file = std::move(file);
            m_name.Take(path.Utf8() + "/" + kFileName);
            return true;
        }
    }
    return false;
}

}  // namespace Zorvane::AgentInstaller
