// Start and stop links of services in the directories of the run levels.
#include <algorithm>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "deploykit/ServiceScript.h"

namespace deploykit::RunLevelLinks {

using corekit::Dir;
using corekit::Expected;
using corekit::FileInfo;
using corekit::Result;
using corekit::String;

namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

constexpr const wchar_t* kParents[] = {L"/etc", L"/etc/rc.d"};

constexpr const wchar_t* kStartLinks = L"S[0-9][0-9]";
constexpr const wchar_t* kStopLinks = L"K[0-9][0-9]";
constexpr const wchar_t* kAllLinks = L"[SK][0-9][0-9]";

constexpr const wchar_t* kStartPrefix = L"S99";
constexpr const wchar_t* kStopPrefix = L"K01";

String DirectoryBelow(const String& parent, wchar_t level) {
    return parent + L"/rc" + std::wstring_view(&level, 1) + L".d";
}

/// The directory of one level in the first place that has it; "" when none has.
String LevelDirectory(wchar_t level) {
    for (const wchar_t* parent : kParents) {
        String directory = DirectoryBelow(parent, level);
        if (File::IsDirectory(directory)) return directory;
    }
    return String();
}

/// Init runs a link by its name: only a link right there counts, wherever it leads.
bool HasLink(const String& directory, const String& links, const String& name) {
    return !Dir::Entries(directory, links + name).empty();
}

/// Relative as the host's own tools make them, unless its directories of levels lie elsewhere.
String LinkTarget(const String& directory, const String& name) {
    const String relative = L"../init.d/" + name;
    return File::Exists(Path::Join(directory, relative)) ? relative : ServiceScriptPath(name);
}

Result LinkIn(const String& levels, const String& links, const String& prefix, const String& name) {
    Result result;
    for (const wchar_t level : levels) {
        const String directory = LevelDirectory(level);
        if (directory.IsEmpty() || HasLink(directory, links, name)) continue;
        const String link = Path::Join(directory, prefix + name);
        result = Worse(result, File::SymLink(LinkTarget(directory, name), link));
    }
    return result;
}

/// Adds all links of the service. Fails when a directory cannot be read, for a reason that may pass.
Result FindLinks(const String& name, std::vector<FileInfo>& links) {
    Result result;
    const auto read = [&result](const String& directory, const String& pattern,
                                std::vector<FileInfo>& entries) {
        const Result reading = Dir::ReadEntries(directory, pattern, entries);
        if (IsTransient(reading)) result = Worse(result, reading);
    };
    for (const wchar_t* parent : kParents) {
        std::vector<FileInfo> levels;
        read(parent, L"rc?.d", levels);
        for (const FileInfo& level : levels) read(level.path, kAllLinks + name, links);
    }
    std::erase_if(links, [](const FileInfo& link) { return link.isDirectory; });
    return result;
}

}  // namespace

Expected<bool> IsStartedIn(const String& name, wchar_t level) {
    for (const wchar_t* parent : kParents) {
        std::vector<FileInfo> links;
        const Result read = Dir::ReadEntries(DirectoryBelow(parent, level), kStartLinks + name, links);
        if (read) return !links.empty();
        if (!IsNotFound(read)) return read;
    }
    return false;
}

bool AreStartedIn(const String& name, const String& levels) {
    return std::ranges::all_of(levels,
                               [&](wchar_t level) { return IsStartedIn(name, level).value_or(false); });
}

Result Make(const String& name, const ServiceLevels& levels) {
    return Worse(LinkIn(levels.start, kStartLinks, kStartPrefix, name),
                 LinkIn(levels.stop, kStopLinks, kStopPrefix, name));
}

void MakeDirectories(const ServiceLevels& levels) {
    const String parent = File::IsDirectory(L"/etc/rc.d") ? L"/etc/rc.d" : L"/etc";
    for (const wchar_t level : levels.start + levels.stop) {
        // Without the directory its link cannot be made, which is the failure.
        if (LevelDirectory(level).IsEmpty()) Forgive(Dir::CreateR(DirectoryBelow(parent, level)));
    }
}

corekit::Expected<bool> Remove(const String& name) {
    std::vector<FileInfo> links;
    Result result = FindLinks(name, links);
    for (const FileInfo& link : links)
        result = Worse(result, File::Remove(link.path, corekit::HostDirectory::Meant));
    if (!result) return result;
    return !links.empty();
}

}  // namespace deploykit::RunLevelLinks
