// The end of the process by a signal from outside: what must not outlive it goes first.
#pragma once

#include <csignal>
#include <sys/types.h>

namespace corekit::Interruption {

/// The signals by which the process is ended from outside.
inline constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGTERM};

/// From now on the signals of `kSignals` end the process as they do by default, but not before the
/// running processes of `EndWithUs` have ended and every `TemporaryFile` is gone. One that the caller left
/// ignored stays ignored. SIGCHLD does not: ignored, it would leave us without the status of our children.
void Prepare();

/// Calls `last` when a signal (with 128 and its number, as a shell tells the status) or a lack of memory
/// (with 1) ends the process. It must be async-signal-safe. Null stands for no function.
void BeforeEnd(void (*last)(int status));

/// Calls the function given to `BeforeEnd`; for a caller that ends the process at once.
void TellEnd(int status);

/// From now on this process group ends with us: it gets the signal that ends us, and SIGKILL if it still runs
/// two seconds later. Its leader is a child of ours. 0 stands for no group.
void EndWithUs(pid_t group);

}  // namespace corekit::Interruption

namespace corekit {

/// Blocks the signals that end the process as long as this object lives: for a few quick steps that leave the
/// host in order only together.
class SignalBlock {
  public:
    SignalBlock();
    ~SignalBlock();
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

  private:
    sigset_t m_before{};
};

}  // namespace corekit
