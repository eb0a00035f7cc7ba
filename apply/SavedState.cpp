// Chooses where each name is kept, and keeps it there.
#include "apply/SavedState.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>

#include "apply/FailedFiles.h"
#include "corekit/fs/Dir.h"
#include "integration/AgentProcess.h"
#include "preview/Mounts.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::Result;
using corekit::String;
using Preview::FileType;
using Preview::IsAtOrBelow;
using Preview::Mount;
using Preview::Touch;
using Preview::Touched;
namespace Keeping = corekit::Keeping;

namespace {

constexpr const char* kMainStore = "/var/lib/qdn-configure/saved";
constexpr const char* kStoreName = "/.qdn-configure-saved";

Failure FailToSave(const std::string& path, const Result& cause) {
    return Apply::FailToSave(String::FromUtf8(path), cause);
}

/// True where others than root can write, or that is not known.
bool IsOthers(const std::string& directory) {
    const auto state = Preview::ReadState(directory);
    return !state || state->uid != 0 || (state->mode & (S_IWOTH | S_IWGRP)) != 0;
}

/// True where others than root can write to a directory on the way: there, the run trusts no file with two
/// names.
bool IsBelowOthers(std::string path) {
    while (path != "/") {
        path = Preview::ParentOf(path);
        if (IsOthers(path)) return true;
    }
    return false;
}

class Saver {
  public:
    explicit Saver(const ToSave& what) : m_what(what) {}

    Outcome<> Save();

  private:
    Outcome<> ReadMounts();
    Outcome<> MakeStores();
    Outcome<> SaveName(const Touched& name);
    Outcome<> SaveMove(const Preview::MovedDirectory& move);
    Result Keep(SavedEntry& entry, Touch touch) const;

    bool IsMoved(const std::string& path) const {
        return std::ranges::count(m_what.names.moves, path, &Preview::MovedDirectory::from) > 0;
    }
    const std::string& StoreOf(const std::string& path) const {
        return m_storeOf.at(Preview::MountOf(m_mounts, path)->point);
    }
    std::string NextName(const std::string& store) {
        return store + "/" + std::to_string(m_journal.entries.size() + m_journal.moves.size());
    }

    const ToSave& m_what;
    std::vector<Mount> m_mounts;
    std::map<std::string, std::string> m_storeOf;  // by the mount point
    Journal m_journal;
};

/// A file system that holds nothing but what the run may remove keeps nothing either, and one where everybody
/// can write gets no directory of ours: what is on these is copied.
Outcome<> Saver::ReadMounts() {
    if (const Result read = Preview::ReadVisibleMounts(m_mounts); !read)
        return FailToSave("/proc/self/mountinfo", read);
    const Mount* const main = Preview::MountOf(m_mounts, kMainStore);
    const auto addStoreOf = [&](const std::string& path) {
        const Mount& mount = *Preview::MountOf(m_mounts, path);
        const bool isOwn = std::ranges::any_of(
            m_what.ownDirs, [&](const std::string& dir) { return IsAtOrBelow(mount.point, dir); });
        const bool isMain = mount == *main || isOwn || IsOthers(mount.point);
        m_storeOf[mount.point] = isMain ? kMainStore : (mount.point == "/" ? "" : mount.point) + kStoreName;
    };
    for (const Touched& name : m_what.names.names) {
        if (name.touch != Touch::Access) addStoreOf(name.path);
    }
    for (const Preview::MovedDirectory& move : m_what.names.moves) addStoreOf(move.from);
    return {};
}

Outcome<> Saver::MakeStores() {
    std::set<std::string> stores = {kMainStore};
    for (const auto& [point, store] : m_storeOf) stores.insert(store);
    m_journal.stores.assign(stores.begin(), stores.end());
    m_journal.agentDirs = m_what.agentDirs;
    m_journal.runningAgent = m_what.runningAgent;
    // What is in the journal goes with it: nothing that was there before may be.
    for (const std::string& store : m_journal.stores) {
        const auto present = Keeping::IdentityOf(String::FromUtf8(store));
        const Result isFree = present ? Result(EEXIST) : present.error();
        if (!IsNotFound(isFree)) return FailToSave(store, isFree);
    }
    if (auto begun = BeginJournal(m_journal); !begun) return begun;
    for (const std::string& store : m_journal.stores) {
        if (const Result made = Keeping::MakePrivateDirectory(String::FromUtf8(store)); !made)
            return FailToSave(store, made);
    }
    return {};
}

/// By a second name, where nobody can then take offence at that and no bytes of the file itself are changed.
Result Saver::Keep(SavedEntry& entry, Touch touch) const {
    const String path = String::FromUtf8(entry.path);
    const String saved = String::FromUtf8(entry.saved);
    const bool isOthers = IsBelowOthers(entry.path);
    const Mount* const here = Preview::MountOf(m_mounts, entry.path);
    const bool isElsewhere = *here != *Preview::MountOf(m_mounts, entry.saved);
    if (entry.state.type == FileType::Directory && !isElsewhere && !isOthers) {
        const auto isLeftOut = [&](const String& directory) { return IsMoved(directory.Utf8()); };
        Result linked = Keeping::LinkTree(path, saved, isLeftOut);
        return linked ? Keeping::SetAttributes(saved, entry.state.attributes) : linked;
    }
    const bool mayHaveOneName = std::ranges::count(m_what.withOneName, entry.path) > 0;
    if (isElsewhere || isOthers || mayHaveOneName || touch == Touch::Edit) {
        const Result copied = Keeping::Copy(path, saved);
        return copied ? Keeping::SetAttributes(saved, entry.state.attributes) : copied;
    }
    return Keeping::Link(path, saved);
}

Outcome<> Saver::SaveName(const Touched& name) {
    SavedEntry entry;
    entry.path = name.path;
    const auto state = Preview::ReadState(name.path);
    if (!state && !IsNotFound(state.error())) return FailToSave(name.path, state.error());
    if (state) {
        entry.state = *state;
        const bool isItself =
            state->type == FileType::Directory && (name.touch == Touch::Access || IsMoved(name.path));
        entry.kind = isItself ? SavedEntry::Kind::Itself : SavedEntry::Kind::Whole;
        if (isItself) {
            std::vector<corekit::FileInfo> names;
            const Result read = corekit::Dir::ReadEntries(String::FromUtf8(name.path), String(), names);
            if (!read) return FailToSave(name.path, read);
            for (const corekit::FileInfo& info : names) entry.names.push_back(info.name.Utf8());
        }
    }
    if (entry.kind == SavedEntry::Kind::Whole) {
        entry.saved = NextName(StoreOf(name.path));
        if (const Result kept = Keep(entry, name.touch); !kept) return FailToSave(name.path, kept);
    }
    m_journal.entries.push_back(entry);
    return {};
}

Outcome<> Saver::SaveMove(const Preview::MovedDirectory& move) {
    const auto identity = Keeping::IdentityOf(String::FromUtf8(move.from));
    if (!identity) return FailToSave(move.from, identity.error());
    m_journal.moves.push_back({move.from, move.to, NextName(StoreOf(move.from)), *identity});
    return {};
}

Outcome<> Saver::Save() {
    if (auto read = ReadMounts(); !read) return read;
    if (auto made = MakeStores(); !made) return made;
    // What it writes until it has stopped is saved, too.
    const String runningAgent = String::FromUtf8(m_what.runningAgent);
    if (!runningAgent.IsEmpty() && !StopAgent(runningAgent))
        return Fail(L"The Zorvane Agent runs and cannot be stopped.");
    for (const Touched& name : m_what.names.names) {
        if (auto saved = SaveName(name); !saved) return saved;
    }
    for (const Preview::MovedDirectory& move : m_what.names.moves) {
        if (auto saved = SaveMove(move); !saved) return saved;
    }
    for (const std::string& store : m_journal.stores) {
        if (const Result flushed = corekit::Dir::FlushEntries(String::FromUtf8(store)); !flushed)
            return FailToSave(store, flushed);
    }
    return WriteJournal(m_journal);
}

}  // namespace

Outcome<> Save(const ToSave& what) {
    if (const Result removed = RemoveFailedFiles(); !removed) return FailToSave(kFailedDir, removed);
    Outcome<> saved = Saver(what).Save();
    if (saved) return saved;
    if (!what.runningAgent.empty()) StartAgentAgain(String::FromUtf8(what.runningAgent));
    // The host is unchanged: what stays of this, the next run of any command removes.
    Forgive(Discard());
    return saved;
}

}  // namespace Zorvane::AgentInstaller::Apply
