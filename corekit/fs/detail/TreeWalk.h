// A walk through a tree of directories.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/DirectoryBatch.h"
#include "corekit/fs/detail/DirectoryStack.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Visits every entry of a tree, in the order of inodes, and never follows a link. Needs neither more memory
/// for more entries nor more descriptors for more depth. Operations on trees derive from it.
class TreeWalk {
  public:
    virtual ~TreeWalk() = default;

    /// Walks the tree whose top is this entry; returns the worst failure.
    Result Walk(const EntryRef& top);

  protected:
    enum class Action { Done, GoIn };
    enum class Reading { Done, Again };
    enum class AfterFailure { GoOn, Stop };

    explicit TreeWalk(AfterFailure afterFailure) : m_afterFailure(afterFailure) {}

    /// Handles an entry of an open directory. Returns GoIn for a directory that is to be walked through.
    virtual Action OnEntry(int directory, const DirEntry& entry) = 0;
    /// Called with a directory, open, and its name before it is walked through. If it fails, the failure
    /// counts and the entries are passed over.
    virtual Result Enter(int directory, const std::string& name) = 0;
    /// Called when all of a directory has been visited, for the `reading`th time; `parent` holds it under
    /// this name. Returns Again to read it once more from the start.
    virtual Reading OnDirectoryDone(int parent, const std::string& name, unsigned reading) = 0;

    /// Counts a failure; after the first one the walk ends if it was made with AfterFailure::Stop.
    void Fail(const Result& failure);
    bool HasFailed() const { return !m_result.Ok(); }

  private:
    struct Level {
        std::string pending;  // names of directories to go into, each ended by a NUL
        bool isRead = false;  // to its end
        unsigned reading = 1;
        std::size_t met = 0;  // entries, in this reading
        PassLimit limit;
    };
    void Step();
    void ReadOn();
    void GoIn(unsigned reading);
    void ComeBack();
    void AddPending(const char* name);
    std::string NextPending() const;
    void DropPending();

    AfterFailure m_afterFailure;
    Result m_result;
    bool m_isOver = false;
    DirectoryBatch m_batch;
    std::unique_ptr<DirectoryStack> m_way;
    std::vector<Level> m_levels;
    std::size_t m_pendingBytes = 0;  // of all levels
};

}  // namespace corekit
