// A shell as a child process: started, watched, always waited for.
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"

namespace corekit {

/// Makes the end of a child something to poll for, as long as it lives: made before the child is started.
/// SIGCHLD is blocked meanwhile, and not ignored even where our parent left it so.
class ChildEndWatch {
  public:
    ChildEndWatch();
    ~ChildEndWatch();
    ChildEndWatch(const ChildEndWatch&) = delete;
    ChildEndWatch& operator=(const ChildEndWatch&) = delete;

    /// False when the system gave no descriptor for it; errno says why.
    explicit operator bool() const { return static_cast<bool>(m_events); }

    /// Readable from the end of a child until `Clear`.
    int Get() const { return m_events.Get(); }
    void Clear() const;

  private:
    sigset_t m_mask{};
    struct sigaction m_action {};
    Descriptor m_events;
};

/// A running shell, the first process of a session of its own. It is waited for at the latest when its owner
/// goes, and ends with the process when a signal ends that. One runs at a time.
class ShellProcess {
  public:
    ShellProcess() = default;
    ~ShellProcess();
    ShellProcess(const ShellProcess&) = delete;
    ShellProcess& operator=(const ShellProcess&) = delete;

    /// Runs `/bin/sh -c` with /dev/null as standard input, `output` as standard output and our standard
    /// error; no other descriptor, default signal dispositions, nothing blocked, `ShellEnvironment`.
    Result Start(std::string commandLine, int output);

    bool HasEnded();

  private:
    void Know(pid_t pid);

    pid_t m_pid = 0;  // 0: not started, or ended
};

}  // namespace corekit
