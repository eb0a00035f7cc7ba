// A way down a tree of directories, and back.
#pragma once

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Enters directories one by one, never through a link. However deep the way leads, only its first levels and
/// the last one stay open: the others are opened again through ".." and must be the directories that they
/// were.
class DirectoryStack {
  public:
    explicit DirectoryStack(Descriptor top);

    /// The directory that was entered last.
    int Fd() const { return m_levels.back().directory.Get(); }

    Result Enter(const std::string& name);

    /// Returns to the directory above, at the place where its reading stopped. Fails with ESTALE when another
    /// directory has taken its place: then there is no way back.
    Result Leave();

  private:
    struct Level {
        Descriptor directory;                // none: closed until the way leads back
        std::pair<dev_t, ino_t> identity{};  // of one that is closed, like the position
        off_t position = 0;
    };
    static Result Close(Level& level);
    static Result Reopen(Level& level, const Descriptor& below);

    std::vector<Level> m_levels;
};

}  // namespace corekit
