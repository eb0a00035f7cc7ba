// A script that runs, as an agent's program does.
#pragma once

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TestFiles.h"

namespace testsupport {

/// A script that runs until it is ended. It has begun once the object is there.
class RunningScript {
  public:
    explicit RunningScript(const std::string& path) {
        testfiles::Write(path, "#!/bin/sh\necho >&3\nexec 3>&-\nread line\n", 0755);
        int begun[2] = {};
        int input[2] = {};
        EXPECT_EQ(pipe2(begun, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(input, O_CLOEXEC), 0);
        m_id = fork();
        if (m_id == 0) {
            dup2(input[0], 0);
            dup2(begun[1], 3);
            execl(path.c_str(), path.c_str(), nullptr);
            _exit(127);
        }
        close(begun[1]);
        close(input[0]);
        m_input = input[1];
        char byte = 0;
        EXPECT_EQ(read(begun[0], &byte, 1), 1) << path;
        close(begun[0]);
    }
    ~RunningScript() {
        kill(m_id, SIGKILL);
        waitpid(m_id, nullptr, 0);
        close(m_input);
    }
    RunningScript(const RunningScript&) = delete;
    RunningScript& operator=(const RunningScript&) = delete;

    pid_t Id() const { return m_id; }

  private:
    pid_t m_id = 0;
    int m_input = -1;
};

}  // namespace testsupport
