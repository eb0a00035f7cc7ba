// Three processes: the one that asks, the first one of the namespaces, which builds the copy and reads it
// afterwards, and the one that runs the code in it.
#include "preview/Rehearse.h"

#include <chrono>
#include <csignal>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "corekit/fs/Dir.h"
#include "corekit/os/Child.h"
#include "corekit/os/Console.h"
#include "corekit/os/SystemCall.h"
#include "preview/LayerReader.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Descriptor;
using corekit::Pipe;
using corekit::Result;
using corekit::String;

namespace {

constexpr std::size_t kLongestAnswer = std::size_t{1} << 31;
constexpr int kMillisecondsBetweenLooks = 20;

// The first byte of what the first process answers.
constexpr char kTold = 'T';
constexpr char kFailed = 'F';

/// Takes what is in a pipe; false at its end.
bool Take(int reader, std::string& bytes, int copyTo) {
    std::string chunk(65536, '\0');
    const auto count = corekit::ReadSome(reader, chunk);
    if (!count || *count == 0) return false;
    bytes.append(chunk, 0, *count);
    // An audience that has gone misses what is in the document all the same.
    if (copyTo >= 0) Forgive(corekit::WriteAll(copyTo, std::string_view(chunk).substr(0, *count)));
    return true;
}

/// The process that runs the code in the copy, seen from the one that built the copy.
class CodeInCopy {
  public:
    CodeInCopy(const HostCopy& copy, Audience audience, const Limits& limits)
        : m_copy(copy), m_audience(audience), m_longestRun(limits.time) {}

    Outcome<Rehearsal> Run(const std::function<std::string()>& code);

  private:
    [[noreturn]] void RunHere(const std::function<std::string()>& code);
    bool Listen();

    const HostCopy& m_copy;
    Audience m_audience;
    std::chrono::milliseconds m_longestRun;
    Pipe m_record;
    Pipe m_output;
    Pipe m_errors;
    Rehearsal m_rehearsal;
    bool m_wasFull = false;
};

Outcome<Rehearsal> CodeInCopy::Run(const std::function<std::string()>& code) {
    for (Pipe* pipe : {&m_record, &m_output, &m_errors}) {
        auto opened = corekit::OpenPipe();
        if (!opened) return FailToPreview(opened.error().About(L"pipe"));
        *pipe = std::move(*opened);
    }
    const pid_t child = fork();
    switch (child) {
        case -1:
            return FailToPreview(Result::FromErrno().About(L"fork"));
        case 0:
            RunHere(code);
        default:
            for (Pipe* pipe : {&m_record, &m_output, &m_errors}) pipe->writer = Descriptor();
    }

    const bool inTime = Listen();
    if (!inTime) kill(child, SIGKILL);
    const int status = corekit::WaitForChild(child);
    if (!inTime) return Fail(L"The preview failed: the command has not ended within ten minutes.");
    if (m_wasFull)
        return Fail(String(kNotPossible) +
                    L"what the command writes does not fit into a quarter of the memory.");
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return m_rehearsal;
    if (WIFEXITED(status) && !m_rehearsal.record.empty())  // why the code has not been run
        return Failure{String::FromUtf8(m_rehearsal.record), {}};
    return Fail(L"The preview failed: the command was ended by a signal.");
}

void CodeInCopy::RunHere(const std::function<std::string()>& code) {
    const bool isHeard =
        dup2(m_output.writer.Get(), STDOUT_FILENO) >= 0 && dup2(m_errors.writer.Get(), STDERR_FILENO) >= 0;
    const Result entered = isHeard ? m_copy.Enter() : Result::FromErrno().About(L"dup2");
    if (!entered) {
        // Without the reason the other side says that the code has not ended by itself.
        Forgive(corekit::WriteAll(m_record.writer.Get(), FailToPreview(entered).text.Utf8()));
        _exit(1);
    }
    corekit::Dir::TakeTreesAwayTo(std::string(kTakenAway));
    const std::string record = code();
    corekit::Console::Flush();
    // Without a record the other side says that the rehearsal has failed.
    Forgive(corekit::WriteAll(m_record.writer.Get(), record));
    _exit(0);
}

/// Reads all that is said until the code has ended. False when that takes too long.
bool CodeInCopy::Listen() {
    const auto start = std::chrono::steady_clock::now();
    pollfd sources[] = {{m_record.reader.Get(), POLLIN, 0},
                        {m_output.reader.Get(), POLLIN, 0},
                        {m_errors.reader.Get(), POLLIN, 0}};
    Pipe* const pipes[] = {&m_record, &m_output, &m_errors};
    std::string* const texts[] = {&m_rehearsal.record, &m_rehearsal.output, &m_rehearsal.errors};
    // Only the code's own process holds the writing end for the record.
    while (sources[0].fd >= 0) {
        if (m_audience.terminal < 0 && std::chrono::steady_clock::now() - start > m_longestRun) return false;
        poll(sources, std::size(sources), kMillisecondsBetweenLooks);
        m_wasFull = m_wasFull || m_copy.IsFull();
        for (std::size_t i = std::size(sources); i-- > 0;) {
            if (sources[i].fd < 0 || sources[i].revents == 0) continue;
            const int copyTo = i == 1 ? m_audience.terminal : -1;
            if (Take(sources[i].fd, *texts[i], copyTo)) continue;
            sources[i].fd = -1;
            pipes[i]->reader = Descriptor();  // whoever goes on writing must not wait for a reader
        }
    }
    // A daemon that was left behind may hold the other two open, and write to them, for ever.
    for (std::size_t i = 1; i < std::size(sources); ++i) {
        int held = 0;
        if (sources[i].fd < 0 || ioctl(sources[i].fd, FIONREAD, &held) != 0) continue;
        const std::size_t end = texts[i]->size() + static_cast<std::size_t>(held);
        const int copyTo = i == 1 ? m_audience.terminal : -1;
        while (texts[i]->size() < end && Take(sources[i].fd, *texts[i], copyTo)) continue;
    }
    return true;
}

std::string Answer(const Outcome<std::string>& told) {
    return told ? kTold + *told : kFailed + told.error().text.Utf8();
}

/// What the first process of the namespaces does. It ends when its parent does, and all others in the
/// namespaces end with it.
[[noreturn]] void BuildRunAndTell(
    const std::function<std::string()>& code,
    const std::function<Outcome<std::string>(const HostCopy&, const Rehearsal&)>& tell, Audience audience,
    const Limits& limits, const Descriptor& answerTo) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd parent{answerTo.Get(), 0, 0};
    if (poll(&parent, 1, 0) != 0) _exit(1);  // the parent has ended before
    HostCopy copy;
    const auto answer = [&]() -> Outcome<std::string> {
        if (Outcome<> built = copy.Build(limits.bytes); !built) return tl::unexpected(built.error());
        const Outcome<Rehearsal> rehearsal = CodeInCopy(copy, audience, limits).Run(code);
        if (!rehearsal) return tl::unexpected(rehearsal.error());
        return tell(copy, *rehearsal);
    };
    // Without an answer the other side says that there is none.
    Forgive(corekit::WriteAll(answerTo.Get(), Answer(answer())));
    _exit(0);
}

Outcome<std::string> ReadAnswer(const Descriptor& reader) {
    const auto read = corekit::ReadAll(reader.Get(), kLongestAnswer);
    if (!read || read->empty()) return Fail(L"The preview failed: its process was ended by a signal.");
    const std::string rest = read->substr(1);
    if (read->front() == kTold) return rest;
    return Failure{String::FromUtf8(rest), {}};
}

}  // namespace

Failure FailToPreview(const Result& cause) {
    return Fail(L"The preview failed: ", cause.Path() + L": " + GetErrorMsg(cause) + L".");
}

Outcome<std::string> Rehearse(
    const std::function<std::string()>& code,
    const std::function<Outcome<std::string>(const HostCopy&, const Rehearsal&)>& tell, Audience audience,
    const Limits& limits) {
    corekit::Console::Flush();
    auto answer = corekit::OpenPipe();
    if (!answer) return FailToPreview(answer.error().About(L"pipe"));
    constexpr unsigned long kNamespaces = CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWNET | CLONE_NEWIPC;
    const long child = syscall(SYS_clone, kNamespaces | SIGCHLD, nullptr, nullptr, nullptr, nullptr);
    switch (child) {
        case -1:
            return Fail(String(kNotPossible) +
                        L"the kernel gives no namespaces; run it as root, outside of a container (" +
                        GetErrorMsg(Result::FromErrno()) + L").");
        case 0:
            answer->reader = Descriptor();
            BuildRunAndTell(code, tell, audience, limits, answer->writer);
        default:
            answer->writer = Descriptor();
    }
    Outcome<std::string> told = ReadAnswer(answer->reader);
    answer->reader = Descriptor();  // where not all could be read, nobody must wait for a reader
    corekit::WaitForChild(static_cast<pid_t>(child));
    return told;
}

}  // namespace Zorvane::AgentInstaller::Preview
