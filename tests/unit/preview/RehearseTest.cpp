// What code in a copy of the host can see and reach, and how a rehearsal ends.
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "corekit/os/Child.h"
#include "corekit/os/SystemCall.h"
#include "preview/Rehearse.h"
#include "tests/support/FailingCall.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/InCopy.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using testsupport::InCopy;
using testsupport::YesOrNo;

TEST(Rehearse, TheHostKeepsItsFiles) {
    testfiles::Write("/opt/file", "old");
    EXPECT_EQ(InCopy([] {
                  testfiles::Write("/opt/file", "new");
                  testfiles::Write("/opt/other", "");
                  fs::remove_all("/etc/init.d");
                  return testfiles::Read("/opt/file");
              }),
              "new");
    EXPECT_EQ(testfiles::Read("/opt/file"), "old");
    EXPECT_FALSE(testfiles::Exists("/opt/other"));
    EXPECT_TRUE(testfiles::Exists("/etc/init.d"));
    fs::remove("/opt/file");
}

TEST(Rehearse, OutputIsKept) {
    const auto tell = [](const HostCopy&, const Rehearsal& run) -> Outcome<std::string> {
        return run.output + "|" + run.errors + "|" + run.record;
    };
    const auto code = [] {
        const bool isWritten = write(1, "out", 3) == 3 && write(2, "err", 3) == 3;
        return std::string(isWritten ? "result" : "nothing");
    };
    EXPECT_EQ(Rehearse(code, tell, {}).value(), "out|err|result");
}

TEST(Rehearse, ADaemonHoldsNobodyUp_WhetherItGoesOnWritingOrSaysNothing) {
    for (const char* daemon : {"yes more &", "sleep 20 &"}) {
        const auto code = [daemon] {
            EXPECT_EQ(std::system(daemon), 0);
            return std::string("done");
        };
        EXPECT_EQ(InCopy(code), "done") << daemon;
    }
}

/// The listener is held up by its audience, which the daemon reads only when the code has ended: then more is
/// in the pipe than is taken at once.
TEST(Rehearse, AllThatTheCodeSaidIsKept_WhereADaemonStaysBehind) {
    constexpr std::size_t kHeld = std::size_t{4} << 16;
    auto audience = corekit::OpenPipe().value();
    ASSERT_GT(fcntl(audience.writer.Get(), F_SETPIPE_SZ, 4096), 0);
    const auto readUntilEnd = [&](pid_t process) {
        pollfd end{static_cast<int>(syscall(SYS_pidfd_open, process, 0)), POLLIN, 0};
        if (poll(&end, 1, -1) != 1) _exit(1);
        dup2(audience.reader.Get(), STDIN_FILENO);
        close_range(STDERR_FILENO + 1, ~0U, 0);  // the end for the result among them
        std::string chunk(4096, '\0');
        while (read(STDIN_FILENO, chunk.data(), chunk.size()) > 0) continue;
        _exit(0);
    };
    const auto code = [&] {
        const std::string text(kHeld, 'x');
        const bool isLarger = fcntl(STDOUT_FILENO, F_SETPIPE_SZ, 2 * kHeld) > 0;
        const bool isWritten = isLarger && corekit::WriteAll(STDOUT_FILENO, text);
        const pid_t self = getpid();
        if (fork() == 0) readUntilEnd(self);
        return isWritten ? std::string() : std::string("not written");
    };
    const auto tell = [](const HostCopy&, const Rehearsal& run) -> Outcome<std::string> {
        return std::to_string(run.output.size()) + " " + run.record;
    };
    EXPECT_EQ(Rehearse(code, tell, {.terminal = audience.writer.Get()}).value(), std::to_string(kHeld) + " ");
}

TEST(Rehearse, NoProcessOfTheHostCanBeSeenOrSignalled) {
    const pid_t host = getpid();
    EXPECT_EQ(
        InCopy([&] { return YesOrNo(kill(host, 0) == 0 || fs::exists("/proc/" + std::to_string(host))); }),
        "no");
}

TEST(Rehearse, ASocketOfTheHostIsOutOfReach) {
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{AF_UNIX, "/run/listener"};
    const auto* const name = reinterpret_cast<const sockaddr*>(&address);
    ASSERT_EQ(bind(listener, name, sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);
    const auto canConnect = [&] {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        return YesOrNo(connect(fd, name, sizeof address) == 0);
    };
    EXPECT_EQ(canConnect(), "yes");
    EXPECT_EQ(InCopy(canConnect), "no");
    close(listener);
    fs::remove("/run/listener");
}

TEST(Rehearse, APipeOfTheHostIsOutOfReach) {
    ASSERT_EQ(mkfifo("/run/pipe", 0600), 0);
    const int reader = open("/run/pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(InCopy([] { return YesOrNo(open("/run/pipe", O_WRONLY | O_NONBLOCK | O_CLOEXEC) >= 0); }),
              "no");
    close(reader);
    fs::remove("/run/pipe");
}

TEST(Rehearse, Fails_WhenTheCodeIsKilled) {
    EXPECT_EQ(InCopy([]() -> std::string {
                  kill(getpid(), SIGKILL);
                  return "";
              }),
              "failed: The preview failed: the command was ended by a signal.");
    EXPECT_EQ(InCopy([]() -> std::string { _exit(1); }),
              "failed: The preview failed: the command was ended by a signal.")
        << "or ends itself, without a word";
}

TEST(Rehearse, Fails_WhenWhatIsWrittenDoesNotFit) {
    const auto write = [](std::size_t size) {
        return [size] {
            std::ofstream("/opt/large") << std::string(size, 'x') << std::flush;
            return std::string("written");
        };
    };
    constexpr std::size_t kMiB = 1 << 20;
    EXPECT_EQ(InCopy(write(kMiB), {.bytes = 4 * kMiB}), "written");
    EXPECT_EQ(
        InCopy(write(8 * kMiB), {.bytes = 4 * kMiB}),
        "failed: A preview is not possible here: what the command writes does not fit into a quarter of the memory.");
    EXPECT_FALSE(testfiles::Exists("/opt/large"));
}

TEST(Rehearse, FailsAndEndsTheCode_WhenThatTakesTooLong) {
    const auto start = std::chrono::steady_clock::now();
    const auto sleep = [] {
        std::this_thread::sleep_for(std::chrono::minutes(1));
        return std::string("awake");
    };
    EXPECT_EQ(InCopy(sleep, {.time = std::chrono::milliseconds(100)}),
              "failed: The preview failed: the command has not ended within ten minutes.");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(Rehearse, Fails_WhenItsProcessEnds) {
    const auto tell = [](const HostCopy&, const Rehearsal&) -> Outcome<std::string> { _exit(0); };
    const auto told = Rehearse([] { return std::string("done"); }, tell, {});
    ASSERT_FALSE(told);
    EXPECT_EQ(told.error().text, L"The preview failed: its process was ended by a signal.");
}

TEST(Rehearse, FailsWithTheReason_WhenTheCodeGetsNoProcess) {
    testsupport::InChild([] {
        testsupport::JudgeCalls({SYS_clone},
                                [count = 0](const seccomp_notif&) mutable -> testsupport::Verdict {
                                    return ++count == 1 ? std::nullopt : testsupport::Verdict(-EAGAIN);
                                });
        EXPECT_EQ(InCopy([] { return std::string("run"); }),
                  "failed: The preview failed: fork: Resource temporarily unavailable.");
        return 0;
    });
}

/// It is killed when the first process asks to be ended with it.
TEST(Rehearse, RunsNothing_WhenWhoeverAskedForItHasEnded) {
    testsupport::InChild([] {
        auto run = corekit::OpenPipe().value();
        std::atomic<pid_t> maker = 0;
        std::atomic<bool> hasEnded = false;
        testsupport::JudgeCalls({SYS_prctl}, [&](const seccomp_notif&) -> testsupport::Verdict {
            while (maker == 0) std::this_thread::yield();
            if (!hasEnded) hasEnded = kill(maker, SIGKILL) == 0 && waitpid(maker, nullptr, 0) == maker;
            return std::nullopt;
        });
        const pid_t child = fork();
        if (child == 0) {
            InCopy([&] { return std::string(write(run.writer.Get(), "run", 3) == 3 ? "run" : ""); });
            _exit(0);
        }
        maker = child;
        run.writer = corekit::Descriptor();
        EXPECT_EQ(corekit::ReadAll(run.reader.Get(), 100).value(), "");
        EXPECT_TRUE(hasEnded);
        return 0;
    });
}

TEST(Rehearse, FailsWithTheReason_WhenTheCodeCannotBeRunInTheCopy) {
    testsupport::WithFailing({{SYS_chroot, EIO}}, [] {
        EXPECT_EQ(InCopy([] { return std::string("run"); }),
                  "failed: The preview failed: chroot: Input/output error.");
        return 0;
    });
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
