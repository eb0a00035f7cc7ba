// Puts back one name after the other: each either stands as it was, or has what it needs among what was
// saved.
#include "apply/Restore.h"

#include <algorithm>
#include <set>

#include "apply/FailedFiles.h"
#include "config/ClientConf.h"
#include "corekit/fs/Dir.h"
#include "deploykit/SystemdUnit.h"
#include "preview/Mounts.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::Result;
using corekit::String;
using Preview::FileType;
namespace Keeping = corekit::Keeping;

namespace {

const Keeping::Identity kNothing;

/// `kNothing` where nothing is; fails when the system does not tell.
corekit::Expected<Keeping::Identity> IdentityOf(const std::string& path) {
    const auto identity = Keeping::IdentityOf(String::FromUtf8(path));
    if (identity || !IsNotFound(identity.error())) return identity;
    return kNothing;
}

/// Fails when the system does not tell.
corekit::Expected<bool> IsThere(const std::string& path) {
    const auto identity = IdentityOf(path);
    if (!identity) return identity.error();
    return *identity != kNothing;
}

/// Fails when the system does not tell; nothing is no directory.
corekit::Expected<bool> IsDirectory(const std::string& path) {
    const auto state = Preview::ReadState(path);
    if (state) return state->type == FileType::Directory;
    if (IsNotFound(state.error())) return false;
    return state.error();
}

class Restorer {
  public:
    explicit Restorer(const Journal& journal) : m_journal(journal) {}

    Outcome<> Restore();

  private:
    void Note(const std::string& path, const Result& result) {
        if (!result && m_first)
            m_first = FailBecause(L"Not everything could be put back.", String::FromUtf8(path), result);
    }
    void Note(const SavedMove& move, const Result& result) {
        Note(move.from, result);
        if (!result) m_astray.push_back(&move);
    }
    bool IsInMoved(const std::string& path) const {
        return std::ranges::any_of(
            m_journal.moves, [&](const SavedMove& move) { return Preview::IsAtOrBelow(path, move.from); });
    }
    /// True around a directory that could not be moved back, which would go with what it is in now, and for
    /// what was in it, which would go when it comes back.
    bool IsLeftToNextTry(const std::string& path) const {
        return std::ranges::any_of(m_astray, [&](const SavedMove* move) {
            return Preview::IsAtOrBelow(move->to, path) || Preview::IsAtOrBelow(move->from, path) ||
                   Preview::IsAtOrBelow(path, move->from);
        });
    }
    void CollectSaved();
    Result Hold(const SavedMove& move) const;
    Result BringBack(const SavedMove& move) const;
    Result MakeDirectory(const std::string& path);
    Result PutBack(const SavedEntry& entry);
    Result PutBackWhole(const SavedEntry& entry);
    Result Clear(const SavedEntry& entry);
    Result Retire(const std::string& path);
    void KeepForReader(const std::string& path) const;
    bool IsTemporary(const std::string& directory, const std::string& name) const;
    void RemoveTemporaries(const SavedEntry& directory);

    const Journal& m_journal;
    std::set<Keeping::Identity> m_savedFiles;
    std::vector<const SavedMove*> m_astray;  // could not be held, or brought back
    Outcome<> m_first;
};

void Restorer::CollectSaved() {
    for (const SavedEntry& entry : m_journal.entries) {
        if (entry.kind == SavedEntry::Kind::Whole)
            m_savedFiles.insert(IdentityOf(entry.saved).value_or(kNothing));
    }
    m_savedFiles.erase(kNothing);
}

/// What moved is taken to a safe place first: the directories around it may be replaced as a whole. A copy
/// that a move to another file system has made is complete once it stands.
Result Restorer::Hold(const SavedMove& move) const {
    const auto held = IsThere(move.held);
    if (!held) return held.error();
    if (*held) return Result();
    const auto from = IsThere(move.from);
    if (!from) return from.error();
    const auto to = IdentityOf(move.to);
    if (!to) return to.error();
    const auto isComplete = *from ? false : IsDirectory(move.to);
    if (!isComplete) return isComplete.error();
    const bool hasMoved = *to == move.identity || *isComplete;
    if (!hasMoved && !*from) return Result();
    return Keeping::Move(String::FromUtf8(hasMoved ? move.to : move.from), String::FromUtf8(move.held));
}

/// What was held goes to its place, from which the attempt's own is removed.
Result Restorer::BringBack(const SavedMove& move) const {
    const auto held = IsThere(move.held);
    if (!held) return held.error();
    if (!*held) return Result();
    if (const Result cleared = Keeping::RemoveIfThere(String::FromUtf8(move.from)); !cleared) return cleared;
    return Keeping::Move(String::FromUtf8(move.held), String::FromUtf8(move.from));
}

/// Takes away what the attempt has made, if anything.
Result Restorer::Retire(const std::string& path) {
    const auto isThere = IsThere(path);
    if (!isThere) return isThere.error();
    if (!*isThere) return Result();
    KeepForReader(path);
    return Keeping::Remove(String::FromUtf8(path));
}

/// Keeps what the attempt has made; what was saved goes back to its place.
void Restorer::KeepForReader(const std::string& path) const {
    const auto identity = IdentityOf(path);
    if (!identity || m_savedFiles.contains(*identity)) return;  // it has only moved here
    KeepFailed(path);
}

Result Restorer::PutBackWhole(const SavedEntry& entry) {
    const auto saved = IdentityOf(entry.saved);
    if (!saved) return saved.error();
    if (*saved == kNothing) return Result();  // it has been put back
    // Without the directory the move fails.
    Forgive(corekit::Dir::CreateR(String::FromUtf8(Preview::ParentOf(entry.path))));
    const auto present = IdentityOf(entry.path);
    if (!present) return present.error();
    if (*present == *saved) return Result();
    if (const Result cleared = *present == kNothing ? Result() : Clear(entry); !cleared) return cleared;
    return Keeping::Move(String::FromUtf8(entry.saved), String::FromUtf8(entry.path));
}

/// Makes room for what was saved.
Result Restorer::Clear(const SavedEntry& entry) {
    const auto isDirectory = IsDirectory(entry.path);
    if (!isDirectory) return isDirectory.error();
    // What is left of a directory are other names of what was saved.
    if (*isDirectory || entry.state.type == FileType::Directory)
        return Keeping::Remove(String::FromUtf8(entry.path));
    KeepForReader(entry.path);
    return Result();
}

/// What stands in the place of the directory goes to the files of the attempt.
Result Restorer::MakeDirectory(const std::string& path) {
    const auto isDirectory = IsDirectory(path);
    if (!isDirectory) return isDirectory.error();
    if (*isDirectory) return Result();
    const Result retired = Retire(path);
    return retired ? corekit::Dir::CreateR(String::FromUtf8(path)) : retired;
}

Result Restorer::PutBack(const SavedEntry& entry) {
    const String place = String::FromUtf8(entry.path);
    switch (entry.kind) {
        case SavedEntry::Kind::Absent:
            return Retire(entry.path);
        case SavedEntry::Kind::Itself:
            if (const Result made = MakeDirectory(entry.path); !made) return made;
            break;
        case SavedEntry::Kind::Whole:
            if (const Result back = PutBackWhole(entry); !back) return back;
            break;
    }
    const auto now = Preview::ReadState(entry.path);
    if (!now) return IsNotFound(now.error()) ? Result() : now.error();
    Result result;
    const bool hasOtherAccess = !IsSameAccess(*now, entry.state);
    if (hasOtherAccess)
        result = Keeping::SetAccess(place, entry.state.mode, entry.state.uid, entry.state.gid);
    // Changing the owner clears the capabilities of a program.
    if (result && (hasOtherAccess || now->attributes != entry.state.attributes))
        result = Keeping::SetAttributes(place, entry.state.attributes);
    for (const auto& [name, value] : now->attributes) {
        if (result && !entry.state.attributes.contains(name)) result = Keeping::RemoveAttribute(place, name);
    }
    return result;
}

/// True for a name that the run can have made in a directory, and would have taken away before its end: any
/// in an installation, and else those of its temporary files.
bool Restorer::IsTemporary(const std::string& directory, const std::string& name) const {
    const bool isInstallation = std::ranges::any_of(m_journal.agentDirs, [&](const std::string& agent) {
        return Preview::IsAtOrBelow(directory, agent);
    });
    if (isInstallation) return true;
    const std::size_t dot = name.rfind('.');
    if (!name.starts_with('.') || dot == 0) return false;
    // ".NAME.unfinished" or ".NAME.XXXXXX", beside NAME
    constexpr std::size_t kRandomLength = 6;
    const bool hasEnding = name.substr(dot) == ".unfinished" || name.size() - dot - 1 == kRandomLength;
    const std::string target = directory + "/" + name.substr(1, dot - 1);
    return hasEnding && std::ranges::count(m_journal.entries, target, &SavedEntry::path) > 0;
}

/// Takes away what a rehearsal left no trace of, since it was made and removed again.
void Restorer::RemoveTemporaries(const SavedEntry& directory) {
    if (directory.kind != SavedEntry::Kind::Itself) return;
    const std::set<std::string> before(directory.names.begin(), directory.names.end());
    std::vector<corekit::FileInfo> now;
    Note(directory.path, corekit::Dir::ReadEntries(String::FromUtf8(directory.path), String(), now));
    for (const corekit::FileInfo& entry : now) {
        const std::string path = entry.path.Utf8();
        if (before.contains(entry.name.Utf8()) || !IsTemporary(directory.path, entry.name.Utf8())) continue;
        const auto state = Preview::ReadState(path);
        if (!state) Note(path, state.error());
        if (state && state->uid == 0) Note(path, Retire(path));
    }
}

Outcome<> Restorer::Restore() {
    CollectSaved();
    for (const SavedMove& move : m_journal.moves) Note(move, Hold(move));
    for (const SavedEntry& entry : m_journal.entries) {
        if (!IsInMoved(entry.path) && !IsLeftToNextTry(entry.path)) Note(entry.path, PutBack(entry));
    }
    for (const SavedMove& move : m_journal.moves) Note(move, BringBack(move));
    for (const SavedEntry& entry : m_journal.entries) {
        if (IsInMoved(entry.path) && !IsLeftToNextTry(entry.path)) Note(entry.path, PutBack(entry));
    }
    for (const SavedEntry& entry : m_journal.entries) {
        if (!IsLeftToNextTry(entry.path)) RemoveTemporaries(entry);
    }
    FlushPlaces(m_journal);
    return m_first;
}

}  // namespace

Outcome<> Restore(const Journal& journal) {
    Outcome<> restored = Restorer(journal).Restore();
    HandOverFile::RemoveLeftovers();
    // The unit and the links that enable it are files: a running systemd has to read them again.
    deploykit::SystemdUnit::Reload();
    return restored;
}

void FlushPlaces(const Journal& journal) {
    std::set<std::string> directories;
    for (const SavedEntry& entry : journal.entries) directories.insert(Preview::ParentOf(entry.path));
    for (const SavedMove& move : journal.moves) directories.insert(Preview::ParentOf(move.from));
    // One that is not there has nothing to flush.
    for (const std::string& directory : directories)
        Forgive(corekit::Dir::FlushEntries(String::FromUtf8(directory)));
}

}  // namespace Zorvane::AgentInstaller::Apply
