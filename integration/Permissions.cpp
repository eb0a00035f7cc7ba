// Owners and modes of the installation: the tables and the walk over them.
#include <span>
#include <sys/types.h>
#include <vector>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Text.h"
#include "deploykit/RCScriptBackend.h"
#include "integration/Steps.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::FileInfo;
using corekit::Forgive;
using corekit::String;

namespace {

constexpr uid_t kRootUser = 0;
constexpr gid_t kRootGroup = 0;

constexpr mode_t kForAll = 0555;
constexpr mode_t kForRoot = 0544;

/// Modes that hold whatever the files of their directory got.
struct FileMode {
    const wchar_t* file;  // below the install directory
    mode_t mode;
};
constexpr FileMode kPrograms[] = {
    {L"/bin/qdn-configure", kForRoot},     {L"/bin/qdn-configure.bin", kForRoot},
    {L"/bin/rcscript", kForRoot},          {L"/bin/qdn-uninstall", kForRoot},
    {L"/bin/qdn-pluginmanager", kForRoot}, {L"/bin/qdn-pluginmanager.bin", kForRoot},
};
constexpr FileMode kConfiguration[] = {
    {L"/etc/client.conf", 0644},
    {L"/etc/host.GUID", 0644},
    {L"/etc/config.xml", 0644},
};
constexpr FileMode kDirectories[] = {{L"/bin", 0755}, {L"/etc", 0755}, {L"/lib", 0755}};

void SetFiles(const String& directory, mode_t mode) {
    std::vector<FileInfo> files;
    Forgive(
        corekit::Dir::Scan(directory, String(), [&](const FileInfo& info) { return SkipDirs(info, files); }));
    for (const FileInfo& file : files) {
        Forgive(corekit::File::Chowngrp(file.path, kRootUser, kRootGroup));
        Forgive(corekit::File::Chmod(file.path, mode));
    }
}

void SetModes(const String& installDir, std::span<const FileMode> table) {
    for (const FileMode& row : table) Forgive(corekit::File::Chmod(installDir + row.file, row.mode));
}

/// Where the agent starts with the system, its control script is a link to the service script.
void SetModeOfControlScript(const String& installDir) {
    const String service = deploykit::ItemInstallers::RCScriptBackend::GetLocation(Names::kServiceName);
    if (corekit::Path::IsMatch(installDir + Names::kControlScript, service))
        Forgive(corekit::File::Chmod(service, kForRoot));
}

}  // namespace

bool SkipDirs(const FileInfo& info, std::vector<FileInfo>& list) {
    if (!info.isDirectory) list.push_back(info);
    return true;
}

Outcome<> SetInstallPermissions(const SetupContext& context) {
    const String installDir = context.settings->Get(L"InstallDir");
    const bool allowNonRoot = corekit::Text::StrToBool(context.settings->Get(L"AllowNonRoot"));
    SetFiles(installDir + L"/bin", allowNonRoot ? kForAll : kForRoot);
    SetModes(installDir, kPrograms);
    SetModeOfControlScript(installDir);
    SetFiles(installDir + L"/etc", 0444);
    SetModes(installDir, kConfiguration);
    SetFiles(installDir + L"/lib", kForAll);
    SetModes(installDir, kDirectories);
    // The operator named it, and may have named a link.
    Forgive(corekit::File::Chmod(corekit::Path::Resolve(installDir), 0755));
    return {};
}

}  // namespace Zorvane::AgentInstaller
