// Runs code with another directory as the root of the file system, for tests of what happens to "/" itself.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/EndChild.h"

namespace testsupport {

/// Runs `action` in a child process whose root and current directory is `root`.
template <typename Action>
void WithRoot(const std::string& root, Action&& action) {
    const pid_t child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        ChildEnder ender;
        if (chroot(root.c_str()) != 0 || chdir("/") != 0) _exit(2);
        action();
        ender.End(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace testsupport
