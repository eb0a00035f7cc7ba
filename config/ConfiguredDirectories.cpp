// The directories and files that client.conf names: their keys in order, and what is done with each.
#include "config/ConfiguredDirectories.h"

#include <algorithm>

#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Text.h"
#include "run/Keys.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::Result;
using corekit::String;
namespace Access = corekit::Access;

namespace {

constexpr ConfKey kNamedPaths[] = {
    Key::kInstallDir, Key::kEventQueueDir, Key::kTaskDir,     Key::kSwdDir, Key::kPackageDir,
    Key::kVar,        Key::kGuidFile,      Key::kDebugOutput, Key::kCAInfo, Key::kCAPath,
};

constexpr ConfKey kData[] = {
    Key::kEventQueueDir, Key::kTaskDir,  Key::kSwdDir,      Key::kPackageDir,
    Key::kVar,           Key::kGuidFile, Key::kDebugOutput,
};

constexpr ConfKey kCleanedPaths[] = {
    Key::kInstallDir, Key::kBinDir, Key::kLibDir, Key::kEventQueueDir, Key::kTaskDir,     Key::kSwdDir,
    Key::kPackageDir, Key::kVar,    Key::kTmpDir, Key::kGuidFile,      Key::kDebugOutput,
};

Failure FailAbout(const wchar_t* text, const String& path, const Result& cause) {
    return FailBecause(String(text).Arg(Messages::Shown(path)), path, cause);
}

Failure FailToCreate(const String& path, const Result& cause) {
    return FailAbout(L"Error creating directory: %1", path, cause);
}

/// The outcome for a path at which something stands already.
Outcome<> CheckPresentDirectory(const String& path) {
    if (const Result writable = Access::CheckWritableDirectory(path); !writable)
        return FailAbout(L"Directory %1 specified in Configuration file, already exists but is not writable.",
                         path, writable);
    return {};
}

Outcome<> CheckCreatableDirectory(const String& path) {
    if (corekit::File::Exists(path)) return CheckPresentDirectory(path);
    if (const Result creatable = Access::CheckCreatableDirectory(path); !creatable)
        return FailToCreate(path, creatable);
    return {};
}

/// What the value of a key is.
enum class PathKind { Directory, FileInDirectory, InstallDirectory };
enum class IfMissing { Create, Fail };

struct DirectoryKey {
    ConfKey key;
    PathKind kind = PathKind::Directory;
    IfMissing ifMissing = IfMissing::Create;
};
constexpr DirectoryKey kDirectoryKeys[] = {
    {Key::kBinDir, PathKind::Directory, IfMissing::Fail},
    {Key::kTmpDir},
    {Key::kVar},
    {Key::kGuidFile, PathKind::FileInDirectory},
    {Key::kEventQueueDir},
    {Key::kTaskDir},
    {Key::kPackageDir},
    {Key::kSwdDir},
    {Key::kDebugOutput, PathKind::FileInDirectory},
    {Key::kInstallDir, PathKind::InstallDirectory},
};

/// Calls `create` with each directory that the run makes if it is missing, and only checks one that must be
/// there. Stops at the first failure.
Outcome<> ForEachDirectory(const corekit::IniFile& conf, Outcome<> (*create)(const String& path)) {
    for (const DirectoryKey& row : kDirectoryKeys) {
        String path = GetValue(conf, row.key);
        if (row.kind == PathKind::FileInDirectory) {
            if (path.IsEmpty()) continue;
            path = corekit::Path::GetDirectory(path);
        }
        if (row.kind == PathKind::InstallDirectory) path += L"/etc";
        const Outcome<> outcome =
            row.ifMissing == IfMissing::Fail ? CheckConfiguredDirectory(path) : create(path);
        if (!outcome) return outcome;
    }
    return {};
}

}  // namespace

String UsableDirectory(const String& value) {
    const String directory = value.TrimRight();
    if (!directory.StartsWith(L"/") || corekit::Path::IsMatch(directory, L"/")) return String();
    return corekit::Path::WithoutTrailingDots(directory) + L"/";
}

String ConfiguredDirectory(const IniFile& conf, const ConfKey& key) {
    return UsableDirectory(GetValue(conf, key));
}

std::vector<String> NamedPaths(const IniFile& conf) {
    std::vector<String> paths;
    const auto add = [&](const String& path) {
        if (!path.IsEmpty() && std::ranges::find(paths, path) == paths.end()) paths.push_back(path);
    };
    for (const ConfKey& key : kNamedPaths) add(GetValue(conf, key));
    const auto addIfThere = [&](const String& path) {
        if (path.StartsWith(L"/") && corekit::File::Exists(path)) add(path);
    };
    for (const String& value : conf.Values()) {
        addIfThere(value);
        corekit::StringTokenizer items(value, L";,: \t\"'");
        for (String item; items.GetToken(item);) addIfThere(item);
    }
    return paths;
}

std::vector<String> CleanedPaths(const IniFile& conf) {
    std::vector<String> paths;
    for (const ConfKey& key : kCleanedPaths) {
        const String path = GetValue(conf, key);
        const bool isNew = std::ranges::find(paths, path) == paths.end();
        if (path.StartsWith(L"/") && isNew) paths.push_back(path);
    }
    return paths;
}

void DeclareData(const IniFile& conf) {
    for (const ConfKey& key : kData) {
        const String path = GetValue(conf, key);
        if (path.StartsWith(L"/")) corekit::DeclareData(path);
    }
}

std::vector<String> NamedWithin(const IniFile& conf, const String& place) {
    const corekit::Path::AncestorChain within(place);
    std::vector<String> paths = NamedPaths(conf);
    std::erase_if(paths,
                  [&](const String& path) { return !corekit::Path::AncestorChain(path).IsWithin(within); });
    return paths;
}

Outcome<> CreateConfiguredDirectory(const String& path) {
    if (corekit::File::Exists(path)) return CheckPresentDirectory(path);
    Messages::Say(L"Creating directory: " + Messages::ShownAscii(path) + L"  Result: ");
    const Result creatable = Access::CheckCreatableDirectory(path);
    const Result created = creatable ? corekit::Dir::CreateR(path) : creatable;
    Messages::Say(created ? L"OK\n" : L"FAILED\n");
    if (!created) return FailToCreate(path, created);
    return {};
}

Outcome<> CheckConfiguredDirectory(const String& path) {
    if (const Result writable = Access::CheckWritableDirectory(path); !writable)
        return FailAbout(L"Directory %1 specified in Configuration file, must exist and be writable.", path,
                         writable);
    return {};
}

Outcome<> PrepareConfiguredDirectories(const corekit::IniFile& conf) {
    return ForEachDirectory(conf, CreateConfiguredDirectory);
}

Outcome<> CheckConfiguredDirectories(const corekit::IniFile& conf) {
    return ForEachDirectory(conf, CheckCreatableDirectory);
}

}  // namespace Zorvane::AgentInstaller
