// Splits a path into an open directory and a name.
#include "corekit/fs/ParentDirectory.h"

#include <cerrno>
#include <utility>

#include "corekit/os/SystemCall.h"

namespace corekit {

Expected<ParentDirectory> ParentDirectory::Of(const String& path) {
    std::string bytes = NativePath(path);
    if (bytes.empty()) return Result(ENOENT);
    bytes.erase(bytes.find_last_not_of('/') + 1);
    const std::size_t nameStart = bytes.rfind('/') + 1;  // 0 without any "/"
    const std::string name = bytes.substr(nameStart);
    if (name.empty() || name == "." || name == "..") return Result(EISDIR);
    auto directory = OpenDirectory(nameStart == 0 ? "." : bytes.substr(0, nameStart));
    if (!directory) return directory.error();
    return ParentDirectory{std::move(*directory), name};
}

}  // namespace corekit
