// Runs code in a child process in which system calls fail on demand.
#pragma once

#include <cstddef>
#include <gtest/gtest.h>
#include <initializer_list>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "tests/support/EndChild.h"

namespace testsupport {

struct FailingCall {
    int number;      // SYS_fsync ...
    int errnoValue;  // what it fails with, every time
};

inline bool MakeFail(std::initializer_list<FailingCall> calls) {
    std::vector<sock_filter> program = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const FailingCall& call : calls) {
        program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call.number), 0, 1));
        program.push_back(
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<unsigned>(call.errnoValue)));
    }
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// The small number that `action` returns when it runs in a child process in which these calls fail.
template <typename Action>
int WithFailing(std::initializer_list<FailingCall> calls, Action&& action) {
    const pid_t child = fork();
    if (child == 0) {
        ChildEnder ender;
        ender.End(MakeFail(calls) ? action() : 255);
    }
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        ADD_FAILURE() << "the child process did not end by itself, wait status " << status;
        return -1;
    }
    return WEXITSTATUS(status);
}

}  // namespace testsupport
