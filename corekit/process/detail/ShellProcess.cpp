// A shell as a child process: what it inherits of the environment and else, and how its end is noticed.
#include "corekit/process/detail/ShellProcess.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <string_view>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr std::string_view kUsualDirectories = "/usr/sbin:/usr/bin:/sbin:/bin";

constexpr std::string_view kLeftOut[] = {
    "BASHOPTS",     "CDPATH",    "COLUMNS",        "ENV",       "FPATH", "GLOBIGNORE",
    "GREP_OPTIONS", "IFS",       "LANG",           "LANGUAGE",  "PATH",  "POSIXLY_CORRECT",
    "PS4",          "PS_FORMAT", "PS_PERSONALITY", "SHELLOPTS",
};

constexpr std::string_view kLeftOutPrefixes[] = {"BASH_", "LC_", "LD_"};

/// Old shells import a variable with such a value as a function.
constexpr std::string_view kFunction = "() {";

char kPosixLocale[] = "LC_ALL=POSIX";

bool IsLeftOut(std::string_view variable) {
    const std::string_view name = variable.substr(0, variable.find('='));
    return std::ranges::find(kLeftOut, name) != std::end(kLeftOut) ||
           std::ranges::any_of(kLeftOutPrefixes, [&](auto prefix) { return name.starts_with(prefix); }) ||
           (name.size() < variable.size() && variable.substr(name.size() + 1).starts_with(kFunction));
}

}  // namespace

std::string SearchPath() {
    const char* const path = std::getenv("PATH");
    std::string_view rest = path == nullptr ? std::string_view() : path;
    std::string directories;
    while (!rest.empty()) {
        const std::string_view directory = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
        if (!directory.starts_with('/')) continue;
        if (!directories.empty()) directories += ':';
        directories += directory;
    }
    return directories.empty() ? std::string(kUsualDirectories) : directories;
}

ShellEnvironment::ShellEnvironment() : m_path("PATH=" + SearchPath()) {
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (!IsLeftOut(*variable)) m_variables.push_back(*variable);
    }
    m_variables.push_back(m_path.data());
    m_variables.push_back(kPosixLocale);
    m_variables.push_back(nullptr);
}

ChildEndWatch::ChildEndWatch() {
    sigset_t childEnd;
    sigemptyset(&childEnd);
    sigaddset(&childEnd, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childEnd, &m_mask);
    struct sigaction notIgnored {};
    notIgnored.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &notIgnored, &m_action);
    m_events = Descriptor(signalfd(-1, &childEnd, SFD_CLOEXEC | SFD_NONBLOCK));
}

ChildEndWatch::~ChildEndWatch() {
    sigaction(SIGCHLD, &m_action, nullptr);
    sigprocmask(SIG_SETMASK, &m_mask, nullptr);
}

void ChildEndWatch::Clear() const {
    signalfd_siginfo event;
    while (read(m_events.Get(), &event, sizeof event) > 0) continue;
}

namespace {

/// What posix_spawn does in the child before the shell runs.
class SpawnPlan {
  public:
    explicit SpawnPlan(int output) {
        Check(posix_spawn_file_actions_init(&m_files));
        Check(posix_spawnattr_init(&m_attributes));
        PlanDescriptors(output);
        PlanSignals();
    }
    ~SpawnPlan() {
        posix_spawnattr_destroy(&m_attributes);
        posix_spawn_file_actions_destroy(&m_files);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    /// The first failure of planning; with one, nothing may be started.
    Result Failure() const { return Result(m_failure); }

    const posix_spawn_file_actions_t* Files() const { return &m_files; }
    const posix_spawnattr_t* Attributes() const { return &m_attributes; }

  private:
    void PlanDescriptors(int output) {
        // The output goes first: where our own standard streams are closed, it may have got number 0 or 2.
        Check(posix_spawn_file_actions_adddup2(&m_files, output, STDOUT_FILENO));
        Check(posix_spawn_file_actions_addopen(&m_files, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
        const bool hasErrorStream = fcntl(STDERR_FILENO, F_GETFD) == 0;  // open, and for children too
        if (!hasErrorStream) {
            Check(posix_spawn_file_actions_addopen(&m_files, STDERR_FILENO, "/dev/null", O_WRONLY, 0));
        }
        Check(posix_spawn_file_actions_addclosefrom_np(&m_files, STDERR_FILENO + 1));
    }

    void PlanSignals() {
        sigset_t signals;
        sigfillset(&signals);
        Check(posix_spawnattr_setsigdefault(&m_attributes, &signals));
        sigemptyset(&signals);
        Check(posix_spawnattr_setsigmask(&m_attributes, &signals));
        Check(posix_spawnattr_setflags(&m_attributes,
                                       POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID));
    }

    void Check(int error) {
        if (m_failure == 0) m_failure = error;
    }

    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
    int m_failure = 0;
};

}  // namespace

ShellProcess::~ShellProcess() {
    siginfo_t end;
    while (!HasEnded()) waitid(P_PID, static_cast<id_t>(m_pid), &end, WEXITED | WNOWAIT);
}

Result ShellProcess::Start(std::string commandLine, int output) {
    // The shell would read the command line up to the first NUL only.
    if (commandLine.find('\0') != std::string::npos) return Result(EINVAL);
    char shell[] = "/bin/sh";
    char option[] = "-c";
    char* arguments[] = {shell, option, commandLine.data(), nullptr};
    const SpawnPlan plan(output);
    if (!plan.Failure()) return plan.Failure();
    pid_t pid = 0;
    const ShellEnvironment environment;
    const SignalBlock untilRecorded;
    const int failure =
        posix_spawn(&pid, shell, plan.Files(), plan.Attributes(), arguments, environment.Variables().data());
    if (failure == 0) SetRunning(pid);
    return Result(failure);
}

bool ShellProcess::HasEnded() {
    if (m_pid == 0) return true;
    // Once it has been waited for, its number may be another process's.
    const SignalBlock untilRecorded;
    if (Uninterrupted([&] { return waitpid(m_pid, nullptr, WNOHANG); }) == 0) return false;
    SetRunning(0);
    return true;
}

void ShellProcess::SetRunning(pid_t pid) {
    m_pid = pid;
    Interruption::EndWithUs(pid);
}

}  // namespace corekit
