// Handles the signals that end the process. What the handler calls is async-signal-safe.
#include "corekit/os/Interruption.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "corekit/os/TemporaryFile.h"

namespace corekit::Interruption {

namespace {

// How long the group may take to end.
constexpr int kLooks = 200;
constexpr int kMillisecondsBetween = 10;

volatile pid_t endsWithUs = 0;
void (*volatile beforeEnd)(int status) = nullptr;

constexpr int kShellStatus = 128;  // and the signal's number, for a process that a signal ended

sigset_t Signals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals) sigaddset(&signals, signal);
    return signals;
}

bool Runs(pid_t group) {
    waitpid(group, nullptr, WNOHANG);  // its leader is our child
    return kill(-group, 0) == 0;
}

bool EndsInTime(pid_t group) {
    for (int look = 0; look < kLooks; ++look) {
        if (!Runs(group)) return true;
        poll(nullptr, 0, kMillisecondsBetween);
    }
    return false;
}

void EndGroup(pid_t group, int signal) {
    kill(-group, signal);
    kill(-group, SIGCONT);
    if (EndsInTime(group)) return;
    kill(-group, SIGKILL);
    EndsInTime(group);
}

/// Ends the process by the signal itself, so that the caller sees what ended it.
[[noreturn]] void EndBy(int signal) {
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
    raise(signal);
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, signal);
    sigprocmask(SIG_UNBLOCK, &mask, nullptr);
    _exit(kShellStatus + signal);  // the first process of a container is not ended by a signal of its own
}

void End(int signal) {
    if (endsWithUs != 0) EndGroup(endsWithUs, signal);
    TemporaryFile::RemoveAll();
    TellEnd(kShellStatus + signal);
    EndBy(signal);
}

}  // namespace

void Prepare() {
    struct sigaction action {};
    action.sa_handler = End;
    action.sa_mask = Signals();
    for (const int signal : kSignals) {
        struct sigaction before {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    // Where a caller ignores it, our children would end without leaving a status, and waitpid would find
    // none.
    struct sigaction noticed {};
    noticed.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &noticed, nullptr);
}

void BeforeEnd(void (*last)(int status)) {
    beforeEnd = last;
}

void TellEnd(int status) {
    if (beforeEnd != nullptr) beforeEnd(status);
}

void EndWithUs(pid_t group) {
    endsWithUs = group;
}

}  // namespace corekit::Interruption

namespace corekit {

SignalBlock::SignalBlock() {
    const sigset_t signals = Interruption::Signals();
    sigprocmask(SIG_BLOCK, &signals, &m_before);
}

SignalBlock::~SignalBlock() {
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

}  // namespace corekit
