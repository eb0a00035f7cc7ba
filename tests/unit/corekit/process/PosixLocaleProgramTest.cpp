// Shell commands: their lines, what they inherit, and when they count as ended.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "corekit/os/Console.h"
#include "corekit/os/Descriptor.h"
#include "corekit/process/Program.h"
#include "tests/support/FailingCall.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/OnceWeWait.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

using corekit::Result;
using corekit::String;
using corekit::StringToMapFilter;
using testsupport::kOnceWeWait;
using testsupport::WithFailing;

namespace Shell = corekit::PosixLocaleProgram;

namespace {

using List = std::vector<String>;

List LinesOf(const std::string& commandLine) {
    StringToMapFilter filter;
    EXPECT_EQ(Shell::Run(String::FromUtf8(commandLine), filter), Result());
    List lines;
    for (std::size_t i = 0; i < filter.Count(); ++i) lines.push_back(filter.RawData(i));
    return lines;
}

String FirstLineOf(const std::string& commandLine) {
    StringToMapFilter filter;
    EXPECT_EQ(Shell::Run(String::FromUtf8(commandLine), filter), Result());
    return filter.RawData(0);
}

/// Shell commands that end when there is such a file, or after some seconds.
std::string UntilItExists(const std::string& path) {
    return "until [ -e " + path + " ] || [ $((n+=1)) -gt 1000 ]; do sleep 0.01; done";
}

}  // namespace

TEST(PosixLocaleProgram, GivesTheLinesOfStandardOutput) {
    EXPECT_EQ(LinesOf("echo one; echo two"), (List{L"one", L"two"}));
    EXPECT_EQ(LinesOf("printf 'a\\nb'"), (List{L"a", L"b"}));
    EXPECT_EQ(LinesOf("printf '\\n\\nx\\n\\n'"), (List{L"", L"", L"x", L""}));
    EXPECT_EQ(LinesOf("printf ' a \\r\\n'"), List{L" a \r"});
    EXPECT_EQ(LinesOf("true"), List());
    EXPECT_EQ(LinesOf(""), List());
}

TEST(PosixLocaleProgram, UnderstandsTheSyntaxOfAShell) {
    EXPECT_EQ(FirstLineOf("if echo 'a b' | grep a>/dev/null; then echo YES; fi"), L"YES");
    EXPECT_EQ(FirstLineOf("/bin/sh -c 'exit 3' >/dev/null 2>&1; echo $?"), L"3");
    EXPECT_EQ(FirstLineOf("echo \"$0 $#\""), L"/bin/sh 0");
}

TEST(PosixLocaleProgram, DoesNotLookAtTheStatus) {
    EXPECT_EQ(LinesOf("echo before; exit 3"), List{L"before"});
    EXPECT_EQ(LinesOf("echo before; kill -9 $$"), List{L"before"});
}

TEST(PosixLocaleProgram, ClearsTheFilterFirst) {
    StringToMapFilter filter;
    filter.Line(L"old");
    EXPECT_EQ(Shell::Run(L"true", filter), Result());
    EXPECT_EQ(filter.Count(), 0U);
}

TEST(PosixLocaleProgram, KeepsEveryByteOfALine) {
    EXPECT_EQ(FirstLineOf("printf 'caf\\303\\251 \\351 \\001'"), L"caf\u00E9 \xDCE9 \x01");
    EXPECT_EQ(FirstLineOf("printf 'a\\000b'"), String(std::wstring(L"a\0b", 3)));
    EXPECT_EQ(FirstLineOf("printf %s 'caf\xe9'").Utf8(), "caf\xe9");
}

TEST(PosixLocaleProgram, RunsUnderThePosixLocale) {
    setenv("LANG", "de_DE.UTF-8", 1);
    EXPECT_EQ(FirstLineOf("echo \"$LC_ALL $LANG\""), L"POSIX ");
}

TEST(PosixLocaleProgram, LeavesOutTheVariablesThatChangeAShell) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "start", "echo started\n");
    setenv("ENV", (dir / "start").c_str(), 1);
    setenv("BASH_ENV", (dir / "start").c_str(), 1);
    setenv("LD_PRELOAD", (dir / "nothing.so").c_str(), 1);
    EXPECT_EQ(LinesOf("env | grep -c -e '^ENV=' -e '^BASH_ENV=' -e '^LD_'"), List{L"0"});
}

TEST(PosixLocaleProgram, HasAnEmptyStandardInput) {
    EXPECT_EQ(LinesOf("readlink /proc/self/fd/0; cat"), List{L"/dev/null"});
}

TEST(PosixLocaleProgram, PassesStandardErrorOn) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(LinesOf("echo out; echo err >&2"), List{L"out"});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "err\n");
}

TEST(PosixLocaleProgram, InheritsNoOtherDescriptor) {
    const corekit::Descriptor low(open("/dev/zero", O_RDONLY));
    const corekit::Descriptor high(fcntl(low.Get(), F_DUPFD, 500));
    ASSERT_GE(high.Get(), 500);
    EXPECT_EQ(LinesOf("for fd in /proc/$$/fd/*; do test -e $fd && echo ${fd##*/}; done"),
              (List{L"0", L"1", L"2"}));
}

TEST(PosixLocaleProgram, RunsWithItsStandardStreamsClosed) {
    for (const unsigned closed : {1U, 2U, 4U, 3U, 5U, 6U, 7U}) {
        EXPECT_EXIT(
            {
                for (int fd = 0; fd <= 2; ++fd) {
                    if ((closed >> fd & 1) != 0) close(fd);
                }
                const List lines =
                    LinesOf("readlink /proc/self/fd/0; echo x >&2; test -e /proc/self/fd/2 && echo err");
                _exit(lines == List{L"/dev/null", L"err"} ? 7 : 1);
            },
            testing::ExitedWithCode(7), "")
            << closed;
    }
}

TEST(PosixLocaleProgram, HasDefaultSignalsAndNothingBlocked) {
    EXPECT_EXIT(
        {
            for (const int signal : {SIGPIPE, SIGXFSZ, SIGHUP, SIGINT, SIGTERM}) std::signal(signal, SIG_IGN);
            sigset_t all;
            sigfillset(&all);
            sigprocmask(SIG_SETMASK, &all, nullptr);
            // The first 31 signals as 8 hex digits; those above are the C library's own.
            const List lines =
                LinesOf("sed -n 's/^Sig\\(Blk\\|Ign\\):.*\\(.\\{8\\}\\)$/\\1 \\2/p' /proc/self/status");
            for (const String& line : lines) corekit::Console::Err(line.Utf8() + "\n");
            _exit(0);
        },
        testing::ExitedWithCode(0), "^Blk 00000000\nIgn [08]0000000\n$");
}

TEST(PosixLocaleProgram, LeavesTheSignalsOfTheCallerAsTheyWere) {
    struct sigaction before {};
    struct sigaction after {};
    sigset_t mask;
    std::signal(SIGCHLD, SIG_IGN);
    sigaction(SIGCHLD, nullptr, &before);
    EXPECT_EQ(FirstLineOf(std::string(kOnceWeWait) + "echo done"), L"done");
    sigaction(SIGCHLD, nullptr, &after);
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    std::signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    EXPECT_EQ(sigismember(&mask, SIGCHLD), 0);
}

TEST(PosixLocaleProgram, WaitsForTheCommandThoughItsOutputEnds) {
    const testfiles::TempDir dir;
    EXPECT_EQ(LinesOf(std::string("exec >&-; ") + kOnceWeWait + "mkdir " + (dir / "done")), List());
    EXPECT_TRUE(testfiles::Exists(dir / "done"));
}

TEST(PosixLocaleProgram, DoesNotWaitForADaemon) {
    const List lines = LinesOf("sleep 600 & echo $!");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(kill(lines[0].ToInt(), SIGKILL), 0) << "it has ended before";
}

TEST(PosixLocaleProgram, DoesNotReadADaemonForEver) {
    const testfiles::TempDir dir;
    const List lines =
        LinesOf("trap '' PIPE; (while echo y; do : >" + (dir / "writing") +
                "; done) 2>/dev/null & while ! test -e " + (dir / "writing") + "; do :; done; echo end");
    EXPECT_EQ(std::ranges::count(lines, L"end"), 1);
    EXPECT_GE(std::ranges::count(lines, L"y"), 1);
}

TEST(PosixLocaleProgram, TakesAllThatAnEndedCommandHasWritten) {
    for (int i = 0; i < 20; ++i) EXPECT_EQ(FirstLineOf("head -c 60000 /dev/zero").Length(), 60000U);
}

TEST(PosixLocaleProgram, TakesMegabytes) {
    StringToMapFilter filter;
    EXPECT_EQ(Shell::Run(L"head -c 20000000 /dev/zero | tr '\\0' x; echo; echo end", filter), Result());
    EXPECT_EQ(filter.Count(), 2U);
    EXPECT_EQ(filter.RawData(0).Length(), 20000000U);
    EXPECT_EQ(filter.RawData(1), L"end");
}

TEST(PosixLocaleProgram, ShowsWhatWasSaidBefore) {
    testing::internal::CaptureStdout();
    corekit::Console::Out("said before ");
    const String shown = FirstLineOf("cat /proc/" + std::to_string(getpid()) + "/fd/1");
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(shown, L"said before ");
}

// As long as its watch is readable we would ask without a pause whether the command has ended.
TEST(PosixLocaleProgram, WaitsQuietly_AfterASignalThatTellsOfNoEnd) {
    const std::clock_t before = std::clock();
    EXPECT_EQ(FirstLineOf("kill -CHLD $PPID; sleep 1; echo end"), L"end");
    EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 5);
}

TEST(PosixLocaleProgram, RefusesACommandLineWithANul) {
    StringToMapFilter filter;
    filter.Line(L"old");
    EXPECT_EQ(Shell::Run(String(std::wstring(L"echo a\0; echo b", 15)), filter), Result(EINVAL));
    EXPECT_EQ(filter.Count(), 0U);
}

TEST(PosixLocaleProgram, FailsWithoutAShell) {
    const testfiles::TempDir dir;
    testsupport::WithRoot(dir.Path(), [] {
        StringToMapFilter filter;
        EXPECT_EQ(Shell::Run(L"echo x", filter), Result(ENOENT));
    });
}

TEST(PosixLocaleProgram, Fails_WhenItCannotWatchACommand) {
    for (const int call : {SYS_signalfd4, SYS_pipe2}) {
        StringToMapFilter filter;
        EXPECT_EQ(WithFailing({{call, EMFILE}},
                              [&] {
                                  const Result result = Shell::Run(L"echo x", filter);
                                  return filter.Count() == 0 ? result.Code() : 254;
                              }),
                  EMFILE)
            << call;
    }
}

// The command lasts until its output is read, or polled for again.
TEST(PosixLocaleProgram, ReadsToTheEnd_WhereItCannotPoll) {
    const testfiles::TempDir dir;
    const std::string waited = dir / "waited";
    testsupport::InChild([&] {
        std::atomic<bool> hasPolled = false;
        std::atomic<bool> pollsAgain = false;
        testsupport::JudgeCalls({SYS_read, SYS_poll},
                                [&, caller = getpid()](const seccomp_notif& call) -> testsupport::Verdict {
                                    if (static_cast<pid_t>(call.pid) != caller) return std::nullopt;
                                    const bool isPoll = call.data.nr == SYS_poll;
                                    if (hasPolled) testfiles::Write(waited, "");
                                    if (hasPolled && isPoll) pollsAgain = true;
                                    hasPolled = isPoll;
                                    return isPoll ? testsupport::Verdict(-ENOMEM) : std::nullopt;
                                });
        EXPECT_EQ(LinesOf(UntilItExists(waited) + "; echo 7; echo 8"), (List{L"7", L"8"}));
        EXPECT_FALSE(pollsAgain);
        return 0;
    });
}

TEST(PosixLocaleProgram, Fails_WhenItCannotReadTheOutput) {
    EXPECT_EQ(testsupport::InChild([] {
                  testsupport::JudgeCalls({SYS_read}, [caller = getpid()](const seccomp_notif& call) {
                      return static_cast<pid_t>(call.pid) == caller ? testsupport::Verdict(-EIO)
                                                                    : std::nullopt;
                  });
                  StringToMapFilter filter;
                  const Result result = Shell::Run(L"echo x", filter);
                  return filter.Count() == 0 ? result.Code() : 254;
              }),
              EIO);
}

// No poll reports anything before the command has ended, which leaves what it has written in the pipe.
TEST(PosixLocaleProgram, Fails_WhenItCannotReadWhatAnEndedCommandHasWritten) {
    EXPECT_EQ(testsupport::InChild([] {
                  testsupport::JudgeCalls(
                      {SYS_read, SYS_poll},
                      [caller = getpid()](const seccomp_notif& call) -> testsupport::Verdict {
                          if (static_cast<pid_t>(call.pid) != caller) return std::nullopt;
                          if (call.data.nr == SYS_read) return -EIO;
                          auto* const asked = reinterpret_cast<pollfd*>(call.data.args[0]);
                          for (pollfd* one = asked; one != asked + call.data.args[1]; ++one) one->revents = 0;
                          return 0;
                      });
                  StringToMapFilter filter;
                  const Result result = Shell::Run(L"echo x", filter);
                  return filter.Count() == 0 ? result.Code() : 254;
              }),
              EIO);
}

// No poll reports anything before the command has ended. The pipe is said to hold three bytes, and the first
// reading gives one of them.
TEST(PosixLocaleProgram, ReadsNoMoreOfAnEndedCommandThanThePipeHeldAtThatMoment) {
    testsupport::InChild([] {
        bool isFirst = false;
        testsupport::JudgeCalls(
            {SYS_read, SYS_poll, SYS_ioctl},
            [&, caller = getpid()](const seccomp_notif& call) -> testsupport::Verdict {
                if (static_cast<pid_t>(call.pid) != caller) return std::nullopt;
                if (call.data.nr == SYS_poll) {
                    auto* const asked = reinterpret_cast<pollfd*>(call.data.args[0]);
                    for (pollfd* one = asked; one != asked + call.data.args[1]; ++one) one->revents = 0;
                    return 0;
                }
                if (call.data.nr == SYS_ioctl) {
                    if (call.data.args[1] != FIONREAD) return std::nullopt;
                    *reinterpret_cast<int*>(call.data.args[2]) = 3;
                    isFirst = true;
                    return 0;
                }
                if (!isFirst) return std::nullopt;
                isFirst = false;
                return static_cast<int>(
                    read(static_cast<int>(call.data.args[0]), reinterpret_cast<char*>(call.data.args[1]), 1));
            });
        EXPECT_EQ(LinesOf("printf abcdef"), List{L"abc"});
        return 0;
    });
}

// The command lasts until it has been waited for.
TEST(PosixLocaleProgram, ReadsOn_WhenItIsInterrupted) {
    const testfiles::TempDir dir;
    const std::string waited = dir / "waited";
    EXPECT_EQ(testsupport::InChild([&] {
                  std::atomic<int> reads = 0;
                  std::atomic<int> polls = 0;
                  testsupport::JudgeCalls(
                      {SYS_read, SYS_poll},
                      [&, caller = getpid()](const seccomp_notif& call) -> testsupport::Verdict {
                          if (static_cast<pid_t>(call.pid) != caller) return std::nullopt;
                          std::atomic<int>& count = call.data.nr == SYS_read ? reads : polls;
                          if (++count <= 3) return -EINTR;
                          if (call.data.nr == SYS_poll) testfiles::Write(waited, "");
                          return std::nullopt;
                      });
                  EXPECT_EQ(LinesOf(UntilItExists(waited) + "; [ ! -e " + waited + " ] || echo x"),
                            List{L"x"});
                  EXPECT_GT(reads, 3);
                  return 0;
              }),
              0);
}

TEST(PosixLocaleProgram, Fails_WhenItDoesNotKnowWhatThePipeHolds) {
    StringToMapFilter filter;
    const auto run = [&] {
        const Result result = Shell::Run(L"sleep 600 & echo x", filter);  // which keeps the pipe open
        return filter.Count() == 0 ? result.Code() : 254;
    };
    EXPECT_EQ(WithFailing({{SYS_ioctl, EIO}}, run), EIO);
}
