// Runs the unit tests of one folder inside a private copy of this machine, so that fixed paths are tested as
// they are. Each test begins with the options, the error text, the environment, the umask and the current
// directory that the first one began with ("/"), and has to end in time.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "corekit/fs/Confinement.h"
#include "corekit/fs/HostDirectories.h"
#include "run/Args.h"
#include "run/Failure.h"
#include "run/Messages.h"

namespace {

bool IsInPrivateMachine() {
    struct stat info {};
    return stat("/run/private-machine/changes", &info) == 0;
}

/// Starts this program again inside the private copy; returns only when that fails.
void EnterPrivateMachine(char** arguments) {
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length < 0) return;
    self[length] = '\0';
    std::vector<char*> command = {const_cast<char*>(PRIVATE_MACHINE), self};
    for (char** argument = arguments + 1; *argument != nullptr; ++argument) command.push_back(*argument);
    command.push_back(nullptr);
    execv(PRIVATE_MACHINE, command.data());
}

/// What a test may change for itself and need not change back.
class FreshGlobals : public testing::EmptyTestEventListener {
  public:
    FreshGlobals() { std::filesystem::current_path("/"); }

  private:
    void OnTestEnd(const testing::TestInfo&) override {
        Zorvane::AgentInstaller::Args::bQuiet = false;
        Zorvane::AgentInstaller::Args::bNoSearch = false;
        Zorvane::AgentInstaller::Messages::pathsNotReplaced.clear();
        Zorvane::AgentInstaller::Messages::failuresToMake.clear();
        Zorvane::AgentInstaller::Error::m_sErrorText = corekit::String();
        corekit::ForgetOwn();
        corekit::EndConfinement();
        clearenv();
        for (std::string& variable : m_environment) putenv(variable.data());
        umask(022);
        std::filesystem::current_path("/");
    }

    std::vector<std::string> m_environment = [] {
        std::vector<std::string> variables;
        for (char** variable = environ; *variable != nullptr; ++variable) variables.emplace_back(*variable);
        return variables;
    }();
};

/// Ends the program, and with it every process that it has started, when a test takes too long: one that
/// waits for ever would hold up all that come after it.
class TimeLimit : public testing::EmptyTestEventListener {
  public:
    TimeLimit() {
        std::signal(kSignal, [](int) { End(); });
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = kSignal;
        if (timer_create(CLOCK_MONOTONIC, &event, &m_timer) != 0) std::abort();
    }

  private:
    void OnTestStart(const testing::TestInfo& test) override {
        std::snprintf(s_message, sizeof s_message, "\n[  FAILED  ] %s.%s took more than %d seconds\n",
                      test.test_suite_name(), test.name(), kSeconds);
        Arm(kSeconds);
    }
    void OnTestEnd(const testing::TestInfo&) override { Arm(0); }

    void Arm(time_t seconds) {
        const itimerspec time = {{0, 0}, {seconds, 0}};
        timer_settime(m_timer, 0, &time, nullptr);
    }
    [[noreturn]] static void End() { _exit(write(s_output, s_message, std::strlen(s_message)) < 0 ? 2 : 1); }

    static constexpr int kSeconds =
        300;  // many times what the longest takes, for the sanitizers and a busy machine
    static inline const int kSignal = SIGRTMIN;  // no test uses it; alarm() stays theirs
    static inline const int s_output =
        fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);  // a test may redirect its own
    static inline char s_message[512];
    timer_t m_timer{};
};

}  // namespace

int main(int argc, char** argv) {
    if (!IsInPrivateMachine()) {
        EnterPrivateMachine(argv);
        std::perror(PRIVATE_MACHINE);
        return 1;
    }
    // In a child process an exception that is caught here would go on with the tests there, and unnoticed
    // here.
    GTEST_FLAG_SET(catch_exceptions, false);
    testing::InitGoogleMock(&argc, argv);
    auto& listeners = testing::UnitTest::GetInstance()->listeners();
    listeners.Append(new FreshGlobals);  // the list owns them
    listeners.Append(new TimeLimit);
    return RUN_ALL_TESTS();
}
