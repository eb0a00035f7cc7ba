// Moving stores, and removing what is left of the old install directory.
#include "agents/carry/DataMove.h"

#include <algorithm>
#include <cerrno>
#include <vector>

#include "agents/removal/FileRemoval60.h"
#include "config/ConfiguredPaths.h"
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

bool IsToMove(const StoreMove& move) {
    return !UsableDirectory(move.from).IsEmpty() && corekit::File::MayBeDirectory(move.from) &&
           !Path::IsMatch(move.from, move.to);
}

/// The stores to move, those that lie within another one before it: each takes its own way.
std::vector<StoreMove> StoresToMove(const IniFile& oldConf, const IniFile& newConf) {
    std::vector<StoreMove> moves;
    for (const ConfKey& store : Key::kStores) {
        const StoreMove move{GetValue(oldConf, store), GetValue(newConf, store)};
        if (IsToMove(move)) moves.push_back(move);
    }
    std::stable_sort(moves.begin(), moves.end(), [](const StoreMove& left, const StoreMove& right) {
        return left.from.Length() > right.from.Length();
    });
    return moves;
}

/// Moves one store; why it, or part of it, stays, or empty.
String WhyNotMoved(const StoreMove& move, const IniFile& newConf) {
    if (UsableDirectory(move.to).IsEmpty()) return L"the new configuration has no place for it";
    if (const String named = NamedWithin(newConf, move.from); !named.IsEmpty()) {
        return L"the new configuration names " + named;
    }
    const Result moved = corekit::Dir::Move(move.from, move.to);
    if (moved.Code() == EEXIST) return move.to + L" has entries of the same name";
    return moved ? String() : corekit::GetErrorMsg(moved);
}

String WhyTreeIsKept(const String& directory, const IniFile& newConf, DataMove dataMove) {
    if (dataMove == DataMove::Partial) return L"not all of the data could be moved";
    const String named = NamedWithin(newConf, directory);
    return named.IsEmpty() ? String() : L"the new configuration names " + named;
}

}  // namespace

DataMove MoveData(const IniFile& oldConf, const IniFile& newConf) {
    DataMove dataMove = DataMove::Complete;
    for (const StoreMove& move : StoresToMove(oldConf, newConf)) {
        const String why = WhyNotMoved(move, newConf);
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
    const String why = WhyTreeIsKept(oldDir, newConf, dataMove);
    RemovalOutcome left = RemoveGeneratedFiles60(oldDir, &newConf);
    if (why.IsEmpty()) left.Add(oldDir, corekit::Dir::Remove(UsableDirectory(oldDir)));
    left.Tell();
    if (!why.IsEmpty()) {
        WarnKept(oldDir, why);
    } else if (left.Any()) {
        WarnKept(oldDir, L"not everything could be removed");
    }
}

}  // namespace Zorvane::AgentInstaller
