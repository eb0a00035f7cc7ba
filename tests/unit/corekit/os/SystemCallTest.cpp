// System calls on files, over interruptions and refusals.
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>

#include "corekit/os/SystemCall.h"
#include "tests/support/FailingCall.h"
#include "tests/support/InChild.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::Descriptor;
using corekit::Links;
using corekit::Result;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) ADD_FAILURE() << "no pipe";
        read = Descriptor(ends[0]);
        write = Descriptor(ends[1]);
    }
    Descriptor read;
    Descriptor write;
};

void Ignore(int) {}

/// Interrupts whatever the process waits for, every millisecond.
class Interruptions {
  public:
    Interruptions() {
        struct sigaction action {};
        action.sa_handler = Ignore;  // without SA_RESTART: calls fail with EINTR
        sigaction(SIGALRM, &action, &m_before);
        Repeat(1000);
    }
    ~Interruptions() {
        Repeat(0);
        sigaction(SIGALRM, &m_before, nullptr);
    }

  private:
    static void Repeat(suseconds_t microseconds) {
        const itimerval timer = {{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    struct sigaction m_before {};
};

}  // namespace

TEST(Outcome, IsSuccessForZeroAndErrnoOtherwise) {
    EXPECT_TRUE(corekit::Outcome(0));
    errno = EXDEV;
    EXPECT_EQ(corekit::Outcome(-1), Result(EXDEV));
}

TEST(NativePath, IsEmptyForAPathWithANul) {
    EXPECT_EQ(corekit::NativePath(corekit::String::FromUtf8("/caf\xE9")), "/caf\xE9");
    EXPECT_EQ(corekit::NativePath(std::wstring(L"/a\0b", 4)), "");
}

TEST(OpenAt, KeepsTheDescriptorFromOtherPrograms) {
    const Descriptor file = corekit::OpenAt(AT_FDCWD, "/dev/null", O_RDONLY).value();
    EXPECT_EQ(fcntl(file.Get(), F_GETFD), FD_CLOEXEC);
}

TEST(OpenAt, GivesTheFirstDescriptorToo_WhereThatIsFree) {
    EXPECT_EQ(testsupport::InChild([] {
                  close(0);
                  const auto file = corekit::OpenAt(AT_FDCWD, "/", O_RDONLY | O_DIRECTORY);
                  return file ? file->Get() : 99;
              }),
              0);
}

TEST(OpenDirectoryItself, RefusesLinksAndFiles) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_directory_symlink("sub", dir / "link");
    testfiles::Write(dir / "file", "");
    const Descriptor parent = corekit::OpenDirectoryItself(AT_FDCWD, dir.Path()).value();
    EXPECT_TRUE(corekit::OpenDirectoryItself(parent.Get(), "sub"));
    EXPECT_EQ(corekit::OpenDirectoryItself(parent.Get(), "link"), Result(ENOTDIR));
    EXPECT_EQ(corekit::OpenDirectoryItself(parent.Get(), "file"), Result(ENOTDIR));
}

TEST(ReadLink, GivesTheTargetOfALink) {
    const Workspace dir;
    fs::create_symlink("some/where", dir / "link");
    testfiles::Write(dir / "file", "");
    EXPECT_EQ(corekit::ReadLink(AT_FDCWD, dir / "link").value(), "some/where");
    EXPECT_EQ(corekit::ReadLink(AT_FDCWD, dir / "file"), Result(EINVAL));
}

TEST(OpenRegular, RefusesLinksThatAreNotToBeFollowed) {
    const Workspace dir;
    testfiles::Write(dir / "file", "12345");
    fs::create_symlink("file", dir / "link");
    EXPECT_EQ(corekit::OpenRegular(AT_FDCWD, dir / "link", Links::Followed).value().info.st_size, 5);
    EXPECT_TRUE(corekit::OpenRegular(AT_FDCWD, dir / "file", Links::Refused));
    EXPECT_EQ(corekit::OpenRegular(AT_FDCWD, dir / "link", Links::Refused), Result(ELOOP));
    EXPECT_EQ(corekit::OpenRegular(AT_FDCWD, dir.Path(), Links::Refused), Result(EISDIR));
    EXPECT_EQ(corekit::OpenRegular(AT_FDCWD, "/dev/null", Links::Refused), Result(EINVAL));
    EXPECT_EQ(corekit::OpenRegular(AT_FDCWD, dir / "none", Links::Refused), Result(ENOENT));
}

TEST(OpenRegular, RefusesWhatTakesThePlaceOfAFileMeanwhile) {
    for (const bool isFifo : {false, true}) {
        const Workspace dir;
        testfiles::Write(dir / "file", "");
        testsupport::InChild([&] {
            const auto exchange = [&](const seccomp_notif&) -> testsupport::Verdict {
                unlink((dir / "file").c_str());
                EXPECT_EQ(isFifo ? mkfifo((dir / "file").c_str(), 0600) : mkdir((dir / "file").c_str(), 0700),
                          0);
                return std::nullopt;
            };
            testsupport::JudgeCalls({SYS_openat}, exchange);
            EXPECT_EQ(corekit::OpenRegular(AT_FDCWD, dir / "file", Links::Refused),
                      Result(isFifo ? EINVAL : EISDIR));
            return 0;
        });
    }
}

TEST(ReadAll, StopsAtItsLimit) {
    const Workspace dir;
    testfiles::Write(dir / "file", "12345");
    const auto read = [&](std::size_t limit) {
        const Descriptor file = corekit::OpenAt(AT_FDCWD, dir / "file", O_RDONLY).value();
        return corekit::ReadAll(file.Get(), limit);
    };
    EXPECT_EQ(read(5).value(), "12345");
    EXPECT_EQ(read(4), Result(EFBIG));
    EXPECT_EQ(corekit::ReadAll(-1, 10), Result(EBADF));
}

TEST(ReadAll, ReadsToTheEnd_HoweverMuchWasExpected) {
    const Workspace dir;
    for (const std::size_t size : {0U, 4095U, 4096U, 4097U, 8192U, 100'000U}) {
        const std::string content = std::string(size, 'a') + "z";
        testfiles::Write(dir / "file", content);
        for (const std::size_t expected : {std::size_t{0}, size / 2, size, size + 1, 2 * size}) {
            const Descriptor file = corekit::OpenAt(AT_FDCWD, dir / "file", O_RDONLY).value();
            EXPECT_TRUE(corekit::ReadAll(file.Get(), size + 1, expected) == content)
                << size << " bytes and one more, expected " << expected;
        }
    }
}

TEST(WriteAll, WritesEveryByteOverInterruptionsAndPartialWrites) {
    const Pipe pipe;
    const std::string sent(3000000, 'x');
    std::string received;
    Result read(EAGAIN);
    std::thread reader([&] {
        sigset_t alarm;
        sigemptyset(&alarm);
        sigaddset(&alarm, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &alarm, nullptr);
        std::string chunk(4096, '\0');
        for (std::size_t count = 1; count > 0 && received.size() < sent.size();) {
            const auto got = corekit::ReadSome(pipe.read.Get(), chunk);
            read = got.Outcome();
            count = got.value_or(0);
            received.append(chunk, 0, count);
        }
    });
    {
        const Interruptions interruptions;
        EXPECT_TRUE(corekit::WriteAll(pipe.write.Get(), sent));
    }
    reader.join();
    EXPECT_TRUE(read);
    EXPECT_EQ(received, sent);
    EXPECT_TRUE(corekit::WriteAll(pipe.write.Get(), ""));
    EXPECT_EQ(corekit::WriteAll(pipe.read.Get(), "x"), Result(EBADF));
}

TEST(Flush, IsNoFailure_WhereThereIsNothingToFlush) {
    const Pipe pipe;  // which knows no flush
    EXPECT_TRUE(corekit::Flush(pipe.write.Get()));
    EXPECT_EQ(corekit::Flush(-1), Result(EBADF));
    EXPECT_EQ(WithFailing({{SYS_fsync, EIO}}, [&] { return corekit::Flush(pipe.write.Get()).Code(); }), EIO);
}
