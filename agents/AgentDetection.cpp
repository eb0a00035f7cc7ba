// Where an installed agent's configuration is looked for, and which version is which member of the family.
#include "agents/AgentDetection.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "agents/Agent56.h"
#include "agents/Agent60.h"
#include "agents/Agent60SP2.h"
#include "agents/Agent62.h"
#include "agents/CurrentAgent.h"
#include "agents/UnsupportedAgent.h"
#include "config/SystemProbes.h"
#include "corekit/Env.h"
#include "corekit/File.h"
#include "corekit/Program.h"
#include "corekit/Text.h"
#include "run/Args.h"
#include "run/Names.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
using corekit::Version;

namespace {

constexpr const wchar_t* kConfigVariable = L"QDNCLIENT_CONFIG_FILE";
constexpr const wchar_t* kInventoryConf = L"/etc/qdn-invsoln/master.cfg";
constexpr const wchar_t* kPackageQuery =
    L" -q -l qdn-ksclt |grep client.proto | sed -e 's/.etc.client.proto//' -e 's,//,/,g'";
constexpr const wchar_t* kNewLabel = L"6.0SP2";

constexpr const wchar_t* kUsualDir = L"/opt/zorvane/kell/ksagent";

// Where a configuration may lie beside what the environment and the package manager name, in this order.
constexpr const wchar_t* kKnownConfs[] = {
    L"/opt/zorvane/kell/ksagent/etc/client.conf",
    Names::kMigrateClientConf,
    Names::kReinstallClientConf,
    kInventoryConf,
};

/// A configuration file that may describe the installed agent.
struct Candidate {
    String path;
    ChosenBy chosenBy;
};

using Factory = std::unique_ptr<Agent> (*)(const String& label, const String& installDir);

template <typename Member>
std::unique_ptr<Agent> Make(const String& label, const String& installDir) {
    return std::make_unique<Member>(label, installDir);
}

/// A range of builds of one version.
struct Release {
    int major;
    int minor;
    long long belowBuild;
    Factory make;
    const wchar_t* suffix;  // of the version label
};

constexpr long long kAnyBuild = std::numeric_limits<long long>::max();

constexpr Release kReleases[] = {
    {5, 5, kAnyBuild, Make<UnsupportedAgent>, L""},
    {5, 6, kAnyBuild, Make<Agent56>, L""},
    {6, 0, 200, Make<Agent60>, L""},
    {6, 0, 300, Make<Agent60>, L"SP1"},
    {6, 0, 400, Make<Agent60SP2>, L"SP2"},
    {6, 1, 600, Make<Agent60SP2>, L""},
    {6, 1, 8500, Make<Agent60SP2>, L"SP1"},
    {6, 1, 9000, Make<Agent60SP2>, L"SP2"},
    {6, 2, 1379, Make<Agent62>, L""},
};

constexpr bool ComesBefore(const Release& left, const Release& right) {
    if (left.major != right.major) return left.major < right.major;
    if (left.minor != right.minor) return left.minor < right.minor;
    return left.belowBuild < right.belowBuild;
}
static_assert(std::ranges::is_sorted(kReleases, ComesBefore), "the first release that fits is the one");

/// Where the package manager has the agent's package; empty when it has none or is not to be asked.
String QueryPackageDir() {
    if (Args::bNoSearch) return String();
    const String rpm = corekit::Program::Locate(L"rpm");
    return rpm.IsEmpty() ? String() : RunShellCommand(corekit::Text::ShellWord(rpm) + kPackageQuery);
}

bool IsAmong(const std::vector<Candidate>& candidates, const String& path) {
    return std::ranges::find(candidates, path, &Candidate::path) != candidates.end();
}

/// The copy that an upgrade saves comes last: it is all that there is when one was killed after it had
/// removed the old agent and before its own configuration was in place.
std::vector<Candidate> Candidates(const String& packageDir) {
    String fromEnvironment;
    corekit::Env::Get(kConfigVariable, fromEnvironment);
    std::vector<Candidate> candidates = {{fromEnvironment, ChosenBy::Administrator}};
    for (const wchar_t* path : kKnownConfs) candidates.push_back({path, ChosenBy::Program});
    // The package usually lies at the known place: no file is to be warned of twice.
    for (const wchar_t* file : {Names::kClientConf, Names::kSavedClientConf}) {
        for (const String& directory : {String(kUsualDir), packageDir}) {
            const String path = directory + file;
            if (!directory.IsEmpty() && !IsAmong(candidates, path))
                candidates.push_back({path, ChosenBy::Program});
        }
    }
    return candidates;
}

/// The file, open, where there is one that may be used.
std::optional<TrustedFile> Open(const Candidate& candidate) {
    if (candidate.path.IsEmpty() || !corekit::File::Exists(candidate.path)) return std::nullopt;
    TrustedFile file(candidate.path, candidate.chosenBy);
    return file.MayBeUsed() ? std::optional(std::move(file)) : std::nullopt;
}

std::unique_ptr<Agent> AgentFromConf(const String& path, const std::string& bytes) {
    const IniFile conf(path, bytes, IniFile::KeyCase::FallBack);
    auto agent =
        CreateAgentForVersion(ReadAgentVersion(conf), conf.GetValue(Names::kConfiguration, L"installdir"));
    if (agent) agent->SetConf(path, bytes);
    return agent;
}

/// A directory or a device is no configuration, and must not pass for that of an agent before 6.0.
std::unique_ptr<Agent> AgentFromFile(const TrustedFile& file) {
    std::string bytes;
    return file.Read(bytes) ? AgentFromConf(file.Path(), bytes) : nullptr;
}

/// The first file that may be used decides, recognised or not.
std::unique_ptr<Agent> AgentFromFirst(const std::vector<Candidate>& candidates) {
    for (const Candidate& candidate : candidates) {
        if (const auto file = Open(candidate)) return AgentFromFile(*file);
    }
    return nullptr;
}

}  // namespace

std::unique_ptr<Agent> FindInstalledAgent() {
    const String packageDir = QueryPackageDir();
    if (auto agent = AgentFromFirst(Candidates(packageDir))) return agent;
    if (packageDir.IsEmpty()) return nullptr;
    return std::make_unique<UnsupportedAgent>(String(), packageDir);
}

std::unique_ptr<Agent> CreateCurrentAgent() {
    return std::make_unique<CurrentAgent>(kNewLabel, QueryPackageDir());
}

std::unique_ptr<Agent> AgentFromBaseDir(const String& baseDir) {
    if (baseDir.IsEmpty()) return nullptr;
    const auto file = Open({baseDir + Names::kClientConf, ChosenBy::Administrator});
    return file ? AgentFromFile(*file) : nullptr;
}

std::unique_ptr<Agent> AgentFromConfigFile(const String& path) {
    std::string bytes;
    return corekit::File::ReadBytes(path, bytes) ? AgentFromConf(path, bytes) : nullptr;
}

Version ReadAgentVersion(const IniFile& conf) {
    const String major = conf.GetValue(L"Version", L"agent_major");
    const String minor = conf.GetValue(L"Version", L"agent_minor");
    const String build = conf.GetValue(L"Version", L"agent_build");
    if (!major.IsEmpty() && !minor.IsEmpty() && !build.IsEmpty())
        return Version(major.ToInt(), minor.ToInt(), build.ToInt());
    // Agents before 6.0 state no version.
    return conf.FileName() == kInventoryConf ? Version(5, 5, 0) : Version(5, 6, 0);
}

std::unique_ptr<Agent> CreateAgentForVersion(const Version& version, const String& installDir) {
    const auto fits = [&](const Release& release) {
        return version.Major() == release.major && version.Minor() == release.minor &&
               version.Build() < release.belowBuild;
    };
    const auto* const release = std::ranges::find_if(kReleases, fits);
    if (release == std::end(kReleases)) return nullptr;
    return release->make(version.ToString(L".") + release->suffix, installDir);
}

}  // namespace Zorvane::AgentInstaller
