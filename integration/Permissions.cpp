// Owners and modes of the installation.
#include <map>
#include <span>
#include <sys/stat.h>
#include <sys/types.h>
#include <vector>

#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Text.h"
#include "deploykit/RCScriptBackend.h"
#include "integration/SetupSequence.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::FileInfo;
using corekit::Result;
using corekit::String;

namespace {

constexpr uid_t kRootUser = 0;
constexpr gid_t kRootGroup = 0;

constexpr mode_t kForAll = 0555;
constexpr mode_t kForRoot = 0544;

/// The mode of a file or directory, whatever the files of its directory got before.
struct FileMode {
    const wchar_t* file;  // below the install directory
    mode_t mode;
};
constexpr FileMode kPrograms[] = {
    {L"/bin/qdn-configure", kForRoot},     {L"/bin/qdn-configure.bin", kForRoot},
    {L"/bin/rcscript", kForRoot},          {L"/bin/qdn-uninstall", kForRoot},
    {L"/bin/qdn-pluginmanager", kForRoot}, {L"/bin/qdn-pluginmanager.bin", kForRoot},
};
constexpr const wchar_t* kIdentifier = L"/etc/host.GUID";
constexpr FileMode kConfiguration[] = {
    {L"/etc/client.conf", 0644},
    {kIdentifier, 0644},
    {L"/etc/config.xml", 0644},
};
// A directory may be a link of the operator's, which is followed.
constexpr FileMode kDirectories[] = {{L"/bin", 0755}, {L"/etc", 0755}, {L"/lib", 0755}, {L"", 0755}};

/// The machine's identifier may have a second name, whose mode is somebody else's business.
bool IsSharedIdentifier(const String& path) {
    if (!path.EndsWith(kIdentifier)) return false;
    const auto place = corekit::ParentDirectory::Of(path);
    const auto info = place ? corekit::StatOf(place->Fd(), place->name) : place.error();
    return info && S_ISREG(info->st_mode) && info->st_nlink != 1;
}

/// Sets owners and modes, and remembers what keeps its own.
class PermissionSetter {
  public:
    void SetFiles(const String& directory, mode_t mode) {
        std::vector<FileInfo> files;
        Note(directory, corekit::Dir::Scan(directory, String(),
                                           [&](const FileInfo& info) { return SkipDirs(info, files); }));
        for (const FileInfo& file : files) {
            if (!KeepsItsOwn(file.path))
                Note(file.path, corekit::File::Chowngrp(file.path, kRootUser, kRootGroup, mode));
        }
    }

    void SetModes(const String& installDir, std::span<const FileMode> table) {
        for (const FileMode& row : table) SetMode(installDir + row.file, row.mode);
    }

    void SetMode(const String& path, mode_t mode) {
        if (!KeepsItsOwn(path)) Note(path, corekit::File::Chmod(path, mode));
    }

    void Tell() const {
        for (const auto& [path, why] : m_kept)
            Messages::Warn(L"WARNING! " + Messages::Shown(path) + L" keeps its owner and mode: " +
                           Messages::Shown(why) + L".\n");
    }

  private:
    bool KeepsItsOwn(const String& path) {
        const bool isShared = IsSharedIdentifier(path);
        if (isShared) m_kept.try_emplace(path, L"it has other names");
        return isShared;
    }

    /// Ignores a missing path, and a link, whose target is not the installation's.
    void Note(const String& path, const Result& outcome) {
        if (outcome || IsNotFound(outcome)) return;
        m_kept.try_emplace(path, GetErrorMsg(outcome));
    }

    std::map<String, String, corekit::Ltstr> m_kept;  // why, by path
};

/// Where the agent starts with the system, its control script is a link to the service script.
void SetModeOfControlScript(const String& installDir, PermissionSetter& setter) {
    const String service = deploykit::ItemInstallers::RCScriptBackend::GetLocation(Names::kServiceName);
    if (corekit::Path::IsMatch(installDir + Names::kControlScript, service))
        setter.SetMode(service, kForRoot);
}

}  // namespace

bool SkipDirs(const FileInfo& info, std::vector<FileInfo>& list) {
    if (!info.isDirectory) list.push_back(info);
    return true;
}

Outcome<> SetInstallPermissions(const SetupContext& context) {
    const String installDir = context.settings->Get(L"InstallDir");
    const bool allowNonRoot = corekit::Text::StrToBool(context.settings->Get(L"AllowNonRoot"));
    PermissionSetter setter;
    setter.SetFiles(installDir + L"/bin", allowNonRoot ? kForAll : kForRoot);
    setter.SetModes(installDir, kPrograms);
    SetModeOfControlScript(installDir, setter);
    setter.SetFiles(installDir + L"/etc", 0444);
    setter.SetModes(installDir, kConfiguration);
    setter.SetFiles(installDir + L"/lib", kForAll);
    for (const FileMode& row : kDirectories)
        setter.SetMode(corekit::Path::Resolve(installDir + row.file), row.mode);
    setter.Tell();
    return {};
}

}  // namespace Zorvane::AgentInstaller
