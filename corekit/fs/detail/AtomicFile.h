// A file that is made beside the one it replaces and takes its place in one step.
#pragma once

#include <optional>
#include <string>
#include <sys/stat.h>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/Descriptor.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Until it is committed, the new file has a hidden name of its own, and only the owner may read it. The
/// destructor removes a file that was not committed. No signal ends the process meanwhile.
class AtomicFile {
  public:
    explicit AtomicFile(EntryRef target) : m_target(std::move(target)) {}
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Makes the new file, empty, of mode 0600. A directory in the target's place is refused (EISDIR); fails
    /// as well when it cannot be told what stands there.
    Result Begin();

    /// The new file, open for writing.
    int Fd() const { return m_file.Get(); }

    /// What stood in the target's place before the new file was made, if anything did.
    const std::optional<struct stat>& Replaced() const { return m_replaced; }

    /// Flushes the new file, puts it in the target's place and flushes the directory.
    Result Commit();

  private:
    SignalBlock m_signalBlock;
    EntryRef m_target;
    std::string m_temporaryName;  // empty: there is none
    Descriptor m_file;
    std::optional<struct stat> m_replaced;
};

}  // namespace corekit
