// Moving stores, and removing what is left of the old install directory.
#include "agents/carry/DataMove.h"

#include <algorithm>
#include <cerrno>
#include <functional>
#include <vector>

#include "agents/removal/FileRemoval60.h"
#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::Result;
using corekit::String;
using Messages::WarnKept;
namespace Path = corekit::Path;

namespace {

struct StoreMove {
    String from;
    String to;
};

/// A store, and where agents of version 5.6 had it when their client.conf did not say.
struct UsualStore {
    ConfKey key;
    const wchar_t* directory;
};

constexpr UsualStore kStores56[] = {
    {Key::kEventQueueDir, L"/opt/zorvane/kell/ksagent/var/queue"},
    {Key::kTaskDir, L"/opt/zorvane/kell/ksagent/var/tasks"},
};

/// The store of an old agent: a file of version 5.6, which states no version, has defaults for keys that it
/// lacks.
String OldStore(const IniFile& oldConf, const ConfKey& store) {
    String directory;
    if (GetValue(oldConf, store, directory) || !GetValue(oldConf, Key::kAgentMajor).IsEmpty())
        return directory;
    const auto* const usual = std::ranges::find(kStores56, store, &UsualStore::key);
    return usual == std::end(kStores56) ? directory : usual->directory;
}

bool IsToMove(const StoreMove& move) {
    return !UsableDirectory(move.from).IsEmpty() && corekit::File::MayBeDirectory(move.from) &&
           !Path::IsMatch(move.from, move.to);
}

/// The stores to move, those that lie within another one before it: each takes its own way. A directory that
/// is two stores moves once, to the place of the first.
std::vector<StoreMove> StoresToMove(const IniFile& oldConf, const IniFile& newConf) {
    std::vector<StoreMove> moves;
    for (const ConfKey& store : Key::kStores) {
        const StoreMove move{OldStore(oldConf, store), GetValue(newConf, store)};
        const auto isSame = [&](const StoreMove& other) { return Path::IsMatch(other.from, move.from); };
        if (IsToMove(move) && std::ranges::none_of(moves, isSame)) moves.push_back(move);
    }
    std::ranges::stable_sort(moves, std::ranges::greater(),
                             [](const StoreMove& move) { return move.from.Length(); });
    return moves;
}

/// Moves one store. Returns why it, or part of it, stays, or empty.
String Move(const StoreMove& move, const IniFile& newConf) {
    if (UsableDirectory(move.to).IsEmpty()) return L"the new configuration has no place for it";
    if (const auto named = NamedWithin(newConf, move.from); !named.empty())
        return L"the new configuration names " + named.front();
    const Result moved = corekit::Dir::Move(move.from, move.to);
    if (moved.Code() == EEXIST) return move.to + L" has entries of the same name";
    return moved ? String() : corekit::GetErrorMsg(moved);
}

/// Why the old install directory stays: one reason for each path in it that the new client.conf names.
std::vector<String> WhyTreeIsKept(const String& directory, const IniFile& newConf, DataMove dataMove) {
    if (dataMove == DataMove::Partial) return {L"not all of the data could be moved"};
    std::vector<String> reasons;
    for (const String& path : NamedWithin(newConf, directory))
        reasons.push_back(L"the new configuration names " + path);
    return reasons;
}

}  // namespace

DataMove MoveData(const IniFile& oldConf, const IniFile& newConf) {
    DataMove dataMove = DataMove::Complete;
    for (const StoreMove& move : StoresToMove(oldConf, newConf)) {
        const String why = Move(move, newConf);
        if (why.IsEmpty()) continue;
        WarnKept(move.from, why);
        dataMove = DataMove::Partial;
    }
    return dataMove;
}

void RemoveOldInstallation(const IniFile& oldConf, const IniFile& newConf, DataMove dataMove) {
    const String oldDir = GetValue(oldConf, Key::kInstallDir);
    const String newDir = GetValue(newConf, Key::kInstallDir);
    if (UsableDirectory(oldDir).IsEmpty() || UsableDirectory(newDir).IsEmpty()) return;
    if (Path::IsMatch(oldDir, newDir) || !corekit::File::MayBeDirectory(oldDir)) return;
    const std::vector<String> reasons = WhyTreeIsKept(oldDir, newConf, dataMove);
    RemovalOutcome left;
    if (dataMove == DataMove::Complete)
        left.Add(RemoveGeneratedFiles60(oldDir, &newConf));
    else
        left.Add(RemoveGeneratedFilesButClientConf60(oldDir, &newConf));
    if (reasons.empty()) left.Add(oldDir, corekit::Dir::Remove(UsableDirectory(oldDir)));
    left.Tell();
    for (const String& why : reasons) WarnKept(oldDir, why);
    if (reasons.empty() && left.Any()) WarnKept(oldDir, L"not everything could be removed");
}

}  // namespace Zorvane::AgentInstaller
