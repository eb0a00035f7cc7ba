// Removes a directory tree as the program does.
//
//   remove-tree DIRECTORY
//   remove-tree --make DIRECTORY COUNT    makes a directory of COUNT empty files, and flushes it to disk
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/os/SystemCall.h"

namespace {

/// Names as an agent's queue has them: in no order.
std::string NameOf(std::uint32_t number) {
    char name[32];
    std::snprintf(name, sizeof name, "event-%08x.kse", number * 2654435761U);
    return name;
}

int Make(const char* path, std::uint32_t count) {
    if (mkdir(path, 0755) != 0) return 1;
    const auto directory = corekit::OpenDirectory(std::string(path));
    if (!directory) return 1;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!corekit::OpenAt(directory->Get(), NameOf(i), O_WRONLY | O_CREAT | O_EXCL, 0644)) return 1;
    }
    return syncfs(directory->Get()) == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 4 && std::string_view(argv[1]) == "--make")
        return Make(argv[2], static_cast<std::uint32_t>(std::strtoul(argv[3], nullptr, 10)));
    if (argc == 2) return corekit::Dir::Remove(corekit::String::FromUtf8(argv[1])).Ok() ? 0 : 1;
    std::fputs("Usage: remove-tree DIRECTORY, or remove-tree --make DIRECTORY COUNT\n", stderr);
    return 2;
}
