// A process of a test's own, to be signalled.
#pragma once

#include <csignal>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace testsupport {

/// Waits for signals, every one of which ends it.
class ChildProcess {
  public:
    ChildProcess() : m_id(fork()) {
        if (m_id != 0) return;
        for (;;) pause();
    }
    ~ChildProcess() {
        if (m_id > 0) EndedBy(SIGKILL);
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    std::string Id() const { return std::to_string(m_id); }

    /// The signal that ended it; when it runs still, that is `otherwise`, which is sent for the purpose.
    int EndedBy(int otherwise = SIGTERM) {
        kill(m_id, otherwise);
        int status = 0;
        waitpid(m_id, &status, 0);
        m_id = -1;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

  private:
    pid_t m_id;
};

}  // namespace testsupport
