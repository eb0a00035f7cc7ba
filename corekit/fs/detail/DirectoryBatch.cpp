// Reads directories a buffer at a time.
#include "corekit/fs/detail/DirectoryBatch.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

bool IsSelfOrParent(std::string_view name) {
    return name == "." || name == "..";
}

constexpr std::size_t kLeastAtOnce = 512;  // holds an entry with the longest name
constexpr std::size_t kMostAtOnce = 65536;

bool HasLowerInode(const DirEntry& left, const DirEntry& right) {
    return left.inode < right.inode;
}

/// How many entries a directory has now; 0 where it cannot be read.
std::size_t CountEntries(int directory) {
    const auto again = OpenDirectoryItself(directory, ".");
    if (!again) return 0;
    DirectoryBatch batch;
    std::size_t count = 0;
    do {
        if (!batch.Read(again->Get())) return count;
        count += static_cast<std::size_t>(batch.end() - batch.begin());
    } while (!batch.IsEnd());
    return count;
}

/// Reads a directory once. Returns true if another reading may find what this one has missed.
Expected<bool> RemoveOnce(int directory, DirectoryBatch& batch,
                          const std::function<bool(const DirEntry&)>& remove) {
    bool hasRemoved = false;
    PassLimit limit;
    std::size_t met = 0;
    for (bool isFirst = true;; isFirst = false) {
        const Result result = batch.Read(directory);
        for (const DirEntry& entry : batch) hasRemoved |= remove(entry);
        met += static_cast<std::size_t>(batch.end() - batch.begin());
        if (!result) return result;
        if (batch.IsEnd()) return hasRemoved && !isFirst;
        if (limit.IsReached(directory, met)) return Result(EBUSY);
    }
}

}  // namespace

bool IsDirectory(int directory, const DirEntry& entry) {
    if (entry.type != DT_UNKNOWN) return entry.type == DT_DIR;
    struct stat info {};
    return fstatat(directory, entry.name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode);
}

// The memory is left uninitialised: pages that no directory fills are never touched.
DirectoryBatch::DirectoryBatch() : m_buffer(new char[kMostAtOnce]), m_memory(new DirEntry[kMostEntries]) {}

Result DirectoryBatch::Read(int directory, std::size_t size) {
    m_first = kMostEntries;
    m_namesSize = 0;
    // Entries take less than twice what the kernel tells them in.
    const std::size_t atOnce = std::clamp(size / 2, kLeastAtOnce, kMostAtOnce);
    Result result;
    do {
        result = ReadOn(directory, atOnce);
    } while (!m_isEnd && Size() + 2 * atOnce <= size && !(Size() > atOnce / 2 && IsInOrder()));
    std::sort(m_memory.get() + m_first, m_memory.get() + kMostEntries, HasLowerInode);
    return result;
}

bool DirectoryBatch::IsInOrder() const {
    return std::is_sorted(begin(), end(), HasLowerInode);
}

Result DirectoryBatch::ReadOn(int directory, std::size_t size) {
    const ssize_t length = Uninterrupted([&] { return getdents64(directory, m_buffer.get(), size); });
    m_isEnd = length <= 0;
    if (length < 0) return errno == ENOENT ? Result() : Result::FromErrno();
    for (ssize_t at = 0; at < length;) {
        const auto* entry = reinterpret_cast<const dirent64*>(m_buffer.get() + at);
        if (!IsSelfOrParent(entry->d_name)) Add(entry->d_ino, entry->d_type, entry->d_name);
        at += entry->d_reclen;
    }
    return Result();
}

void DirectoryBatch::Add(std::uint64_t inode, unsigned char type, std::string_view name) {
    char* const own = reinterpret_cast<char*>(m_memory.get()) + m_namesSize;
    own[name.copy(own, name.size())] = '\0';
    m_namesSize += name.size() + 1;
    m_memory[--m_first] = {inode, type, own};
}

bool PassLimit::IsReached(int directory, std::size_t met) {
    if (met < kLong) return false;
    if (m_most == 0) m_most = met + CountEntries(directory);
    return met > m_most;
}

Result RemoveEntriesOf(int directory, const std::function<bool(const DirEntry&)>& remove) {
    DirectoryBatch batch;
    Expected<bool> isDue = true;
    for (unsigned reading = 0; isDue && *isDue && reading < kMostReadings; ++reading) {
        lseek(directory, 0, SEEK_SET);
        isDue = RemoveOnce(directory, batch, remove);
    }
    return isDue.Outcome();
}

}  // namespace corekit
