// Reads the configuration of the installed agent, and looks for its service and its process.
#include "status/Facts.h"

#include "agents/AgentDetection.h"
#include "agents/AgentVersion.h"
#include "apply/Recovery.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/Sys.h"
#include "deploykit/ServiceScript.h"
#include "deploykit/SystemdUnit.h"
#include "integration/AgentProcess.h"
#include "run/Keys.h"
#include "run/Marks.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller::Status {

using corekit::IniFile;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;

namespace {

bool HasConfiguration(const String& installDir) {
    return !installDir.IsEmpty() && (File::Exists(installDir + Names::kClientConf) ||
                                     FindUnfinishedRun(installDir) != Unfinished::Nothing);
}

String TextOf(const corekit::Version& version) {
    return String::FromInt(version.Major()) + L"." + String::FromInt(version.Minor()) + L"." +
           String::FromInt(version.Build());
}

Boot NotKnown(const corekit::Result& failure) {
    Boot boot;
    boot.unreadable = failure.Path() + L": " + GetErrorMsg(failure);
    return boot;
}

Boot FindBoot(const IniFile& conf) {
    Boot boot;
    for (int level = 0; level <= 6; ++level) {
        const auto isStarted =
            deploykit::RunLevelLinks::IsStartedIn(Names::kServiceName, static_cast<wchar_t>(L'0' + level));
        if (!isStarted) return NotKnown(isStarted.error());
        if (*isStarted) boot.levels.push_back(level);
    }
    const bool isByLinks = !boot.levels.empty();
    const auto isEnabled = deploykit::SystemdUnit::IsEnabled(Names::kServiceName);
    if (!isEnabled) return NotKnown(isEnabled.error());
    if (*isEnabled) {
        boot.by.push_back(L"systemd");
        if (!isByLinks) {
            for (const wchar_t digit : SplitRunLevels(GetValue(conf, Key::kStartLevels)).startDigits)
                boot.levels.push_back(digit - L'0');
        }
    }
    if (isByLinks) boot.by.push_back(L"links");
    return boot;
}

/// True when both names are of one directory; a link to it is another name.
bool IsSamePlace(const String& one, const String& other) {
    const auto left = Path::Canonicalise(one);
    const auto right = Path::Canonicalise(other);
    return left && right && *left == *right;
}

}  // namespace

String FindInstallDir() {
    const String named = corekit::Env::Get(L"QDNCLIENT_CONFIG_FILE").value_or(String());
    for (const String& directory : {named.WithoutSuffix(Names::kClientConf).value_or(String()),
                                    DirOfRunningProgram(), String(Names::kUsualInstallDir)}) {
        if (HasConfiguration(directory)) return directory;
    }
    const String ofPackage = CreateCurrentAgent()->InstallDir();
    return HasConfiguration(ofPackage) ? ofPackage : String(Names::kUsualInstallDir);
}

Facts GatherFacts(const String& installDir) {
    Facts facts;
    facts.directory = installDir;
    facts.process = FindAgentProcess(installDir);
    if (!HasConfiguration(installDir)) return facts;
    facts.isInstalled = true;
    facts.isUnfinished = FindUnfinishedRun(installDir) != Unfinished::Nothing || Apply::IsApplyUnfinished();
    facts.clientConf = installDir + Names::kClientConf;
    const auto agent = AgentFromBaseDir(installDir);
    const auto bytes = agent ? agent->ReadConf() : File::ReadBytes(facts.clientConf);
    const IniFile conf(facts.clientConf, bytes.value_or(std::string()), IniFile::KeyCase::FallBack);
    facts.boot = FindBoot(conf);
    if (!bytes) {
        if (!IsNotFound(bytes.error())) facts.unreadable = GetErrorMsg(bytes.error());
        return facts;
    }
    if (agent) facts.label = agent->VersionLabel();
    facts.version = TextOf(ReadAgentVersion(conf));
    const String configured = Path::WithoutTrailingSlashes(GetValue(conf, Key::kInstallDir));
    if (IsSamePlace(configured, installDir)) {
        facts.directory = configured;
        facts.clientConf = configured + Names::kClientConf;
    }
    const String server = ConfiguredServer(conf);
    if (!server.IsEmpty()) facts.server = ServerUrl(server);
    facts.identifierFile = GetValue(conf, Key::kGuidFile);
    if (!facts.identifierFile.IsEmpty() && !facts.identifierFile.StartsWith(L"/"))
        facts.identifierFile = Path::Join(installDir, facts.identifierFile);
    facts.hasIdentifier = !facts.identifierFile.IsEmpty() && File::Exists(facts.identifierFile);
    return facts;
}

}  // namespace Zorvane::AgentInstaller::Status
