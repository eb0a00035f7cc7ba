// The versions of the agent: how a client.conf states one, and which class stands for which builds.
#include "agents/AgentVersion.h"

#include <algorithm>
#include <limits>

#include "agents/Agent56.h"
#include "agents/Agent60.h"
#include "run/Keys.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
using corekit::Version;

namespace {

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

}  // namespace

Version ReadAgentVersion(const IniFile& conf) {
    const String major = GetValue(conf, Key::kAgentMajor);
    const String minor = GetValue(conf, Key::kAgentMinor);
    const String build = GetValue(conf, Key::kAgentBuild);
    if (!major.IsEmpty() && !minor.IsEmpty() && !build.IsEmpty())
        return Version(major.ToInt(), minor.ToInt(), build.ToInt());
    // Agents before 6.0 state no version.
    return conf.FileName() == Names::kInventoryConf ? Version(5, 5, 0) : Version(5, 6, 0);
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
