// The journal of an -apply: what was saved of the host, and how far the run has come. It is written before
// the host changes, so that whatever cuts the run off, the next one can put the host back.
#pragma once

#include <string>
#include <vector>

#include "corekit/fs/Keeping.h"
#include "preview/FileState.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Apply {

/// What the run keeps of its own, while it is under way.
inline constexpr const wchar_t* kStateDir = L"/var/lib/qdn-configure";

/// One name of the host as it was.
struct SavedEntry {
    enum class Kind {
        Absent,  // nothing was there
        Itself,  // a directory: its mode, owner and attributes; what is in it has entries of its own
        Whole,   // a file, a link or a directory with all that is in it, kept at `saved`
    };
    Kind kind = Kind::Absent;
    std::string path;
    std::string saved;
    Preview::FileState state;        // of what was there
    std::vector<std::string> names;  // of `Itself`: the entries that the directory had
};

/// A directory that the run renames, and that is renamed back.
struct SavedMove {
    std::string from;
    std::string to;
    std::string held;  // its place while other things are put back
    corekit::Keeping::Identity identity;
};

struct Journal {
    std::vector<std::string> stores;  // directories that hold what is kept; none but root can enter them
    std::vector<SavedEntry> entries;  // sorted by path
    std::vector<SavedMove> moves;
    std::vector<std::string> agentDirs;  // install directories that the run's agents have
    std::string runningAgent;            // the install directory of the agent that ran; empty when none did
};

/// How far an -apply has come that has not ended.
enum class Phase {
    None,     // there is none
    Saving,   // the host is unchanged
    Running,  // the host may have changed: what was saved is to be put back
    Over,     // it has succeeded or has been put back: only what was saved is to go
};

/// Fails when that cannot be told.
Outcome<Phase> FindPhase();

/// The failure of a run before it has changed anything: "<path>: <why>" is its reason.
[[nodiscard]] Failure FailToSave(const corekit::String& path, const corekit::Result& cause);

/// Notes the stores, before they are made, and the agents, and begins the phase `Saving`.
Outcome<> BeginJournal(const Journal& journal);

/// Notes what was saved, and begins the phase `Running`: from here on the host may be changed.
Outcome<> WriteJournal(const Journal& journal);

/// All that has been noted so far.
Outcome<Journal> ReadJournal();

/// Begins the phase `Over`.
Outcome<> MarkOver();

/// Removes the stores and then everything of the journal. Fails when something of it stays: the next run
/// tries again.
Outcome<> Discard();

}  // namespace Zorvane::AgentInstaller::Apply
