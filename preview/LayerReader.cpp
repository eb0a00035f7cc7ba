// Asks the system for entries, and keeps the first failure.
#include "preview/LayerReader.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/sysmacros.h>

#include "corekit/os/SystemCall.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Result;

namespace {

/// Calls `visit` for each entry of a directory.
template <typename Visit>
Result ForEachEntry(const std::string& directory, Visit&& visit) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) return Result::FromErrno();
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(stream.get());
        if (entry == nullptr) return Result(errno);
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") visit(*entry);
    }
}

}  // namespace

std::string Joined(std::string directory, const std::string& name) {
    directory += '/';
    return directory += name;
}

Before Below(const Before& directory, const std::string& name) {
    return directory ? Before(Joined(*directory, name)) : std::nullopt;
}

void LayerReader::Note(const Result& result, const std::string& path) {
    if (m_failure && !IsNotFound(result)) m_failure = result.About(corekit::String::FromUtf8(path));
}

std::optional<FileState> LayerReader::StateOf(const std::string& path) {
    auto state = ReadState(path);
    if (state) return std::move(*state);
    Note(state.error(), path);
    return std::nullopt;
}

std::optional<struct stat> LayerReader::StatOf(const std::string& path) {
    const auto info = corekit::StatOf(AT_FDCWD, path);
    if (info) return *info;
    Note(info.error(), path);
    return std::nullopt;
}

std::set<std::string> LayerReader::NamesIn(const std::string& directory) {
    std::set<std::string> names;
    Note(ForEachEntry(directory,
                      [&](const dirent& entry) {
                          const std::string name = entry.d_name;
                          if (!name.starts_with(kTakenAway)) names.insert(name);
                      }),
         directory);
    return names;
}

std::uint64_t LayerReader::CountEntriesBut(const std::set<std::string>& paths, const std::string& directory) {
    std::uint64_t count = 0;
    const auto countEntry = [&](const dirent& entry) {
        const bool mayHoldMore = entry.d_type == DT_DIR || entry.d_type == DT_UNKNOWN;
        if (!mayHoldMore && paths.empty()) {
            ++count;
            return;
        }
        const std::string path = Joined(directory, entry.d_name);
        if (paths.contains(path)) return;
        ++count;
        const auto info = mayHoldMore ? StatOf(path) : std::nullopt;
        if (info && S_ISDIR(info->st_mode)) count += CountEntriesBut(paths, path);
    };
    Note(ForEachEntry(directory, countEntry), directory);
    return count;
}

bool LayerReader::IsSameContent(const FileState& left, const std::string& leftPath, const FileState& right,
                                const std::string& rightPath) {
    const auto isSame = Preview::IsSameContent(left, leftPath, right, rightPath);
    if (!isSame) Note(isSame.error(), leftPath);
    return isSame.value_or(false);
}

std::optional<std::string> LayerReader::MarkOf(const std::string& path, const std::string& name) {
    for (const char* kind : {"trusted.", "user."}) {
        const auto mark = ReadAttribute(path, kind + name);
        if (mark) return *mark;
        const int code = mark.error().Code();
        if (code != ENODATA && code != ENOTSUP) Note(mark.error(), path);
    }
    return std::nullopt;
}

Before LayerReader::SourceOf(const std::string& path, const Before& before) {
    const auto redirect = MarkOf(m_layer.upper + path, kRedirect);
    if (!redirect || redirect->empty()) return std::nullopt;
    if (redirect->front() == '/') return redirect == before ? std::nullopt : redirect;
    const std::string beside = before ? ParentOf(*before) : ParentOf(path);
    const Before source = (beside == "/" ? "" : beside) + "/" + *redirect;
    return source == before ? std::nullopt : source;
}

std::string LayerReader::HostPath(const std::string& path) const {
    if (m_layer.point == "/") return path.empty() ? "/" : path;
    return m_layer.point + path;
}

bool IsWhiteout(const struct stat& info) {
    return S_ISCHR(info.st_mode) && info.st_rdev == makedev(0, 0);
}

}  // namespace Zorvane::AgentInstaller::Preview
