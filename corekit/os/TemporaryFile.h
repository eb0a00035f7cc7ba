// A file that is removed with its owner, or with the process when a signal ends that.
#pragma once

#include <string>
#include <sys/types.h>

namespace corekit {

/// Owns at most one file. A forked process owns none of its parent's files.
class TemporaryFile {
  public:
    TemporaryFile() = default;
    ~TemporaryFile() { Remove(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// Owns the file of that path from now on, and removes the one owned before. The caller creates the file
    /// under a `SignalBlock` that ends after this call.
    void Take(const std::string& path);

    /// Removes the file, unless it has gone already, and owns none afterwards.
    void Remove();

    /// Empty when there is none.
    const std::string& Path() const { return m_path; }

    /// Removes the files of all owners; async-signal-safe.
    static void RemoveAll();

  private:
    std::string m_path;
    pid_t m_owner = 0;
    TemporaryFile* m_next = nullptr;  // of those that own a file
};

}  // namespace corekit
