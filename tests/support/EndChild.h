// Ending a test's child process at once, with its coverage counted.
#pragma once

#include <csignal>
#include <future>
#include <sched.h>
#include <thread>
#include <unistd.h>

extern "C" void __gcov_dump() __attribute__((weak));  // there when built with coverage counters

namespace testsupport {

/// What _exit does, but for the coverage counters.
[[noreturn]] inline void EndChild(int status) {
    if (__gcov_dump != nullptr) __gcov_dump();
    _exit(status);
}

/// Ends this process from a thread of its own: whatever root the caller moves to and whatever of its system
/// calls fail, the counters are written. That thread takes no signals.
class ChildEnder {
  public:
    ChildEnder() {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        m_thread = std::thread([this] { EndChild(m_status.get_future().get()); });
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        if (unshare(CLONE_FS) != 0) _exit(255);
    }

    [[noreturn]] void End(int status) {
        m_status.set_value(status);
        for (;;) pause();
    }

  private:
    std::promise<int> m_status;
    std::thread m_thread;
};

}  // namespace testsupport
