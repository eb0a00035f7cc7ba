// The child process, and the signals while it runs.
#include "apply/Attempt.h"

#include <ctime>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "corekit/os/Child.h"
#include "corekit/os/Console.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"
#include "run/Failure.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::Descriptor;

namespace {

constexpr std::size_t kLongestError = 4096;  // less than what a pipe holds

bool IsIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

[[noreturn]] void Perform(const std::function<unsigned()>& command, StandardOutput output,
                          const Interruptions& interruptions, pid_t parent, const Descriptor& errorTo) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);  // it has ended before
    if (output == StandardOutput::Dropped) {
        const auto nowhere = corekit::OpenAt(AT_FDCWD, "/dev/null", O_WRONLY);
        if (!nowhere || dup2(nowhere->Get(), STDOUT_FILENO) < 0) _exit(1);
    }
    sigprocmask(SIG_SETMASK, &interruptions.MaskBefore(), nullptr);
    const unsigned status = command();
    // The writing end is large enough for any text of an error.
    if (status != 0)
        Forgive(corekit::WriteAll(errorTo.Get(), Error::m_sErrorText.Utf8().substr(0, kLongestError)));
    corekit::Console::Flush();
    _exit(static_cast<int>(status));
}

}  // namespace

Interruptions::Interruptions() {
    sigemptyset(&m_signals);
    for (const int signal : corekit::Interruption::kSignals) {
        if (!IsIgnored(signal)) sigaddset(&m_signals, signal);
    }
    sigaddset(&m_signals, SIGCHLD);
    sigprocmask(SIG_BLOCK, &m_signals, &m_before);
}

Interruptions::~Interruptions() {
    // What has been answered by putting everything back is not to end the process as well.
    while (Wait(0) != 0) continue;
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

bool Interruptions::HasCome() {
    while (Wait(0) != 0) continue;
    return m_hasCome;
}

int Interruptions::Wait(unsigned milliseconds) {
    const timespec time{milliseconds / 1000, static_cast<long>(milliseconds % 1000) * 1000000};
    const int signal = sigtimedwait(&m_signals, nullptr, &time);
    if (signal <= 0) return 0;
    if (signal != SIGCHLD) m_hasCome = true;
    return signal;
}

Ending Attempt(const std::function<unsigned()>& command, StandardOutput output,
               Interruptions& interruptions) {
    corekit::Console::Flush();
    const pid_t parent = getpid();
    auto errors = corekit::OpenPipe();
    if (!errors) return {false, false, GetErrorMsg(errors.error()).Utf8()};
    const pid_t child = fork();
    switch (child) {
        case -1:
            return {false, false, GetErrorMsg(corekit::Result::FromErrno()).Utf8()};
        case 0:
            Perform(command, output, interruptions, parent, errors->writer);
        default:
            errors->writer = Descriptor();
    }
    constexpr unsigned kLongTime = 1000;
    int status = 0;
    while (waitpid(child, &status, WNOHANG) != child) {
        const int signal = interruptions.Wait(kLongTime);
        if (signal != 0 && signal != SIGCHLD) kill(child, signal);
    }
    const bool wasInterrupted = interruptions.HasCome();
    const bool hasEndedWell = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    std::string error = corekit::ReadAll(errors->reader.Get(), kLongestError).value_or("");
    if (!hasEndedWell && WIFSIGNALED(status)) error = "The command was ended by a signal.";
    return {hasEndedWell && !wasInterrupted, wasInterrupted, error};
}

}  // namespace Zorvane::AgentInstaller::Apply
