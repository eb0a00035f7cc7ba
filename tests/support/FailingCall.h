// Runs code in a child process in which system calls fail on demand.
#pragma once

#include <gtest/gtest.h>
#include <initializer_list>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/EndChild.h"
#include "tests/support/SystemCallFilter.h"

namespace testsupport {

struct FailingCall {
    int number;      // SYS_fsync ...
    int errnoValue;  // what it fails with, every time
};

inline bool MakeFail(std::initializer_list<FailingCall> calls) {
    SystemCallFilter filter;
    for (const FailingCall& call : calls) {
        filter.Add(call.number, SECCOMP_RET_ERRNO | static_cast<unsigned>(call.errnoValue));
    }
    return filter.Install() == 0;
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
