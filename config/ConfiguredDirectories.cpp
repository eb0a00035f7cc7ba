// The directories that client.conf names: their keys in order, and what is done with each.
#include "config/ConfiguredDirectories.h"

#include "corekit/Dir.h"
#include "corekit/File.h"
#include "corekit/IniFile.h"
#include "corekit/Path.h"
#include "run/Error.h"
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

// How the value of a key becomes a directory that is made or checked.
int Check(const String& value) {
    return CheckConfiguredDirectory(value);
}
int Create(const String& value) {
    return CreateConfiguredDirectory(value);
}
int CreateForFile(const String& value) {
    return value.IsEmpty() ? 0 : CreateConfiguredDirectory(corekit::Path::GetDirectory(value));
}
int CreateEtc(const String& value) {
    return CreateConfiguredDirectory(value + L"/etc");
}

struct DirectoryKey {
    const wchar_t* key;
    int (*prepare)(const String& value);
};
constexpr DirectoryKey kDirectoryKeys[] = {
    {L"bindir", Check},
    {L"tmpdir", Create},
    {L"var", Create},
    {L"guid_guid_file", CreateForFile},
    {L"event_queue_dir", Create},
    {L"task_storage_path", Create},
    {L"package_storage_path", Create},
    {L"swd_storage_path", Create},
    {L"debug_output", CreateForFile},
    {L"installdir", CreateEtc},
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

bool PrepareConfiguredDirectories(const String& confPath) {
    const corekit::IniFile conf(confPath);
    for (const DirectoryKey& row : kDirectoryKeys) {
        if (row.prepare(conf.GetValue(Names::kConfiguration, row.key)) != 0) return false;
    }
    return true;
}

}  // namespace Zorvane::AgentInstaller
