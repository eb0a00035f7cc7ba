// Takes from PATH what does not depend on the current directory.
#include "corekit/process/detail/SearchPath.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace corekit {

namespace {

constexpr std::string_view kUsualDirectories = "/usr/sbin:/usr/bin:/sbin:/bin";

}  // namespace

std::string SearchPath() {
    const char* const path = std::getenv("PATH");
    std::string_view rest = path == nullptr ? std::string_view() : path;
    std::string directories;
    while (!rest.empty()) {
        const std::string_view directory = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
        // A relative one would let whoever owns the current directory choose what root runs.
        if (!directory.starts_with('/')) continue;
        if (!directories.empty()) directories += ':';
        directories += directory;
    }
    return directories.empty() ? std::string(kUsualDirectories) : directories;
}

}  // namespace corekit
