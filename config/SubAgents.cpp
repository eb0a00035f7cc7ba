// The registrations of sub-agents: which sections and keys hold them.
#include "config/SubAgents.h"

#include "run/Keys.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;

namespace {

constexpr const wchar_t* kClassServers = L"Class Servers";
constexpr const wchar_t* kStaticAgents = L"Static Agents";
constexpr const wchar_t* kOwnTracker = L"zorvane.qdnntracker";

/// Lists with an item for each sub-agent, all in the same order.
constexpr ConfKey kParallelLists[] = {Key::kSubAgentNames, Key::kSubAgentVersions, Key::kSubAgentBuilds,
                                      Key::kSubAgentPaths};

IniFile::Entries EntriesOf(const IniFile& ini, const String& section) {
    IniFile::Entries entries;
    ini.GetEntries(section, entries);
    return entries;
}

bool IsOwnTracker(const String& key) {
    return key.Lower() == kOwnTracker;
}

void CarryClassServers(const IniFile& oldIni, IniFile& newIni) {
    const IniFile::Entries present = EntriesOf(newIni, kClassServers);
    for (const auto& [key, section] : EntriesOf(oldIni, kClassServers)) {
        if (IsOwnTracker(key) || present.contains(key)) continue;
        newIni.SetValue(kClassServers, key, section);
        if (section.IsEmpty()) continue;
        for (const auto& [name, value] : EntriesOf(oldIni, section)) newIni.SetValue(section, name, value);
    }
}

/// Once a list is carried, one that the old file lacks is emptied: the template's items belong to other
/// sub-agents.
void CarryParallelLists(const IniFile& oldIni, IniFile& newIni) {
    bool carriesAny = false;
    for (const ConfKey& list : kParallelLists) {
        if (!GetValue(oldIni, list).IsEmpty()) carriesAny = true;
    }
    if (!carriesAny) return;
    for (const ConfKey& list : kParallelLists) {
        const String old = GetValue(oldIni, list);
        if (!old.IsEmpty() || !GetValue(newIni, list).IsEmpty()) {
            SetValue(newIni, list, old);
        }
    }
}

void CarryRoles(const IniFile& oldIni, IniFile& newIni) {
    const String roles = GetValue(oldIni, Key::kAgentRoles);
    if (!roles.IsEmpty()) SetValue(newIni, Key::kAgentRoles, roles);
}

void CarryStaticAgents(const IniFile& oldIni, IniFile& newIni) {
    for (const auto& [key, value] : EntriesOf(oldIni, kStaticAgents)) {
        if (!IsOwnTracker(key)) newIni.SetValue(kStaticAgents, key, value);
    }
}

}  // namespace

bool CarryOverSubAgents(const IniFile& oldIni, IniFile& newIni) {
    CarryClassServers(oldIni, newIni);
    CarryParallelLists(oldIni, newIni);
    CarryRoles(oldIni, newIni);
    CarryStaticAgents(oldIni, newIni);
    return true;
}

}  // namespace Zorvane::AgentInstaller
