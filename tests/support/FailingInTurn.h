// Runs code in child processes in each of which one system call fails: the first, then the second, and so on.
#pragma once

#include <atomic>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <vector>

#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"

namespace testsupport {

/// The calls that work on files, but for those that take a name away: where these fail, too, what should go
/// stays.
inline const std::vector<int> kFileCallsButUnlink = {
    SYS_openat,     SYS_openat2,    SYS_newfstatat, SYS_fstat,   SYS_read,     SYS_write,     SYS_lseek,
    SYS_getdents64, SYS_readlinkat, SYS_readlink,   SYS_fchmod,  SYS_fchmodat, SYS_chmod,     SYS_fchown,
    SYS_fchownat,   SYS_utimensat,  SYS_fsync,      SYS_rename,  SYS_renameat, SYS_renameat2, SYS_link,
    SYS_linkat,     SYS_symlinkat,  SYS_mkdir,      SYS_mkdirat, SYS_mknodat,  SYS_getrandom};

inline const std::vector<int> kFileCalls = [] {
    std::vector<int> calls = kFileCallsButUnlink;
    calls.insert(calls.end(), {SYS_unlink, SYS_unlinkat, SYS_rmdir});
    return calls;
}();

/// Sanitizers find out by one whether memory can be read.
inline bool IsWriteToPipe(const seccomp_data& call) {
    struct stat info {};
    return call.nr == SYS_write && fstat(static_cast<int>(call.args[0]), &info) == 0 &&
           S_ISFIFO(info.st_mode);
}

/// Until no call is left to fail: `prepare` here, `action` in a child process in which one call fails, and
/// `check` here with the small number that it returned. Undisturbed it has to return 0. Returns how many
/// calls failed.
template <typename Prepare, typename Action, typename Check>
int FailInTurn(const std::vector<int>& calls, int errnoValue, Prepare&& prepare, Action&& action,
               Check&& check) {
    constexpr int kUndisturbed = 128;
    for (int failing = 1;; ++failing) {
        SCOPED_TRACE("failing call " + std::to_string(failing));
        prepare();
        const int result = InChild([&] {
            std::atomic<int> count = 0;
            JudgeCalls(calls, [&](const seccomp_notif& call) -> Verdict {
                if (IsWriteToPipe(call.data) || ++count != failing) return std::nullopt;
                return -errnoValue;
            });
            const int returned = action();
            return count >= failing ? returned : kUndisturbed | returned;
        });
        if (result < 0) return -1;
        if (result >= kUndisturbed) {
            EXPECT_EQ(result, kUndisturbed);
            return failing - 1;
        }
        check(result);
    }
}

}  // namespace testsupport
