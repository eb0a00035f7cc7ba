// Runs code in child processes in each of which one system call fails: the first, then the second, and so on.
#pragma once

#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "tests/support/EndChild.h"
#include "tests/support/SystemCallFilter.h"

namespace testsupport {

/// The calls that work on files, but for those that take a name away: where these fail, too, what should go
/// stays.
inline const std::vector<int> kFileCallsButUnlink = {
    SYS_openat,     SYS_newfstatat, SYS_fstat,   SYS_read,     SYS_write,     SYS_lseek,  SYS_getdents64,
    SYS_readlinkat, SYS_readlink,   SYS_fchmod,  SYS_fchmodat, SYS_chmod,     SYS_fchown, SYS_fchownat,
    SYS_utimensat,  SYS_fsync,      SYS_rename,  SYS_renameat, SYS_renameat2, SYS_link,   SYS_linkat,
    SYS_symlinkat,  SYS_mkdir,      SYS_mkdirat, SYS_mknodat,  SYS_getrandom};

inline const std::vector<int> kFileCalls = [] {
    std::vector<int> calls = kFileCallsButUnlink;
    calls.insert(calls.end(), {SYS_unlink, SYS_unlinkat, SYS_rmdir});
    return calls;
}();

/// Makes one of the calling thread's system calls fail, counted from 1 among those of the given numbers.
class OneFailure {
  public:
    OneFailure(const std::vector<int>& calls, int failing, int errnoValue)
        : m_failing(failing), m_errnoValue(errnoValue), m_judge([this] { Judge(); }) {
        SystemCallFilter filter;
        for (const int call : calls) filter.Add(call, SECCOMP_RET_USER_NOTIF);
        m_listener.set_value(filter.Install(SECCOMP_FILTER_FLAG_NEW_LISTENER));
    }

    bool Happened() const { return m_count >= m_failing; }

  private:
    [[noreturn]] void Judge() {
        const int listener = m_listener.get_future().get();
        for (;;) {
            seccomp_notif request{};
            if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &request) != 0) continue;
            seccomp_notif_resp verdict{};
            verdict.id = request.id;
            const bool counts = !IsWriteToPipe(request.data);
            if (counts && ++m_count == m_failing) {
                verdict.error = -m_errnoValue;
            } else {
                verdict.flags = SECCOMP_USER_NOTIF_FLAG_CONTINUE;
            }
            ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &verdict);
        }
    }

    /// Sanitizers find out by one whether memory can be read.
    static bool IsWriteToPipe(const seccomp_data& call) {
        struct stat info {};
        return call.nr == SYS_write && fstat(static_cast<int>(call.args[0]), &info) == 0 &&
               S_ISFIFO(info.st_mode);
    }

    int m_failing;
    int m_errnoValue;
    std::atomic<int> m_count = 0;
    std::promise<int> m_listener;
    std::thread m_judge;
};

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
        const pid_t child = fork();
        if (child == 0) {
            ChildEnder ender;
            OneFailure failure(calls, failing, errnoValue);
            const int result = action();
            ender.End(failure.Happened() ? result : kUndisturbed | result);
        }
        int status = -1;
        if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
            ADD_FAILURE() << "the child process did not end by itself, wait status " << status;
            return -1;
        }
        if (WEXITSTATUS(status) >= kUndisturbed) {
            EXPECT_EQ(WEXITSTATUS(status), kUndisturbed);
            return failing - 1;
        }
        check(WEXITSTATUS(status));
    }
}

}  // namespace testsupport
