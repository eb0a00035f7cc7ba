// Runs code with another directory as the root of the file system, for tests of what happens to "/" itself.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "tests/support/InChild.h"

namespace testsupport {

/// Runs `action` in a child process whose root and current directory is `root`.
template <typename Action>
void WithRoot(const std::string& root, Action&& action) {
    InChild([&] {
        const bool isInRoot = chroot(root.c_str()) == 0 && chdir("/") == 0;
        EXPECT_TRUE(isInRoot) << root;
        if (isInRoot) action();
        return 0;
    });
}

}  // namespace testsupport
