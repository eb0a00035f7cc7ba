// Walks the upper layers for names.
#include "preview/Touched.h"

#include <algorithm>
#include <sys/stat.h>

#include "preview/LayerReader.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Result;

namespace {

class TouchedReader : private LayerReader {
  public:
    TouchedReader(const Layer& layer, TouchedNames& names) : LayerReader(layer), m_names(names) {}

    Result Read() {
        const auto before = StateOf(m_layer.lower);
        const auto now = StateOf(m_layer.upper);
        const bool isUntouched = before && now && IsSameAccess(*before, *now);
        if (!isUntouched || !NamesIn(m_layer.upper).empty()) Visit("", "");
        return FirstFailure();
    }

  private:
    void Add(const Before& before, Touch touch) {
        if (before) m_names.names.push_back({HostPath(*before), touch});
    }
    bool IsDirectoryBefore(const Before& before) {
        const auto state = before ? StateOf(m_layer.lower + *before) : std::nullopt;
        return state && state->type == FileType::Directory;
    }

    void Visit(const std::string& path, const Before& before);
    void VisitDirectory(const std::string& path, const Before& before);
    void Walk(const std::string& path, const Before& before);

    TouchedNames& m_names;
};

/// An entry of the upper layer; `before` is its path on the host, none where all that matters has been told.
void TouchedReader::Visit(const std::string& path, const Before& before) {
    const std::string upper = m_layer.upper + path;
    const auto info = StatOf(upper);
    if (!info) return;
    if (S_ISDIR(info->st_mode)) return VisitDirectory(path, before);
    const bool isCopied = MarkOf(upper, kOrigin).has_value() && !MarkOf(upper, kMetacopy);
    Add(before, S_ISREG(info->st_mode) && isCopied ? Touch::Edit : Touch::Replace);
}

void TouchedReader::VisitDirectory(const std::string& path, const Before& before) {
    if (const Before source = SourceOf(path, before)) {
        Add(before, Touch::Replace);
        m_names.moves.push_back({HostPath(*source), HostPath(path)});
        Add(source, Touch::Access);
        return Walk(path, source);
    }
    const bool isNew = MarkOf(m_layer.upper + path, kOpaque) == "y" || !IsDirectoryBefore(before);
    Add(before, isNew ? Touch::Replace : Touch::Access);
    Walk(path, isNew ? std::nullopt : before);
}

void TouchedReader::Walk(const std::string& path, const Before& before) {
    for (const std::string& name : NamesIn(m_layer.upper + path)) {
        const std::string child = Joined(path, name);
        Visit(child, Below(before, name));
    }
}

}  // namespace

bool IsNoEffect(const std::string& path) {
    // The lock is there only while the run is; rpm's database lies where the distribution has it.
    constexpr std::string_view kNone[] = {"/run/qdn-configure.lock",
                                          "/var/lock/qdn-configure.lock",
                                          "/run/lock/qdn-configure.lock",
                                          "/etc/qdn-configure.lock",
                                          "/var/lib/rpm",
                                          "/usr/lib/sysimage/rpm"};
    return (path + "/").find("/.rpmdb/") != std::string::npos ||
           std::ranges::any_of(kNone, [&](std::string_view none) { return IsAtOrBelow(path, none); });
}

corekit::Expected<TouchedNames> ReadTouched(const HostCopy& copy) {
    TouchedNames names;
    for (const Layer& layer : copy.Layers()) {
        if (const Result read = TouchedReader(layer, names).Read(); !read) return read;
    }
    std::erase_if(names.names, [](const Touched& name) { return IsNoEffect(name.path); });
    std::ranges::stable_sort(names.names, {}, &Touched::path);
    std::ranges::stable_sort(names.moves, {}, &MovedDirectory::from);
    return names;
}

}  // namespace Zorvane::AgentInstaller::Preview
