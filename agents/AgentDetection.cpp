// The places where an installed agent's configuration is looked for, and which file decides.
#include "agents/AgentDetection.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <utility>
#include <vector>

#include "agents/Agent60.h"
#include "agents/AgentVersion.h"
#include "agents/carry/DataMove.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/Sys.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "run/Args.h"
#include "run/Keys.h"
#include "run/Marks.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

constexpr const wchar_t* kConfigVariable = L"QDNCLIENT_CONFIG_FILE";
constexpr const wchar_t* kPackageQuery =
    L" -q -l qdn-ksclt |grep client.proto | sed -e 's/.etc.client.proto//' -e 's,//,/,g'";
constexpr const wchar_t* kNewLabel = L"6.0SP2";

/// A configuration file that may describe the installed agent.
struct Candidate {
    String path;
    ChosenBy chosenBy;
};

/// Where the package manager has the agent's package; empty when it has none or is not to be asked.
String QueryPackageDir() {
    if (Args::bNoSearch) return String();
    const String rpm = corekit::Program::Locate(L"rpm");
    return rpm.IsEmpty() ? String() : RunShellCommand(corekit::Text::ShellWord(rpm) + kPackageQuery);
}

/// The file that describes the agent of an install directory: client.conf, or its copy while an upgrade is
/// unfinished. Empty while a first configuration is unfinished, and without an install directory.
String ConfOf(const String& installDir) {
    if (installDir.IsEmpty()) return String();
    switch (FindUnfinishedRun(installDir)) {
        case Unfinished::FirstConfiguration:
            return String();
        case Unfinished::Upgrade:
            return installDir + Names::kSavedClientConf;
        default:
            return installDir + Names::kClientConf;
    }
}

/// The same for the path of a client.conf, which need not lie in an install directory.
String ConfAt(const String& path) {
    const auto installDir = path.WithoutSuffix(Names::kClientConf);
    return installDir ? ConfOf(*installDir) : path;
}

std::vector<Candidate> Candidates(const String& packageDir, const std::vector<String>& moreDirs) {
    std::vector<Candidate> candidates;
    // The package usually lies at the usual place: no file is to be warned of twice.
    const auto add = [&](const String& path, ChosenBy chosenBy) {
        const bool isNew = std::ranges::find(candidates, path, &Candidate::path) == candidates.end();
        if (!path.IsEmpty() && isNew) candidates.push_back({path, chosenBy});
    };
    add(ConfAt(corekit::Env::Get(kConfigVariable).value_or(String())), ChosenBy::Administrator);
    for (const String& path :
         {ConfOf(Names::kUsualInstallDir), String(Names::kMigrateClientConf),
          String(Names::kReinstallClientConf), String(Names::kInventoryConf), ConfOf(packageDir)})
        add(path, ChosenBy::Program);
    for (const String& directory : moreDirs) {
        if (FindUnfinishedRun(directory) == Unfinished::Upgrade)
            add(ConfOf(directory), ChosenBy::Administrator);
    }
    return candidates;
}

/// The candidate, open, if it decides which agent is installed: a file that may be used, or one that cannot
/// be read and that only root can have put there. Warns of a file that does not decide.
std::optional<TrustedFile> Open(const Candidate& candidate) {
    TrustedFile file(candidate.path, candidate.chosenBy);
    if (file.IsAbsent()) return std::nullopt;
    const bool isRootsSecret = file.IsUnreadable() && !file.IsExposed();
    const bool decides = isRootsSecret || file.MayBeUsed();
    if (!decides) file.WarnNotUsed(file.WhyNot());
    return decides ? std::optional(std::move(file)) : std::nullopt;
}

/// The agent of the first candidate that decides, recognised or not.
std::unique_ptr<Agent> AgentFromFirst(const std::vector<Candidate>& candidates) {
    for (const Candidate& candidate : candidates) {
        if (!corekit::File::Exists(candidate.path)) continue;
        const auto isKept = IsKeptForUnmovedData(candidate.path);
        if (!isKept) return std::make_unique<UnreadableAgent>(candidate.path, isKept.error());
        if (*isKept) continue;
        if (const auto file = Open(candidate)) return AgentFromConfigFile(*file);
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<Agent> FindInstalledAgent(const std::vector<String>& moreDirs) {
    const String packageDir = QueryPackageDir();
    if (auto agent = AgentFromFirst(Candidates(packageDir, moreDirs))) return agent;
    if (packageDir.IsEmpty()) return nullptr;
    return std::make_unique<UnsupportedAgent>(String(), packageDir);
}

std::unique_ptr<Agent> AgentOfUnfinishedUpgrade(const String& installDir) {
    if (FindUnfinishedRun(installDir) != Unfinished::Upgrade) return nullptr;
    return AgentFromFirst({{ConfOf(installDir), ChosenBy::Administrator}});
}

std::unique_ptr<Agent> CreateCurrentAgent() {
    return std::make_unique<CurrentAgent>(kNewLabel, QueryPackageDir());
}

std::unique_ptr<Agent> AgentFromBaseDir(const String& baseDir) {
    if (baseDir.IsEmpty()) return nullptr;
    std::vector<Candidate> candidates = {{baseDir + Names::kClientConf, ChosenBy::Administrator}};
    if (FindUnfinishedRun(baseDir) == Unfinished::Upgrade)
        candidates.push_back({baseDir + Names::kSavedClientConf, ChosenBy::Administrator});
    return AgentFromFirst(candidates);
}

std::unique_ptr<Agent> AgentFromConfigFile(const TrustedFile& file) {
    const auto bytes = file.Read();
    const auto unreadable = [&](const corekit::Result& why) {
        return std::make_unique<UnreadableAgent>(file.Path(), why);
    };
    // A file that cannot be read now, or is too large, must not pass for no agent.
    const bool isThere = IsTransient(bytes.Outcome()) || bytes == corekit::Result(EFBIG);
    if (isThere) return unreadable(bytes.error());
    if (!bytes) return nullptr;
    const IniFile conf(file.Path(), *bytes, IniFile::KeyCase::FallBack);
    if (!conf.ReadResult()) return unreadable(conf.ReadResult());
    auto agent = CreateAgentForVersion(ReadAgentVersion(conf), GetValue(conf, Key::kInstallDir));
    if (agent) agent->SetConf(file, *bytes);
    return agent;
}

}  // namespace Zorvane::AgentInstaller
