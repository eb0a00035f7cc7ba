// A program's dialogue on a real terminal.
#pragma once

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace testsupport {

/// A child process on a terminal of its own, and what is shown and typed there.
class Terminal {
  public:
    /// The child runs `action` and exits with status 0 when that is true.
    explicit Terminal(const std::function<bool()>& action)
        : m_child(forkpty(&m_master, nullptr, nullptr, nullptr)) {
        if (m_child == 0) _exit(Open() && action() ? 0 : 1);
    }
    ~Terminal() { close(m_master); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    /// Everything shown up to and with the text; fails when it does not come.
    std::string ReadUntil(const std::string& text) {
        std::string shown;
        char byte = 0;
        while (!shown.ends_with(text)) {
            if (read(m_master, &byte, 1) != 1) {
                ADD_FAILURE() << "not shown: " << text << "\nbut: " << shown;
                break;
            }
            shown += byte;
        }
        return shown;
    }
    void Type(const std::string& keys) {
        EXPECT_EQ(write(m_master, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    void HangUp() {
        close(m_master);
        m_master = -1;
    }

    /// Both wait for the child; -1 when it has ended in the other way.
    int ExitStatus() const {
        const int status = Wait();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int FatalSignal() const {
        const int status = Wait();
        return WIFSIGNALED(status) ? WTERMSIG(status) : -1;
    }

  private:
    /// Of the child, true if it can read the terminal. A signal ends it when its test never answers it.
    static bool Open() {
        constexpr unsigned kSeconds = 60;
        alarm(kSeconds);
        return std::freopen("/dev/tty", "r", stdin) != nullptr;
    }
    int Wait() const {
        int status = -1;
        EXPECT_EQ(waitpid(m_child, &status, 0), m_child);
        return status;
    }

    int m_master = -1;
    pid_t m_child;
};

}  // namespace testsupport
