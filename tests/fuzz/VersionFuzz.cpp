// Versions: their comparison is an order, and each belongs to one member of the agent family at most.
#include <algorithm>
#include <array>

#include "agents/AgentVersion.h"
#include "config/SystemProbes.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::String;
using Zorvane::AgentInstaller::ParseVersion;

namespace {

using Three = std::array<corekit::Version, 3>;

void CheckOrder(const Three& versions) {
    for (const auto& a : versions) {
        Holds(a == a && !(a < a), "a version is itself");
        for (const auto& b : versions) {
            Holds((a < b) + (b < a) + (a == b) == 1, "one of two versions is older, or they are the same");
            for (const auto& c : versions) Holds(!(a < b && b < c) || a < c, "older than the older is older");
        }
    }
}

void CheckText(const corekit::Version& version) {
    const corekit::Version again =
        ParseVersion(version.ToString(L".") + L"." + String::FromInt(version.Build()));
    Holds(again == version, "what is printed reads the same");
}

void CheckFamily(const corekit::Version& version) {
    const auto agent = Zorvane::AgentInstaller::CreateAgentForVersion(version, L"/opt/agent");
    if (!agent) return;
    Holds(agent->VersionLabel().StartsWith(version.ToString(L".")), "an agent is labelled with its version");
    Holds(agent->InstallDir() == L"/opt/agent", "an agent knows where it is");
}

}  // namespace

void Version(std::string_view input) {
    Parts parts(input);
    Three versions;
    for (auto& version : versions) version = ParseVersion(String::FromUtf8(parts.Next()));
    CheckOrder(versions);
    std::ranges::for_each(versions, CheckText);
    std::ranges::for_each(versions, CheckFamily);
}

}  // namespace fuzz
