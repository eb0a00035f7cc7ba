// What code in a copy of the host can see and reach, and how a rehearsal ends.
#include <atomic>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iostream>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
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
#include "tests/support/FailingInTurn.h"
#include "tests/support/Mount.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/InCopy.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;

std::string InCopy(const std::function<std::string()>& code, const Limits& limits = {}) {
    const auto tell = [](const HostCopy&, const Rehearsal& run) -> Outcome<std::string> {
        return run.record;
    };
    const auto told = Rehearse(code, tell, {}, limits);
    return told ? *told : "failed: " + told.error().text.Utf8();
}

std::string YesOrNo(bool isSo) {
    return isSo ? "yes" : "no";
}

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

TEST(Rehearse, TheCurrentDirectoryIsTheSame) {
    const fs::path before = fs::current_path();
    fs::create_directories("/opt/a/b");
    fs::current_path("/opt/a/b");
    EXPECT_EQ(InCopy([] { return fs::current_path().string(); }), "/opt/a/b");
    fs::current_path(before);
    fs::remove_all("/opt/a");
}

TEST(Rehearse, ModesOfMountPointsAreTheHosts) {
    EXPECT_EQ(InCopy([] { return std::to_string(testfiles::Mode("/tmp")); }), std::to_string(01777));
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

TEST(Rehearse, SettingsOfTheKernelAreReadOnly) {
    EXPECT_EQ(InCopy([] {
                  const int file = open("/proc/sys/kernel/hostname", O_WRONLY | O_CLOEXEC);
                  return YesOrNo(file >= 0 || mkdir("/sys/fs/mine", 0755) == 0);
              }),
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

TEST(Rehearse, NoMountOfItIsSeenOnTheHost) {
    const std::string before = testfiles::Read("/proc/self/mountinfo");
    EXPECT_EQ(InCopy([] { return std::string("run"); }), "run");
    EXPECT_EQ(testfiles::Read("/proc/self/mountinfo"), before);
}

TEST(Rehearse, WorksInAChangedRootThatIsNoMount) {
    testfiles::Write("/opt/host/file", "old");
    for (const char* name : {"proc", "dev", "sys"}) fs::create_directory(std::string("/opt/host/") + name);
    const auto proc = testsupport::Mount::Bind("/proc", "/opt/host/proc");
    const pid_t child = fork();
    if (child == 0) {
        if (chroot("/opt/host") != 0 || chdir("/") != 0) _exit(2);
        const std::string mounts = testfiles::Read("/proc/self/mountinfo");
        const std::string result = InCopy([] {
            testfiles::Write("/file", "new");
            return testfiles::Read("/file");
        });
        const bool isAsBefore =
            testfiles::Read("/file") == "old" && testfiles::Read("/proc/self/mountinfo") == mounts;
        if (result != "new") std::cerr << result << "\n";
        _exit(result == "new" && isAsBefore ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    umount2("/opt/host/proc", MNT_DETACH);
    fs::remove_all("/opt/host");
}

/// Makes a file system of its own the root, in a user namespace whose only user is its root.
bool EnterRootOfAUserNamespace() {
    const std::string uid = "0 " + std::to_string(getuid()) + " 1";
    const std::string gid = "0 " + std::to_string(getgid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << uid;
    std::ofstream("/proc/self/gid_map") << gid;
    if (mount("tmpfs", "/opt", "tmpfs", 0, "mode=0755") != 0) return false;
    for (const char* name : {"etc", "proc", "dev", "sys", "tmp", "tree"})
        fs::create_directory(std::string("/opt/") + name);
    testfiles::Write("/opt/tree/file", "old");
    testfiles::Write("/opt/etc/file", "old");
    return mount("/proc", "/opt/proc", nullptr, MS_BIND | MS_REC, nullptr) == 0 && chroot("/opt") == 0 &&
           chdir("/") == 0;
}

TEST(Rehearse, WorksInAUserNamespaceWhoseRootIsItsOwn) {
    const pid_t child = fork();
    if (child == 0) {
        if (!EnterRootOfAUserNamespace()) _exit(2);
        const auto tell = [](const HostCopy& copy, const Rehearsal& run) -> Outcome<std::string> {
            std::string told = run.record;
            for (const Layer& layer : copy.Layers()) {
                const auto changes = ReadChanges(layer).value();
                for (const Change& change : changes) told += " " + testsupport::Shown(change);
            }
            return told;
        };
        const auto code = [] {
            testfiles::Write("/etc/file", "new");
            fs::remove_all("/tree");
            fs::create_directory("/tree");
            return testfiles::Read("/etc/file");
        };
        const auto told = Rehearse(code, tell, {});
        const std::string result = told ? *told : told.error().text.Utf8();
        const bool isAsExpected =
            result == "new replace /etc/file remove /tree/file" && testfiles::Read("/etc/file") == "old";
        if (!isAsExpected) std::cerr << result << "\n";
        _exit(isAsExpected ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
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

TEST(Rehearse, TheDevicesThatEveryProgramNeedsAreThereAndWork) {
    const auto code = [] {
        char byte = 'x';
        const corekit::Descriptor zero(open("/dev/zero", O_RDONLY | O_CLOEXEC));
        const bool isZero = read(zero.Get(), &byte, 1) == 1 && byte == '\0';
        std::string missing;
        for (const char* name : {"null", "zero", "full", "random", "urandom", "tty"}) {
            if (!fs::is_character_file(std::string("/dev/") + name)) missing += std::string(" ") + name;
        }
        const corekit::Descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
        return missing + " " + YesOrNo(write(null.Get(), "x", 1) == 1) + " " + YesOrNo(isZero);
    };
    EXPECT_EQ(InCopy(code), " yes yes");
}

TEST(Rehearse, FileSystemsThatCannotBeCopiedAreReadOnlyAndKnown) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "what", "old");
    testfiles::Write(dir / "point", "");
    const auto file = testsupport::Mount::Bind(dir / "what", dir / "point");
    const auto tell = [&](const HostCopy& copy, const Rehearsal& run) -> Outcome<std::string> {
        const Mount* mount = copy.Uncopied(dir / "point");
        return (mount == nullptr ? "" : mount->point) + " " + run.record + " " +
               YesOrNo(copy.Uncopied(dir / "what") != nullptr || copy.Uncopied("what") != nullptr);
    };
    const auto write = [&] { return YesOrNo(open((dir / "point").c_str(), O_WRONLY | O_CLOEXEC) >= 0); };
    EXPECT_EQ(Rehearse(write, tell, {}).value(), dir / "point" + " no no");
}

TEST(Rehearse, AFileSystemThatIsNotTheHostsOwnIsReadOnlyAndKnown) {
    const testfiles::TempDir dir;
    fs::create_directory(dir / "proc");
    const auto proc = testsupport::Mount::Bind("/proc", dir / "proc");
    const auto tell = [&](const HostCopy& copy, const Rehearsal& run) -> Outcome<std::string> {
        const Mount* mount = copy.Uncopied(dir / "proc/sys");
        return (mount == nullptr ? "" : mount->type) + " " + run.record;
    };
    const auto write = [&] {
        return YesOrNo(open((dir / "proc/sys/kernel/hostname").c_str(), O_WRONLY | O_CLOEXEC) >= 0);
    };
    EXPECT_EQ(Rehearse(write, tell, {}).value(), "proc no");
}

TEST(Rehearse, TheCurrentDirectoryIsTheRoot_WhereTheCopyHasNone) {
    const fs::path before = fs::current_path();
    fs::create_directories("/dev/shm/of-the-test");
    fs::current_path("/dev/shm/of-the-test");
    EXPECT_EQ(InCopy([] { return fs::current_path().string(); }), "/");
    fs::current_path(before);
    fs::remove("/dev/shm/of-the-test");
}

TEST(Rehearse, TheCurrentDirectoryIsTheRoot_WhenItHasGone) {
    const fs::path before = fs::current_path();
    fs::create_directory("/opt/gone");
    fs::current_path("/opt/gone");
    fs::remove("/opt/gone");
    EXPECT_EQ(InCopy([] { return fs::current_path().string(); }), "/");
    fs::current_path(before);
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

TEST(Rehearse, SaysWhatToDo_WhereNothingMayBeMounted) {
    testsupport::WithFailing({{SYS_mount, EPERM}}, [] {
        EXPECT_EQ(
            InCopy([] { return std::string("run"); }),
            "failed: A preview is not possible here: mounts of its own are not allowed; run it as root, "
            "outside of a container (Operation not permitted).");
        return 0;
    });
}

TEST(Rehearse, SaysWhatIsMissing_WhereTheKernelHasNoOverlays) {
    testsupport::InChild([] {
        testsupport::JudgeCalls({SYS_mount}, [](const seccomp_notif& call) -> testsupport::Verdict {
            // The text is a literal of this program, which the caller has at the same address.
            const auto* const type = reinterpret_cast<const char*>(call.data.args[2]);
            if (type == nullptr || std::string_view(type) != "overlay") return std::nullopt;
            return -ENODEV;
        });
        EXPECT_EQ(InCopy([] { return std::string("run"); }),
                  "failed: A preview is not possible here: the kernel has no overlay file system; load its "
                  "module (modprobe overlay).");
        return 0;
    });
}

TEST(Rehearse, AsksForProc_WhereItIsNotMounted) {
    const char* const text =
        "failed: A preview is not possible here: /proc/self/mountinfo cannot be read; mount /proc first (No "
        "such file or directory).";
    const auto rehearse = [&] { EXPECT_EQ(InCopy([] { return std::string("run"); }), text); };
    const testfiles::TempDir plain;
    fs::create_directory(plain / "proc");
    testsupport::WithRoot(plain.Path(), rehearse);
    const testfiles::TempDir dir;
    const auto mounted = testsupport::Mount::Tmpfs(dir.Path());
    fs::create_directory(dir / "proc");
    testsupport::WithRoot(dir.Path(), rehearse);
}

/// 0 when the code ran in the copy, 1 when there was none, with a text that begins as all of them do.
int RunOrRefusal() {
    const std::string result =
        InCopy([] { return std::string(mkfifo("/opt/file", 0600) == 0 ? "made" : "there already"); });
    if (result == "made") return 0;
    EXPECT_TRUE(result.starts_with("failed: A preview is not possible here: ") ||
                result.starts_with("failed: The preview failed: "))
        << result;
    EXPECT_EQ(result.find('\n'), std::string::npos) << result;
    return 1;
}

TEST(Rehearse, LeavesTheHostAsItWas_WhateverFails) {
    const std::string mounts = testfiles::Read("/proc/self/mountinfo");
    const std::vector<int> calls = {SYS_mount,  SYS_mkdir, SYS_openat, SYS_pipe2,
                                    SYS_chroot, SYS_chdir, SYS_chown};
    const int failed = testsupport::FailInTurn(
        calls, EIO, [] {}, RunOrRefusal,
        [&](int) {
            EXPECT_EQ(testfiles::Read("/proc/self/mountinfo"), mounts);
            EXPECT_FALSE(testfiles::Exists("/opt/file"));
        });
    EXPECT_GT(failed, 50);
}

TEST(Rehearse, RunsNothing_WhenItCannotReturnToAChangedRoot) {
    const testfiles::TempDir root;
    fs::create_directory(root / "proc");
    const auto proc = testsupport::Mount::Bind("/proc", root / "proc");
    testsupport::InChild([&] {
        EXPECT_EQ(chroot(root.Path().c_str()), 0);
        EXPECT_TRUE(testsupport::MakeFail({{SYS_chroot, EIO}}));
        EXPECT_EQ(
            InCopy([] { return std::string("run"); }),
            "failed: A preview is not possible here: mounts of its own are not allowed; run it as root, "
            "outside of a container (Input/output error).");
        return 0;
    });
}

TEST(Rehearse, StaysInAChangedRoot_WhateverFails) {
    const testfiles::TempDir root;
    for (const char* name : {"proc", "opt"}) fs::create_directory(root / name);
    const auto proc = testsupport::Mount::Bind("/proc", root / "proc");
    const auto rehearse = [&] {
        if (chroot(root.Path().c_str()) != 0 || chdir("/") != 0) return 2;
        return RunOrRefusal();
    };
    const std::vector<int> calls = {SYS_openat, SYS_setns, SYS_fchdir, SYS_mount};
    const int failed = testsupport::FailInTurn(
        calls, EIO, [] {}, rehearse,
        [&](int) {
            EXPECT_FALSE(testfiles::Exists("/opt/file"));
            EXPECT_FALSE(testfiles::Exists(root / "opt/file"));
        });
    EXPECT_GT(failed, 10);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
