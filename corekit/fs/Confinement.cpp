// Compares the directories above an entry with the one that removals are confined to.
#include "corekit/fs/Confinement.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

Descriptor confinement;  // none: removals go wherever they are allowed to

}  // namespace

Result ConfineRemovals(const String& directory) {
    auto opened = OpenDirectory(directory);
    if (!opened) return opened.error().About(directory);
    confinement = std::move(*opened);
    return Result();
}

Result CheckConfined(const EntryRef& entry) {
    if (!confinement) return Result();
    const auto limit = StatOf(confinement.Get());
    if (!limit) return limit.error();
    auto info = StatOf(entry.directory, entry.name);
    if (info && IsSameFile(*info, *limit)) return Result();
    Descriptor held;
    for (int at = entry.directory;; at = held.Get()) {
        const auto level = StatOf(at);
        if (!level) return level.error();
        if (IsSameFile(*level, *limit)) return Result();
        auto above = OpenAt(at, "..", O_PATH | O_DIRECTORY);
        if (!above) return above.error();
        const auto higher = StatOf(above->Get());
        if (!higher) return higher.error();
        if (IsSameFile(*higher, *level)) return Result(EXDEV);  // the root
        held = std::move(*above);
    }
}

void EndConfinement() {
    confinement = Descriptor();
}

}  // namespace corekit
