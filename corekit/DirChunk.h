// The entries of an open directory, as many at a time as fit a buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "corekit/Result.h"

namespace corekit {

/// One entry as the kernel tells it; the name lives until the next chunk is read.
struct DirEntry {
    std::uint64_t inode;
    unsigned char type;  // DT_DIR ...; DT_UNKNOWN on some file systems
    const char* name;
};

/// Is the entry of an open directory a directory itself?
bool IsDirectory(int directory, const DirEntry& entry);

/// A buffer for directory entries, "." and ".." left out. What is done to one chunk in the order of inodes is
/// done to the disk in the order of its blocks.
class DirChunk {
  public:
    static constexpr std::size_t kSmallest = 512;     // holds an entry with the longest name
    static constexpr std::size_t kLargest = 1 << 20;  // some 26,000 entries with short names

    DirChunk();

    /// Reads on in a directory, with a buffer of so many bytes. `IsEnd` tells that there was nothing more;
    /// one that has been removed meanwhile is at its end.
    Result Read(int directory, std::size_t size = kLargest);
    bool IsEnd() const { return m_isEnd; }

    auto begin() const { return m_entries.begin(); }
    auto end() const { return m_entries.end(); }

  private:
    std::unique_ptr<char[]> m_buffer;
    std::vector<DirEntry> m_entries;
    bool m_isEnd = false;
};

/// Reads a directory, from its start, out of which `take` takes entries: again and again as long as it takes
/// any, since some file systems then skip others (but not for ever, since somebody might add entries all the
/// time). Returns the first failure to read.
Result TakeOut(int directory, const std::function<bool(const DirEntry&)>& take);

}  // namespace corekit
