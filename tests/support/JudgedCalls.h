// Lets a test decide, one by one, what becomes of the system calls of the code that it runs.
#pragma once

#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <optional>
#include <sys/ioctl.h>
#include <thread>
#include <vector>

#include "tests/support/SystemCallFilter.h"

namespace testsupport {

/// What a call returns, a negative errno for its failure, without having been made; nothing lets it be made.
using Verdict = std::optional<int>;

/// From now on, and for ever, `judge` is asked about each of the calling thread's calls of these numbers, in
/// a thread of its own. The children that the caller starts are judged, too. For child processes of a test.
inline void JudgeCalls(const std::vector<int>& calls, std::function<Verdict(const seccomp_notif&)> judge) {
    std::promise<int> installed;
    std::thread([listener = installed.get_future(), judge = std::move(judge)]() mutable {
        const int asked = listener.get();
        for (;;) {
            seccomp_notif call{};
            if (ioctl(asked, SECCOMP_IOCTL_NOTIF_RECV, &call) != 0) continue;
            const Verdict verdict = judge(call);
            seccomp_notif_resp answer{};
            answer.id = call.id;
            if (!verdict) {
                answer.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
            } else if (*verdict < 0) {
                answer.error = *verdict;
            } else {
                answer.val = *verdict;
            }
            ioctl(asked, SECCOMP_IOCTL_NOTIF_SEND, &answer);
        }
    }).detach();
    SystemCallFilter filter;
    for (const int call : calls) filter.Add(call, SECCOMP_RET_USER_NOTIF);
    const int listener = filter.Install(SECCOMP_FILTER_FLAG_NEW_LISTENER);
    ASSERT_GE(listener, 0) << "the kernel lets no calls be judged";
    installed.set_value(listener);
}

}  // namespace testsupport
