// One attempt of a command, in a process of its own: whatever becomes of that, somebody is there to put the
// host back.
#pragma once

#include <csignal>
#include <functional>
#include <string>

namespace Zorvane::AgentInstaller::Apply {

/// Holds the signals that end the process back as long as it lives, and tells of them.
class Interruptions {
  public:
    Interruptions();
    ~Interruptions();
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;

    /// True once such a signal has come; one that the caller ignores never comes.
    bool HasCome();

    /// Waits for a signal, or so long; returns it, 0 when none has come, and SIGCHLD when a child has ended.
    int Wait(unsigned milliseconds);

    const sigset_t& MaskBefore() const { return m_before; }

  private:
    sigset_t m_signals{};
    sigset_t m_before{};
    bool m_hasCome = false;
};

/// How an attempt ended.
struct Ending {
    bool hasSucceeded = false;
    bool wasInterrupted = false;
    std::string error;  // why it failed, as far as the command has told
};

enum class StandardOutput { Shown, Dropped };

/// Runs `command` in a child process, which ends when this one does, and waits for it. A signal is handed on
/// to it. It has succeeded when it returned 0 and nothing interrupted it. Its error is the one of
/// `run/Failure.h`.
Ending Attempt(const std::function<unsigned()>& command, StandardOutput output, Interruptions& interruptions);

}  // namespace Zorvane::AgentInstaller::Apply
