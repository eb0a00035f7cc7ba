// Runs code that pauses, without the time that this takes.
#pragma once

#include <atomic>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"

namespace testsupport {

/// The seconds for which `action` would have slept. It runs in a child process, which pauses no moment; the
/// programs that it starts do.
template <typename Action>
int SecondsPaused(Action&& action) {
    return InChild([&] {
        std::atomic<int> seconds = 0;
        JudgeCalls({SYS_clock_nanosleep}, [&, self = getpid()](const seccomp_notif& call) -> Verdict {
            if (static_cast<pid_t>(call.pid) != self) return std::nullopt;
            seconds += static_cast<int>(reinterpret_cast<const timespec*>(call.data.args[2])->tv_sec);
            return 0;
        });
        action();
        return seconds.load();
    });
}

}  // namespace testsupport
