// The registrations of sub-agents: which sections and keys hold them.
#include "config/ClientConfDraft.h"
#include "run/Keys.h"

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

void CarryClassServers(const IniFile& oldIni, ClientConfDraft& draft) {
    const IniFile::Entries present = EntriesOf(draft.File(), kClassServers);
    for (const auto& [key, section] : EntriesOf(oldIni, kClassServers)) {
        if (IsOwnTracker(key) || present.contains(key)) continue;
        draft.Set(kClassServers, key, section, SourceOf(oldIni, kClassServers, key));
        if (section.IsEmpty()) continue;
        for (const auto& [name, value] : EntriesOf(oldIni, section))
            draft.Set(section, name, value, SourceOf(oldIni, section, name));
    }
}

/// Once a list is carried, one that the old file lacks is emptied: the template's items belong to other
/// sub-agents.
void CarryParallelLists(const IniFile& oldIni, ClientConfDraft& draft) {
    bool carriesAny = false;
    for (const ConfKey& list : kParallelLists) {
        if (!GetValue(oldIni, list).IsEmpty()) carriesAny = true;
    }
    if (!carriesAny) return;
    for (const ConfKey& list : kParallelLists) {
        const String old = GetValue(oldIni, list);
        if (!old.IsEmpty() || !GetValue(draft.File(), list).IsEmpty()) {
            draft.Set(list, old, SourceOf(oldIni, list));
        }
    }
}

void CarryRoles(const IniFile& oldIni, ClientConfDraft& draft) {
    const String roles = GetValue(oldIni, Key::kAgentRoles);
    if (!roles.IsEmpty()) draft.Set(Key::kAgentRoles, roles, SourceOf(oldIni, Key::kAgentRoles));
}

void CarryStaticAgents(const IniFile& oldIni, ClientConfDraft& draft) {
    for (const auto& [key, value] : EntriesOf(oldIni, kStaticAgents)) {
        if (!IsOwnTracker(key)) draft.Set(kStaticAgents, key, value, SourceOf(oldIni, kStaticAgents, key));
    }
}

}  // namespace

bool CarryOverSubAgents(const IniFile& oldIni, ClientConfDraft& draft) {
    CarryClassServers(oldIni, draft);
    CarryParallelLists(oldIni, draft);
    CarryRoles(oldIni, draft);
    CarryStaticAgents(oldIni, draft);
    return true;
}

}  // namespace Zorvane::AgentInstaller
