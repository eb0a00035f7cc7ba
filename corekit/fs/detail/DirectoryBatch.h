// The entries of an open directory, as many at a time as fit a buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "corekit/os/Result.h"

namespace corekit {

/// One entry as the kernel tells it; the name lives until the next batch is read.
struct DirEntry {
    std::uint64_t inode;
    unsigned char type;  // DT_DIR ...; DT_UNKNOWN on some file systems
    const char* name;
};

/// True if the entry of an open directory is itself a directory.
bool IsDirectory(int directory, const DirEntry& entry);

/// Some of a directory's entries, "." and ".." left out, in the order of inodes: working through them writes
/// to the disk in the order of its blocks. A batch is large so that most blocks of inodes have several of its
/// entries: of a million files that takes some 100,000. Where the kernel gives the entries in the reverse
/// order of inodes, as tmpfs does, a small batch is as good, and stays in the processor's caches.
class DirectoryBatch {
  public:
    static constexpr std::size_t kLargest = 4 << 20;  // some 95,000 entries with short names

    DirectoryBatch();

    /// Reads on in a directory until the entries take `size` bytes, or fewer when they come in order. `IsEnd`
    /// is true then if these are the last ones; a directory that has been removed meanwhile is at its end.
    /// What was read before a failure counts.
    Result Read(int directory, std::size_t size = kLargest);
    bool IsEnd() const { return m_isEnd; }

    const DirEntry* begin() const { return m_memory.get() + m_first; }
    const DirEntry* end() const { return m_memory.get() + kMostEntries; }

  private:
    static constexpr std::size_t kMostEntries = kLargest / sizeof(DirEntry);

    bool IsInOrder() const;
    std::size_t Size() const { return m_namesSize + (kMostEntries - m_first) * sizeof(DirEntry); }
    Result ReadOn(int directory, std::size_t size);
    void Add(std::uint64_t inode, unsigned char type, std::string_view name);

    std::unique_ptr<char[]> m_buffer;
    /// Names from its front on, each ended by a NUL; entries from its back.
    std::unique_ptr<DirEntry[]> m_memory;
    std::size_t m_namesSize = 0;
    std::size_t m_first = kMostEntries;
    bool m_isEnd = false;
};

/// How often a directory is read at most while entries are removed from it. Some file systems skip entries
/// then, so one reading is not enough; the limit stops somebody who keeps adding entries.
inline constexpr unsigned kMostReadings = 100;

/// Ends a pass over a directory that somebody keeps adding to, after as many entries as it had when the pass
/// became long.
class PassLimit {
  public:
    static constexpr std::size_t kLong = 100'000;

    /// True when the pass has met more entries than the directory had.
    bool IsReached(int directory, std::size_t met);

  private:
    std::size_t m_most = 0;  // 0: not counted yet
};

/// Reads a directory from its start and calls `remove` with each entry, which returns true if it has removed
/// the entry. Reads again as long as entries are removed, at most `kMostReadings` times. Returns the first
/// failure to read; EBUSY when somebody keeps adding entries.
Result RemoveEntriesOf(int directory, const std::function<bool(const DirEntry&)>& remove);

}  // namespace corekit
