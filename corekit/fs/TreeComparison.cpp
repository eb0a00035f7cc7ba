// Compares files and links by their content, directories entry by entry.
#include "corekit/fs/TreeComparison.h"

#include <span>
#include <string>
#include <sys/stat.h>

#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

/// Reads until the buffer is full or the file ends; false when it cannot be read.
bool Fill(int fd, std::string& buffer) {
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const auto count = ReadSome(fd, std::span(buffer).subspan(filled));
        if (!count) return false;
        if (*count == 0) break;
        filled += *count;
    }
    buffer.resize(filled);
    return true;
}

bool HaveSameContent(const EntryRef& copy, const EntryRef& original) {
    constexpr std::size_t kChunk = 65536;
    const auto one = OpenRegular(copy.directory, copy.name, Links::Refused);
    const auto other = OpenRegular(original.directory, original.name, Links::Refused);
    if (!one || !other) return false;
    for (;;) {
        std::string left(kChunk, '\0');
        std::string right(kChunk, '\0');
        if (!Fill(one->file.Get(), left) || !Fill(other->file.Get(), right) || left != right) return false;
        if (left.empty()) return true;
    }
}

bool HaveSameTarget(const EntryRef& copy, const EntryRef& original) {
    const auto one = ReadLink(copy.directory, copy.name);
    const auto other = ReadLink(original.directory, original.name);
    return one && other && *one == *other;
}

bool HoldsAll(const EntryRef& copy, const EntryRef& original) {
    const auto one = OpenDirectoryItself(copy.directory, copy.name);
    const auto other = OpenDirectoryItself(original.directory, original.name);
    if (!one || !other) return false;
    DirectoryBatch batch;
    do {
        if (!batch.Read(other->Get())) return false;
        for (const DirEntry& entry : batch) {
            if (!ContainsCopyOf({one->Get(), entry.name}, {other->Get(), entry.name})) return false;
        }
    } while (!batch.IsEnd());
    return true;
}

}  // namespace

bool ContainsCopyOf(const EntryRef& copy, const EntryRef& original) {
    const auto one = StatOf(copy.directory, copy.name);
    const auto other = StatOf(original.directory, original.name);
    if (!one || !other || (one->st_mode & S_IFMT) != (other->st_mode & S_IFMT)) return false;
    if (S_ISREG(one->st_mode)) return one->st_size == other->st_size && HaveSameContent(copy, original);
    if (S_ISLNK(one->st_mode)) return HaveSameTarget(copy, original);
    return S_ISDIR(one->st_mode) ? HoldsAll(copy, original) : one->st_rdev == other->st_rdev;
}

}  // namespace corekit
