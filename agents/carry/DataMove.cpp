// Moving stores, removing what is left of the old install directory, and the marks that lead a later run to
// data which could not be moved.
#include "agents/carry/DataMove.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "agents/removal/FileRemoval60.h"
#include "config/ConfiguredDirectories.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Text.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "run/TrustedFile.h"

namespace Zorvane::AgentInstaller {

using corekit::Expected;
using corekit::Forgive;
using corekit::IniFile;
using corekit::Result;
using corekit::String;
using Messages::WarnKept;
namespace File = corekit::File;
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
    {Key::kTaskDir, Names::kUsualTaskDir56},
};

/// The store of an old agent: a file of version 5.6, which states no version, has defaults for keys that it
/// lacks or leaves empty.
String OldStore(const IniFile& oldConf, const ConfKey& store) {
    const String directory = GetValue(oldConf, store);
    if (!directory.IsEmpty() || !GetValue(oldConf, Key::kAgentMajor).IsEmpty()) return directory;
    const auto* const usual = std::ranges::find(kStores56, store, &UsualStore::key);
    return usual == std::end(kStores56) ? directory : usual->directory;
}

bool IsToMove(const StoreMove& move) {
    return !UsableDirectory(move.from).IsEmpty() && corekit::File::MayBeDirectory(move.from) &&
           !Path::IsMatch(move.from, move.to);
}

/// The stores to move. One that lies within another comes before it, so that each moves to a place of its
/// own. A directory that is two stores moves once, to the place of the first.
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

/// Moves one store. Returns the reason why it, or part of it, stays; empty when all has moved.
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

constexpr const wchar_t* kCopyInPlace = L"/etc/client.conf.unmoved";
constexpr int kMostCopies = 100;
constexpr unsigned kPrivate = 0600;

/// The install directory of a client.conf, without a slash at its end; empty when it has none to work in.
String InstallDirOf(const IniFile& conf) {
    return Path::WithoutTrailingSlashes(ConfiguredDirectory(conf, Key::kInstallDir));
}

/// The directory above the "etc" that a client.conf lies in.
String BaseOf(const String& confPath) {
    return Path::GetDirectory(Path::GetDirectory(confPath));
}

void WarnNotWritten(const String& path, const Result& why) {
    Messages::Warn(L"WARNING! " + Messages::Shown(path) + L" is not written: " + GetErrorMsg(why) + L".\n");
}

/// Writes a file unless it is there with this content. Warns of a failure.
bool Write(const String& path, const std::string& bytes) {
    if (const auto present = File::ReadBytes(path); present && *present == bytes) return true;
    const Result written = File::WriteBytes(path, bytes, {.mode = kPrivate});
    if (!written) WarnNotWritten(path, written);
    return written.Ok();
}

/// The lines of a mark; none without a mark that may be believed. Fails where a mark cannot be read now.
Expected<std::vector<String>> ReadMark(const String& path) {
    const TrustedFile mark(path, ChosenBy::Program);
    const auto bytes = mark.Read();
    if (IsTransient(bytes.Outcome())) return bytes.error();
    std::vector<String> lines;
    if (!bytes || !mark.MayBeUsed()) return lines;
    corekit::StringTokenizer tokens(String::FromUtf8(*bytes), L"\n");
    for (String line; tokens.GetToken(line);) {
        if (!line.IsEmpty()) lines.push_back(line);
    }
    return lines;
}

/// Returns false when the mark could not be written, and warns of that.
bool WriteMark(const String& path, const std::vector<String>& lines) {
    String text;
    for (const String& line : lines) text += line + L"\n";
    return Write(path, text.Utf8());
}

/// True if this client.conf lies in the install directory that it names: a damaged one may name any
/// directory, those of the host among them.
bool LiesIn(const String& oldDir, const std::string& bytes) {
    const auto present = File::ReadBytes(oldDir + Names::kClientConf);
    return present && *present == bytes && corekit::CheckRemovable(oldDir);
}

/// The path at which the old client.conf is kept: its own, unless it does not lie in the install directory
/// that it names, or the new one takes its place. Then a name beside the new one under which there is no
/// other content; EEXIST when there is no such name.
Expected<String> KeptPath(const String& oldDir, const String& newDir, const std::string& bytes) {
    const bool isElsewhere = !oldDir.IsEmpty() && !Path::IsMatch(oldDir, newDir);
    if (isElsewhere && LiesIn(oldDir, bytes)) return oldDir + Names::kClientConf;
    const String name = newDir + kCopyInPlace;
    for (int number = 1; number <= kMostCopies; ++number) {
        String path = number == 1 ? name : name + L"." + String::FromInt(number);
        const auto present = File::ReadBytes(path);
        if (!present ? IsNotFound(present.error()) : *present == bytes) return path;
    }
    return Result(EEXIST).About(name);
}

/// Goes on moving by one kept client.conf. True when nothing is left to be moved by it.
bool FinishMove(const String& kept, const String& newDir, const IniFile& newConf) {
    const auto stays = [&](const Result& why) {
        WarnKept(kept, GetErrorMsg(why));
        return false;
    };
    const bool isCopy = kept.StartsWith(newDir + kCopyInPlace);
    const auto isKept = isCopy ? Expected<bool>(true) : IsKeptForUnmovedData(kept);
    if (!isKept) return stays(isKept.error());
    // Without the mark, the file has become the client.conf of another agent.
    if (!*isKept) return true;
    if (!isCopy) corekit::DeclareOwn(BaseOf(kept));
    const IniFile oldConf(kept, IniFile::KeyCase::FallBack);
    if (const Result& read = oldConf.ReadResult(); !read) return IsNotFound(read) || stays(read);
    if (MoveData(oldConf, newConf) == DataMove::Partial) return false;
    // Of an agent of version 5.6 everything else was removed when its data could not be moved.
    const bool isOf56 = GetValue(oldConf, Key::kAgentMajor).IsEmpty();
    if (!isOf56) RemoveOldInstallation(oldConf, newConf, DataMove::Complete);
    if (const Result removed = File::Remove(kept); !removed && !IsNotFound(removed)) return stays(removed);
    // Without its client.conf the mark leads to nothing.
    if (!isCopy) Forgive(File::Remove(BaseOf(kept) + Names::kMovedMark));
    return true;
}

}  // namespace

DataMove MoveData(const IniFile& oldConf, const IniFile& newConf) {
    DeclareData(oldConf);
    DeclareData(newConf);
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

void KeepConfOfUnmovedData(const IniFile& oldConf, const IniFile& newConf) {
    const String newDir = InstallDirOf(newConf);
    const String oldDir = InstallDirOf(oldConf);
    const auto bytes = File::ReadBytes(oldConf.FileName());
    if (newDir.IsEmpty() || !bytes) return;
    const String mark = newDir + Names::kUnmoved;
    auto lines = ReadMark(mark);
    if (!lines) return WarnNotWritten(mark, lines.error());
    const auto kept = KeptPath(oldDir, newDir, *bytes);
    if (!kept) return WarnNotWritten(kept.error().Path(), kept.error());
    const bool isCopy = kept->StartsWith(newDir + kCopyInPlace);
    if (!Write(*kept, *bytes)) return;
    if (!isCopy && !WriteMark(oldDir + Names::kMovedMark, {newDir})) return;
    if (std::ranges::find(*lines, *kept) == lines->end()) lines->push_back(*kept);
    Forgive(WriteMark(mark, *lines));  // WriteMark has warned of a failure
}

void MoveUnmovedData(const IniFile& newConf) {
    const String newDir = InstallDirOf(newConf);
    if (newDir.IsEmpty()) return;
    // From now on an agent is installed here, so the mark goes that says there is none. Most directories have
    // no mark, and one that stays leads the next run here once more.
    Forgive(File::Remove(newDir + Names::kMovedMark));
    const String mark = newDir + Names::kUnmoved;
    auto lines = ReadMark(mark);
    if (!lines) return WarnKept(mark, GetErrorMsg(lines.error()));
    if (lines->empty()) return;
    std::erase_if(*lines, [&](const String& kept) { return FinishMove(kept, newDir, newConf); });
    if (lines->empty())
        Forgive(File::Remove(mark));  // one that stays names nothing that is there
    else
        Forgive(WriteMark(mark, *lines));  // WriteMark has warned of a failure
}

Expected<bool> IsKeptForUnmovedData(const String& confPath) {
    const String base = BaseOf(confPath);
    if (confPath != base + Names::kClientConf) return false;
    const auto lines = ReadMark(base + Names::kMovedMark);
    if (!lines) return lines.error();
    return !lines->empty();
}

}  // namespace Zorvane::AgentInstaller
