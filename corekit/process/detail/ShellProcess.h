// A shell as a child process: started, watched, always waited for.
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"

namespace corekit {

/// A descriptor that can be polled for the end of a child. It has to exist before the child is started. While
/// it does, SIGCHLD is blocked and has its default disposition, even if our parent left it ignored.
class ChildEndWatch {
  public:
    ChildEndWatch();
    ~ChildEndWatch();
    ChildEndWatch(const ChildEndWatch&) = delete;
    ChildEndWatch& operator=(const ChildEndWatch&) = delete;

    /// False if the system gave no descriptor; errno says why.
    explicit operator bool() const { return static_cast<bool>(m_events); }

    /// Readable from the end of a child until `Clear`.
    int Get() const { return m_events.Get(); }
    void Clear() const;

  private:
    sigset_t m_mask{};
    struct sigaction m_action {};
    Descriptor m_events;
};

/// A shell as a child process, the leader of a session of its own. The destructor waits for it, and a signal
/// that ends our process ends it, too. Only one runs at a time.
class ShellProcess {
  public:
    ShellProcess() = default;
    ~ShellProcess();
    ShellProcess(const ShellProcess&) = delete;
    ShellProcess& operator=(const ShellProcess&) = delete;

    /// Runs `/bin/sh -c` with /dev/null as standard input, `output` as standard output and our standard
    /// error; no other descriptor, default signal dispositions, nothing blocked, `ShellEnvironment`.
    Result Start(std::string commandLine, int output);

    /// True if it was not started, or has ended.
    bool HasEnded();

  private:
    /// Records which process runs (0: none), also for `Interruption`, which ends it with us.
    void SetRunning(pid_t pid);

    pid_t m_pid = 0;
};

}  // namespace corekit
