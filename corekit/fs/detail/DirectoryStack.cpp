// Keeps a bounded number of directories open on a way of any depth.
#include "corekit/fs/detail/DirectoryStack.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr std::size_t kKeptOpen = 64;

}  // namespace

DirectoryStack::DirectoryStack(Descriptor top) {
    m_levels.push_back({std::move(top)});
}

Result DirectoryStack::Enter(const std::string& name) {
    auto next = OpenDirectoryItself(Fd(), name);
    if (!next) return next.error();
    if (m_levels.size() > kKeptOpen) {
        if (const Result result = Close(m_levels.back()); !result) return result;
    }
    m_levels.push_back({std::move(*next)});
    return Result();
}

Result DirectoryStack::Leave() {
    const Level below = std::move(m_levels.back());
    m_levels.pop_back();
    return m_levels.back().directory ? Result() : Reopen(m_levels.back(), below.directory);
}

Result DirectoryStack::Close(Level& level) {
    const auto info = StatOf(level.directory.Get());
    if (!info) return info.error();
    level.identity = {info->st_dev, info->st_ino};
    level.position = lseek(level.directory.Get(), 0, SEEK_CUR);
    level.directory = Descriptor();
    return Result();
}

Result DirectoryStack::Reopen(Level& level, const Descriptor& below) {
    auto directory = OpenDirectoryItself(below.Get(), "..");
    if (!directory) return directory.error();
    const auto info = StatOf(directory->Get());
    if (!info) return info.error();
    if (std::pair(info->st_dev, info->st_ino) != level.identity) return Result(ESTALE);
    lseek(directory->Get(), level.position, SEEK_SET);
    level.directory = std::move(*directory);
    return Result();
}

}  // namespace corekit
