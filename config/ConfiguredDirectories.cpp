// The directories that client.conf names: their keys in order, and what is done with each.
#include "config/ConfiguredDirectories.h"

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Error.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace File = corekit::File;

namespace {

bool IsWritableDirectory(const String& path) {
    return File::IsDirectory(path) && File::IsWritable(path);
}

int FailAbout(const wchar_t* text, const String& path) {
    Error::Fail(String(text).Arg(Messages::Shown(path)));
    return 1;
}

int CreateForFile(const String& file) {
    return file.IsEmpty() ? 0 : CreateConfiguredDirectory(corekit::Path::GetDirectory(file));
}
int CreateEtcBelow(const String& installDir) {
    return CreateConfiguredDirectory(installDir + L"/etc");
}

/// A key, and what makes its value a directory that is ready: 0, or 1 with the error
/// text set.
struct DirectoryKey {
    ConfKey key;
    int (*prepare)(const String& value);
};
constexpr DirectoryKey kDirectoryKeys[] = {
    {Key::kBinDir, CheckConfiguredDirectory},
    {Key::kTmpDir, CreateConfiguredDirectory},
    {Key::kVar, CreateConfiguredDirectory},
    {Key::kGuidFile, CreateForFile},
    {Key::kEventQueueDir, CreateConfiguredDirectory},
    {Key::kTaskDir, CreateConfiguredDirectory},
    {Key::kPackageDir, CreateConfiguredDirectory},
    {Key::kSwdDir, CreateConfiguredDirectory},
    {Key::kDebugOutput, CreateForFile},
    {Key::kInstallDir, CreateEtcBelow},
};

}  // namespace

int CreateConfiguredDirectory(const String& path) {
    if (File::Exists(path)) {
        if (IsWritableDirectory(path)) return 0;
        return FailAbout(L"Directory %1 specified in Configuration file, already exists but is not writable.",
                         path);
    }
    Messages::Say(L"Creating directory: " + Messages::ShownAscii(path) + L"  Result: ");
    const bool created = corekit::Dir::CreateR(path).Ok();
    Messages::Say(created ? L"OK\n" : L"FAILED\n");
    return created ? 0 : FailAbout(L"Error creating directory: %1", path);
}

int CheckConfiguredDirectory(const String& path) {
    if (IsWritableDirectory(path)) return 0;
    return FailAbout(L"Directory %1 specified in Configuration file, must exist and be writable.", path);
}

bool PrepareConfiguredDirectories(const corekit::IniFile& conf) {
    for (const DirectoryKey& row : kDirectoryKeys) {
        if (row.prepare(GetValue(conf, row.key)) != 0) return false;
    }
    return true;
}

}  // namespace Zorvane::AgentInstaller
