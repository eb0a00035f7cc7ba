// A shell as a child process, which is always waited for, and the environment that it gets.
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

#include "corekit/os/Descriptor.h"
#include "corekit/os/Result.h"

namespace corekit {

/// The absolute directories of the environment's PATH, separated by colons, or
/// "/usr/sbin:/usr/bin:/sbin:/bin" if it has none. A relative one would let whoever owns the current
/// directory choose what root runs.
std::string SearchPath();

/// Our environment with LC_ALL=POSIX, with `SearchPath` as PATH, and without the variables by which a caller
/// could change what a shell, the loader or a tool in a pipe does.
class ShellEnvironment {
  public:
    ShellEnvironment();
    ShellEnvironment(const ShellEnvironment&) = delete;
    ShellEnvironment& operator=(const ShellEnvironment&) = delete;

    /// In the form that exec takes: the last pointer is null. The others are valid as long as this object
    /// lives and `environ` does not change.
    const std::vector<char*>& Variables() const { return m_variables; }

  private:
    std::string m_path;
    std::vector<char*> m_variables;
};

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
