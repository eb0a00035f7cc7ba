// Runs code in a child process in which system calls fail on demand.
#pragma once

#include <gtest/gtest.h>
#include <initializer_list>

#include "tests/support/InChild.h"
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
    return InChild([&]() -> int {
        EXPECT_TRUE(MakeFail(calls));
        return action();
    });
}

}  // namespace testsupport
