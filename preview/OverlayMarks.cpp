// Reads the marks of an overlay file system.
#include "preview/OverlayMarks.h"

#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "preview/FileState.h"

namespace Zorvane::AgentInstaller::Preview {

std::optional<std::string> MarkOf(const std::string& path, const std::string& name) {
    auto mark = AttributeOf(path, "trusted." + name);
    return mark ? mark : AttributeOf(path, "user." + name);
}

std::string Joined(std::string directory, const std::string& name) {
    directory += '/';
    return directory += name;
}

std::set<std::string> NamesIn(const std::string& directory) {
    std::set<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
    if (!stream) return names;
    while (const dirent* entry = readdir(stream.get())) {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && !name.starts_with(kTakenAway)) names.insert(name);
    }
    return names;
}

bool IsWhiteout(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISCHR(info.st_mode) && info.st_rdev == makedev(0, 0);
}

Before Below(const Before& directory, const std::string& name) {
    return directory ? Before(Joined(*directory, name)) : std::nullopt;
}

Before SourceOf(const Layer& layer, const std::string& path, const Before& before) {
    const auto redirect = MarkOf(layer.upper + path, kRedirect);
    if (!redirect || redirect->empty()) return std::nullopt;
    if (redirect->front() == '/') return redirect == before ? std::nullopt : redirect;
    const std::string beside = before ? ParentOf(*before) : ParentOf(path);
    const Before source = (beside == "/" ? "" : beside) + "/" + *redirect;
    return source == before ? std::nullopt : source;
}

std::string HostPath(const Layer& layer, const std::string& path) {
    if (layer.point == "/") return path.empty() ? "/" : path;
    return layer.point + path;
}

}  // namespace Zorvane::AgentInstaller::Preview
