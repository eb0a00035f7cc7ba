// What goes to the operator: in order, at once, and whole.
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

#include "corekit/os/Console.h"
#include "corekit/os/Descriptor.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/TestFiles.h"

using corekit::Descriptor;

namespace Console = corekit::Console;

namespace {

/// Puts another file in the place of a descriptor as long as it lives.
class Redirected {
  public:
    Redirected(int fd, int other) : m_fd(fd), m_saved(dup(fd)) { dup2(other, fd); }
    ~Redirected() { dup2(m_saved.Get(), m_fd); }
    Redirected(const Redirected&) = delete;
    Redirected& operator=(const Redirected&) = delete;

  private:
    int m_fd;
    Descriptor m_saved;
};

struct Pipe {
    explicit Pipe(int flags = 0) {
        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC | flags), 0);
        readEnd = Descriptor(ends[0]);
        writeEnd = Descriptor(ends[1]);
    }
    Descriptor readEnd;
    Descriptor writeEnd;
};

}  // namespace

TEST(Console, WritesToBothStreams) {
    const auto output = testsupport::Captured([] {
        Console::Out("to standard output\n");
        Console::Err("to standard error\n");
    });
    EXPECT_EQ(output.out, "to standard output\n");
    EXPECT_EQ(output.err, "to standard error\n");
}

TEST(Console, KeepsEveryByte) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) bytes += static_cast<char>(i);
    const auto output = testsupport::Captured([&] {
        Console::Out(bytes);
        Console::Err(bytes);
    });
    EXPECT_EQ(output.out, bytes);
    EXPECT_EQ(output.err, bytes);
}

TEST(Console, KeepsTheOrderOfTheCalls) {
    const testfiles::TempDir dir;
    {
        const Descriptor file(open((dir / "both").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        const Redirected out(STDOUT_FILENO, file.Get());
        const Redirected err(STDERR_FILENO, file.Get());
        Console::Out("1 ");
        Console::Err("2 ");
        Console::Out("3 ");
        Console::Out("4\n");
        Console::Err("5\n");
        Console::Out("6");
        Console::Flush();
    }
    EXPECT_EQ(testfiles::Read(dir / "both"), "1 2 3 4\n5\n6");
}

TEST(Console, ShowsACompleteMessageAtOnce) {
    const testfiles::TempDir dir;
    const Descriptor file(open((dir / "out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    const Redirected out(STDOUT_FILENO, file.Get());
    Console::Out("part, ");
    EXPECT_EQ(testfiles::Read(dir / "out"), "");
    Console::Out("end\n");
    EXPECT_EQ(testfiles::Read(dir / "out"), "part, end\n");
    Console::Flush();
    EXPECT_EQ(testfiles::Read(dir / "out"), "part, end\n");
}

TEST(Console, TakesMessagesOfEverySize) {
    for (const std::size_t size : {4095U, 4096U, 4097U, 1000000U}) {
        const std::string large(size, 'x');
        const auto output = testsupport::Captured([&] {
            Console::Out("before ");
            Console::Out(large);
            Console::Out(" behind");
        });
        EXPECT_TRUE(output.out == "before " + large + " behind") << size;
    }
}

TEST(Console, WritesTheRest_WhenTheProcessEnds) {
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            Console::Out("no line end");
            std::exit(3);
        },
        testing::ExitedWithCode(3), "^no line end$");
}

TEST(Console, WaitsForAFullPipeThatDoesNotBlock) {
    Pipe pipe(O_NONBLOCK);
    const std::string large(300000, 'x');
    std::string received;
    std::thread reader([&] {
        fcntl(pipe.readEnd.Get(), F_SETFL, 0);
        char bytes[1000];
        for (ssize_t size = 1; size > 0;) {
            size = read(pipe.readEnd.Get(), bytes, sizeof bytes);
            if (size > 0) received.append(bytes, static_cast<std::size_t>(size));
        }
    });
    {
        const Redirected out(STDOUT_FILENO, pipe.writeEnd.Get());
        Console::Out(large + "\n");
    }
    pipe.writeEnd = Descriptor();
    reader.join();
    EXPECT_TRUE(received == large + "\n");
}

TEST(Console, IgnoresThatNobodyReads) {
    EXPECT_EXIT(
        {
            Pipe pipe;
            pipe.readEnd = Descriptor();
            std::signal(SIGPIPE, SIG_IGN);
            const Redirected out(STDOUT_FILENO, pipe.writeEnd.Get());
            Console::Out("to nobody\n");
            close(STDOUT_FILENO);
            Console::Out("to nowhere\n");
            Console::Err("still here");
            _exit(0);
        },
        testing::ExitedWithCode(0), "^still here$");
}

TEST(Console, GivesUp_WhereItCannotWaitForAStream) {
    EXPECT_EQ(testsupport::WithFailing({{SYS_write, EAGAIN}, {SYS_poll, ENOMEM}},
                                       [] {
                                           Console::Err("to nobody\n");
                                           return 7;
                                       }),
              7);
}

TEST(Console, WritesOnce_WhereTheWaitIsInterrupted) {
    const auto output = testsupport::Captured([] {
        testsupport::InChild([] {
            std::atomic<int> writes = 0;
            std::atomic<int> polls = 0;
            testsupport::JudgeCalls({SYS_write, SYS_poll},
                                    [&](const seccomp_notif& call) -> testsupport::Verdict {
                                        if (call.data.nr == SYS_write && ++writes <= 2) return -EAGAIN;
                                        if (call.data.nr == SYS_poll && ++polls == 1) return -EINTR;
                                        return std::nullopt;
                                    });
            Console::Err("once\n");
            return 0;
        });
    });
    EXPECT_EQ(output.err, "once\n");
}
