// Puts back and clears up, by the phase that the journal tells.
#include "apply/Recovery.h"

#include "apply/Restore.h"
#include "integration/AgentProcess.h"
#include "run/Args.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::String;

namespace {

constexpr const wchar_t* kPutBack =
    L"WARNING! A former -apply was cut off: the host has been put back as it was before it.\n";
constexpr const wchar_t* kClearedUp =
    L"WARNING! A former -apply was cut off: nothing but its own files was left.\n";

/// Its agents are stopped, everything is put back, the agent that ran is started.
Outcome<> PutBackAndRestart(const Journal& journal) {
    for (const std::string& directory : journal.agentDirs) {
        const String installDir = String::FromUtf8(directory);
        if (FindAgentProcess(installDir)) StopAgent(installDir);
    }
    Outcome<> restored = Restore(journal);
    if (!journal.runningAgent.empty()) StartAgentAgain(String::FromUtf8(journal.runningAgent));
    return restored;
}

/// By the journal. Of a run that was still saving, nothing but the agent is to be put back.
Outcome<> Undo() {
    const Outcome<Journal> journal = ReadJournal();
    if (!journal) return journal.error();
    if (Outcome<> restored = PutBackAndRestart(*journal); !restored) return restored;
    return MarkOver();
}

}  // namespace

Outcome<> UndoAttempt() {
    Outcome<> undone = Undo();
    return undone ? Discard() : undone;
}

Outcome<> Commit() {
    const Outcome<Journal> journal = ReadJournal();
    if (!journal) return journal.error();
    FlushPlaces(*journal);
    if (Outcome<> over = MarkOver(); !over) return over;
    // What stays of it does no harm, and the next run clears it up.
    Forgive(Discard());
    return {};
}

Outcome<> FinishFormerApply() {
    if (RunMode::isAttempt) return {};
    const Outcome<Phase> phase = FindPhase();
    if (!phase) return phase.error();
    if (*phase == Phase::None) {
        // One that was killed at its beginning or its very end may have left its directory.
        Forgive(Discard());
        return {};
    }
    if (*phase != Phase::Over) {
        if (Outcome<> undone = Undo(); !undone) return undone;
    }
    Messages::Warn(*phase == Phase::Running ? kPutBack : kClearedUp);
    return Discard();
}

bool IsApplyUnfinished() {
    return FindPhase().value_or(Phase::None) == Phase::Running;
}

}  // namespace Zorvane::AgentInstaller::Apply
