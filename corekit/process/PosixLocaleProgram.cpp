// Running a shell command: its output is read until the command itself has ended.
#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

#include "corekit/os/Child.h"
#include "corekit/os/Console.h"
#include "corekit/process/Program.h"
#include "corekit/process/detail/ShellProcess.h"

namespace corekit {

namespace {

/// The reading end of a pipe and all that came through it.
class PipeReader {
  public:
    explicit PipeReader(Descriptor pipe) : m_pipe(std::move(pipe)) {}

    int Get() const { return m_pipe.Get(); }
    const std::string& Bytes() const { return m_bytes; }
    Result Failure() const { return m_failure; }

    /// Reads once, at most `limit` bytes. False, and the pipe closed, at its end or on a failure.
    bool Read(std::size_t limit = std::string::npos) {
        char bytes[4096];
        const ssize_t size = read(m_pipe.Get(), bytes, std::min(limit, sizeof bytes));
        if (size > 0) m_bytes.append(bytes, static_cast<std::size_t>(size));
        if (size > 0 || (size < 0 && errno == EINTR)) return true;
        if (size < 0) m_failure = Result::FromErrno();
        m_pipe = Descriptor();
        return false;
    }

    /// Reads what the pipe holds now and no more: a daemon may write to it for ever.
    void ReadHeld() {
        int held = 0;
        if (ioctl(m_pipe.Get(), FIONREAD, &held) != 0) {
            m_failure = Result::FromErrno();
            return;
        }
        const std::size_t end = m_bytes.size() + static_cast<std::size_t>(held);
        while (m_bytes.size() < end && Read(end - m_bytes.size())) continue;
    }

  private:
    Descriptor m_pipe;
    std::string m_bytes;
    Result m_failure;
};

void ReadUntilEnd(ShellProcess& shell, const ChildEndWatch& watch, PipeReader& output) {
    while (!shell.HasEnded()) {
        // If poll fails, both count as ready: the end of the output then stands for the end of the command.
        pollfd ready[] = {{output.Get(), POLLIN, POLLIN}, {watch.Get(), POLLIN, POLLIN}};
        if (poll(ready, std::size(ready), -1) < 0 && errno == EINTR) continue;
        if (ready[1].revents != 0) watch.Clear();
        if (ready[0].revents != 0 && !output.Read()) return;
    }
    output.ReadHeld();
}

void AddLines(std::string_view output, StringToMapFilter& filter) {
    while (!output.empty()) {
        const std::size_t end = output.find('\n');
        filter.Line(String::FromUtf8(output.substr(0, end)));
        output.remove_prefix(end == std::string_view::npos ? output.size() : end + 1);
    }
}

}  // namespace

Result PosixLocaleProgram::Run(const String& commandLine, StringToMapFilter& filter) {
    filter.Clear();
    Console::Flush();

    const ChildEndWatch watch;
    if (!watch) return Result::FromErrno();
    auto pipe = OpenPipe();
    if (!pipe) return pipe.error();

    ShellProcess shell;
    PipeReader output(std::move(pipe->reader));
    if (const Result started = shell.Start(commandLine.Utf8(), pipe->writer.Get()); !started) return started;
    pipe->writer = Descriptor();

    ReadUntilEnd(shell, watch, output);
    if (output.Failure()) AddLines(output.Bytes(), filter);
    return output.Failure();
}

}  // namespace corekit
