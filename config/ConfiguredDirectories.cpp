// The directories that client.conf names: their keys in order, and what is done with each.
#include "config/ConfiguredDirectories.h"

#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Keys.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;
namespace Access = corekit::Access;

namespace {

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
enum class ValueKind { Directory, FileInDirectory, InstallDirectory };
enum class IfMissing { Create, Fail };

struct DirectoryKey {
    ConfKey key;
    ValueKind kind = ValueKind::Directory;
    IfMissing ifMissing = IfMissing::Create;
};
constexpr DirectoryKey kDirectoryKeys[] = {
    {Key::kBinDir, ValueKind::Directory, IfMissing::Fail},
    {Key::kTmpDir},
    {Key::kVar},
    {Key::kGuidFile, ValueKind::FileInDirectory},
    {Key::kEventQueueDir},
    {Key::kTaskDir},
    {Key::kPackageDir},
    {Key::kSwdDir},
    {Key::kDebugOutput, ValueKind::FileInDirectory},
    {Key::kInstallDir, ValueKind::InstallDirectory},
};

/// Calls `create` with each directory that the run has to make; one that must be there is only checked.
Outcome<> ForEachDirectory(const corekit::IniFile& conf, Outcome<> (*create)(const String& path)) {
    for (const DirectoryKey& row : kDirectoryKeys) {
        String path = GetValue(conf, row.key);
        if (row.kind == ValueKind::FileInDirectory) {
            if (path.IsEmpty()) continue;
            path = corekit::Path::GetDirectory(path);
        }
        if (row.kind == ValueKind::InstallDirectory) path += L"/etc";
        const Outcome<> outcome =
            row.ifMissing == IfMissing::Fail ? CheckConfiguredDirectory(path) : create(path);
        if (!outcome) return outcome;
    }
    return {};
}

}  // namespace

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
