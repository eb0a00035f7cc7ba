// Splits a path into an open directory and a name.
#include "corekit/fs/ParentDirectory.h"

#include <cerrno>

#include "corekit/os/SystemCall.h"

namespace corekit {

Result ParentDirectory::Of(const String& path, ParentDirectory& place) {
    std::string bytes = NativePath(path);
    if (bytes.empty()) return Result(ENOENT);
    bytes.erase(bytes.find_last_not_of('/') + 1);
    const std::size_t nameStart = bytes.rfind('/') + 1;  // 0 without any "/"
    place.name = bytes.substr(nameStart);
    if (place.name.empty() || place.name == "." || place.name == "..") return Result(EISDIR);
    place.directory = OpenDirectory(nameStart == 0 ? "." : bytes.substr(0, nameStart));
    return place.directory ? Result() : Result::FromErrno();
}

}  // namespace corekit
