// Runs code in a child process: what it does to itself ends with it.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testsupport {

/// What has failed so far in the test that runs.
inline int Failures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

/// The small number, below 255, that `action` returns in a child process; -1 and a failure when that process
/// does not end by itself. What is expected there and does not hold fails the test here.
template <typename Action>
int InChild(Action&& action) {
    constexpr int kFailed = 255;
    const pid_t child = fork();
    if (child == 0) {
        const int before = Failures();
        const int result = action();
        _exit(Failures() > before ? kFailed : result);
    }
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
        ADD_FAILURE() << "the child process did not end by itself, wait status " << status;
        return -1;
    }
    if (WEXITSTATUS(status) == kFailed) ADD_FAILURE() << "something did not hold in the child process";
    return WEXITSTATUS(status);
}

}  // namespace testsupport
