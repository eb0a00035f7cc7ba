// Reading directories and files from a client.conf.
#include "config/ConfiguredPaths.h"

#include <algorithm>
#include <string_view>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Text.h"
#include "run/Keys.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

constexpr ConfKey kNamedPaths[] = {
    Key::kInstallDir, Key::kEventQueueDir, Key::kTaskDir,     Key::kSwdDir, Key::kPackageDir,
    Key::kVar,        Key::kGuidFile,      Key::kDebugOutput, Key::kCAInfo, Key::kCAPath,
};

constexpr ConfKey kCleanedPaths[] = {
    Key::kInstallDir, Key::kBinDir, Key::kLibDir, Key::kEventQueueDir, Key::kTaskDir,     Key::kSwdDir,
    Key::kPackageDir, Key::kVar,    Key::kTmpDir, Key::kGuidFile,      Key::kDebugOutput,
};

/// Without the slashes and the "." at the end of a path: no directory can be removed by that name.
String WithoutDots(const String& path) {
    const std::wstring_view text = path.View();
    std::size_t last = text.find_last_not_of(L'/');
    while (text.substr(0, last + 1).ends_with(L"/.")) last = text.find_last_not_of(L'/', last - 1);
    return path.Left(last + 1);
}

}  // namespace

String UsableDirectory(const String& value) {
    const String directory = value.TrimRight();
    if (!directory.StartsWith(L"/") || corekit::Path::IsMatch(directory, L"/")) return String();
    return WithoutDots(directory) + L"/";
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

std::vector<String> NamedWithin(const IniFile& conf, const String& place) {
    const corekit::Path::AncestorChain within(place);
    std::vector<String> paths = NamedPaths(conf);
    std::erase_if(paths,
                  [&](const String& path) { return !corekit::Path::AncestorChain(path).IsWithin(within); });
    return paths;
}

}  // namespace Zorvane::AgentInstaller
