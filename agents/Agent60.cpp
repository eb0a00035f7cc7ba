// How an agent of version 6.0 is read, moved and taken away.
#include "agents/Agent60.h"

#include "agents/carry/DataMove.h"
#include "agents/carry/InstalledSettings.h"
#include "agents/carry/JobStore.h"
#include "agents/carry/PackageStore.h"
#include "agents/carry/UnmovedData.h"
#include "agents/removal/FileRemoval60.h"
#include "agents/removal/ProgramLinkRemoval.h"
#include "agents/removal/ServiceRegistration.h"
#include "config/SystemProbes.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::IniFile;
using corekit::String;

namespace {

/// The failure of every operation that takes a client.conf where none is known. The caller has a text for it.
Failure FailWithoutConf() {
    return Fail(String());
}

}  // namespace

Outcome<std::unique_ptr<Settings>> Agent60::LoadSettings() {
    return LoadInstalledSettings(OldConf(), Generation::Agent60);
}

Outcome<> Agent60::RemoveSystemIntegration() {
    if (ConfPath().IsEmpty()) return FailWithoutConf();
    const IniFile oldConf = OldConf();
    // Both keep what stays in m_left, which is told.
    Forgive(RemoveProgramLinks(oldConf));
    Forgive(RemoveRunLevelScripts(oldConf));
    FlushRemovals(GetValue(oldConf, Key::kBinDir));
    return {};
}

Outcome<> Agent60::RemoveFiles(const String& newConfPath) {
    if (ConfPath().IsEmpty()) return FailWithoutConf();
    if (!newConfPath.IsEmpty()) return RelocateFiles(newConfPath);
    const IniFile oldConf = OldConf();
    // While client.conf is there: a next run finds them by it when this one is interrupted. What stays is in
    // m_left, which is told.
    Forgive(RemoveRotatedDebugLogs(oldConf));
    RemoveInstalledFiles60(oldConf, m_left);
    return {};
}

Outcome<> Agent60::RelocateFiles(const String& newConfPath) {
    if (ConfPath().IsEmpty()) return FailWithoutConf();
    const IniFile oldConf = OldConf();
    const IniFile newConf(newConfPath);
    // Without both nobody knows where the data is, and where it goes.
    for (const IniFile* conf : {&oldConf, &newConf}) {
        if (!conf->ReadResult())
            return FailBecause(Texts::kUnreadableConfiguration, conf->FileName(), conf->ReadResult());
    }
    const DataMove moved = MoveData(oldConf, newConf);
    Forgive(ConvertPackageStore(newConf));  // each record that stays as it was is told there
    if (moved == DataMove::Partial) KeepConfOfUnmovedData(oldConf, newConf);
    RemoveOldInstallation(oldConf, newConf, moved);
    // What stays is in m_left, which is told.
    Forgive(RemoveRotatedClientLogs(oldConf, GetValue(newConf, Key::kInstallDir)));
    m_left.Tell();
    return {};
}

bool Agent60::RemoveProgramLinks(const IniFile& oldConf) {
    m_left.Add(RemoveProgramLinks60(GetValue(oldConf, Key::kInstallDir), GetValue(oldConf, Key::kBinDir)));
    return true;
}

bool Agent60::RemoveRunLevelScripts(const IniFile&) {
    m_left.Add(RemoveServiceRegistration60(DetectDistribution()));
    Messages::Say(L"  Removing RC init links and scripts\n");
    return true;
}

bool Agent60::ConvertPackageStore(const IniFile& newConf) {
    ConvertJobs(GetValue(newConf, Key::kSwdDir));
    ConvertPackages(GetValue(newConf, Key::kPackageDir));
    return true;
}

bool Agent60::RemoveRotatedDebugLogs(const IniFile&) {
    return true;
}

bool Agent60::RemoveRotatedClientLogs(const IniFile&, const String&) {
    return true;
}

}  // namespace Zorvane::AgentInstaller
