// What an administrator types, for code that reads standard input.
#pragma once

#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace testsupport {

/// Standard input is a pipe that holds this text and then ends, as long as the object lives; afterwards it is
/// empty. The text must fit into a pipe (64 kB).
class StandardInput {
  public:
    explicit StandardInput(const std::string& text) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe(ends), 0);
        EXPECT_EQ(write(ends[1], text.data(), text.size()), static_cast<ssize_t>(text.size()));
        Reopen("/proc/self/fd/" + std::to_string(ends[0]));
        close(ends[0]);
        close(ends[1]);
    }
    ~StandardInput() { Reopen("/dev/null"); }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

  private:
    static void Reopen(const std::string& path) {
        EXPECT_NE(std::freopen(path.c_str(), "r", stdin), nullptr);
    }
};

}  // namespace testsupport
