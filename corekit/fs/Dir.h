// Directories: reading, making, moving and removing them, always on open descriptors.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit {

/// One entry of a directory.
struct FileInfo {
    String name;               // without the directory
    String path;               // the directory as it was given, "/" and the name
    bool isDirectory = false;  // the entry itself; a link to a directory is none
};

/// An open directory, read entry by entry. "." and ".." are never given.
class Dir {
  public:
    Dir();
    ~Dir();

    /// Opens a directory for entries whose name matches a shell wildcard ("" for all of them).
    Result Open(const String& path, const String& pattern = String());

    /// The next entry; false at the end, and where the rest cannot be read.
    bool Read(FileInfo& entry);

    /// Success, or the failure that ended reading.
    Result ReadResult() const;

    /// Calls `visit` for every entry of a directory until it returns false. Fails when the directory cannot
    /// be opened, or not be read to its end.
    static Result Scan(const String& path, const String& pattern,
                       const std::function<bool(const FileInfo&)>& visit);

    /// Adds all that `Scan` would visit to a list: entries can be removed while that is walked. What was read
    /// before a failure counts.
    static Result ReadEntries(const String& path, const String& pattern, std::vector<FileInfo>& entries);

    /// All that `Scan` would visit. An entry, or a whole directory, that cannot be read counts as absent.
    static std::vector<FileInfo> Entries(const String& path, const String& pattern);

    /// Creates a directory (mode 0755) with all missing parents; one that exists already is success.
    static Result CreateR(const String& path);

    /// Removes a directory with everything in it, never following a link out of it; of a path that is a link
    /// itself the link only. Passes over what cannot be removed and what is mounted in the tree, and returns
    /// the worst failure. An empty path does nothing; "/" and the host's own directories are refused (EPERM),
    /// however they are spelled or reached, and files (ENOTDIR). Memory does not grow with the number of
    /// entries.
    static Result Remove(const String& path);

    /// From now on a tree that can be removed whole is renamed instead, in one step: to a new name that
    /// begins with `place`, at the top of its file system, if that is a directory of the host's own, which
    /// nobody else looks through. For a process in a copy of the host, where the removal of each entry takes
    /// long. An empty name ends this.
    static void TakeTreesAwayTo(const std::string& place);

    /// Removes a directory that is empty; any other stays (ENOTEMPTY).
    static Result RemoveIfEmpty(const String& path);

    /// Moves the entries of `from` into `to` (made when missing, with the owner and the mode of `from`),
    /// across file systems too; by one rename where nothing is at `to` nor mounted below `from`. An entry of
    /// `to` is never replaced: one of the same name stays in `from` (EEXIST), unless `to` holds a copy of it.
    /// An entry that cannot be moved stays whole, and the others are moved all the same. `from` is removed
    /// when it is empty. Refused out of one of the host's own directories (EPERM) and into `from` itself or
    /// below it (EINVAL).
    static Result Move(const String& from, const String& to);

    /// Flushes a directory to disk: what was made, renamed and removed in it.
    static Result FlushEntries(const String& path);

    // The current directory of the process.

    static Expected<String> GetCurrent();
    static Result SetCurrent(const String& path);

  private:
    struct Stream;
    std::unique_ptr<Stream> m_stream;
};

}  // namespace corekit
