// Where a copy of the host can be built, what is told where it cannot, and that the host stays as it was.
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <optional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "preview/HostCopy.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/JudgedCalls.h"
#include "tests/support/Mount.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/preview/FailingMounts.h"
#include "tests/unit/preview/InCopy.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using testsupport::AskedMount;
using testsupport::InCopy;

TEST(HostCopy, WorksInAChangedRootThatIsNoMount) {
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

TEST(HostCopy, WorksInAUserNamespaceWhoseRootIsItsOwn) {
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

TEST(HostCopy, SaysWhatToDo_WhereNothingMayBeMounted) {
    testsupport::WithFailing({{SYS_mount, EPERM}}, [] {
        EXPECT_EQ(
            InCopy([] { return std::string("run"); }),
            "failed: A preview is not possible here: mounts of its own are not allowed; run it as root, "
            "outside of a container (Operation not permitted).");
        return 0;
    });
}

TEST(HostCopy, SaysWhatIsMissing_WhereTheKernelHasNoOverlays) {
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

TEST(HostCopy, AsksForProc_WhereItIsNotMounted) {
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

/// A rehearsal is refused with this text, wherever such a mount fails.
void ExpectRefusal(const std::string& text, const std::function<bool(const AskedMount&)>& isMeant,
                   int error = EIO) {
    testsupport::InChild([&] {
        testsupport::MakeMountsFail(error, isMeant);
        EXPECT_EQ(InCopy([] { return std::string("run"); }),
                  "failed: A preview is not possible here: " + text);
        return 0;
    });
}

TEST(HostCopy, SaysWhatCannotBeMounted) {
    ExpectRefusal("nothing can be mounted; run it as root, outside of a container (Input/output error).",
                  [](const AskedMount& mount) { return mount.target == "/proc"; });
    ExpectRefusal(
        "/ cannot be mounted a second time; run it as root, outside of a container (Input/output error).",
        [](const AskedMount& mount) { return mount.target.starts_with("/proc/lower/0-"); });
}

TEST(HostCopy, IsNotBuilt_WhereTheKernelsFilesCannotBeShown) {
    const auto isAt = [](const std::string& path) {
        return [path](const AskedMount& mount) { return mount.target == "/proc/root" + path; };
    };
    ExpectRefusal(
        "/proc cannot be mounted anew; run it as root, outside of a container (Input/output error).",
        isAt("/proc"));
    for (const char* path : {"/sys", "/dev"})
        ExpectRefusal("/sys and /dev cannot be mounted anew (Input/output error).", isAt(path));
}

/// A small host of one file system, which has a file.
class SmallHost : public testing::Test {
  protected:
    SmallHost() {
        fs::create_directory("/opt/root/proc");
        m_processes.emplace(testsupport::Mount::Bind("/proc", "/opt/root/proc"));
        testfiles::Write("/opt/root/file", "old");
    }

    /// What the file holds in a copy, or why there is none, where so many overlays fail.
    static void ExpectInCopy(const std::string& expected, int error, int failing) {
        testsupport::WithRoot("/opt/root", [&] {
            testsupport::MakeMountsFail(error, [failing](const AskedMount& mount) mutable {
                return mount.type == "overlay" && failing-- > 0;
            });
            EXPECT_EQ(InCopy([] {
                          testfiles::Write("/file", "new");
                          return testfiles::Read("/file");
                      }),
                      expected)
                << failing << " fail";
            EXPECT_EQ(testfiles::Read("/file"), "old");
        });
    }

    testsupport::Mount m_root = testsupport::Mount::Tmpfs("/opt/root", "mode=0755");
    std::optional<testsupport::Mount> m_processes;
};

constexpr const char* kNoOverlay =
    "failed: A preview is not possible here: no overlay can be mounted over /; run it as root, outside of a "
    "container.";

TEST_F(SmallHost, HasACopy_WhereSomeOptionsOfAnOverlayAreRefused_AndNone_WhenItFailsOtherwise) {
    for (const int error : {EINVAL, EPERM}) {
        for (int failing = 0; failing < 4; ++failing) ExpectInCopy("new", error, failing);
        ExpectInCopy(kNoOverlay, error, 4);
    }
    ExpectInCopy(kNoOverlay, EIO, 1);
}

TEST_F(SmallHost, HasNoCopy_WhenItIsAnOverlayThatCannotBeCovered) {
    for (const char* name : {"lower/proc", "upper", "work", "host"})
        fs::create_directories(std::string("/opt/root/") + name);
    const auto host = testsupport::Mount::Overlay("/opt/root", "/opt/root/host");
    const auto processes = testsupport::Mount::Bind("/proc", "/opt/root/host/proc");
    testsupport::WithRoot("/opt/root/host", [] {
        ExpectRefusal(
            "/ is an overlay of overlays already; run it on the host itself.",
            [](const AskedMount& mount) { return mount.type == "overlay"; }, EINVAL);
    });
}

TEST_F(SmallHost, HasNoCopy_WhenItIsReadOnlyAndCannotBeMountedASecondTime) {
    m_root.MakeReadOnly();
    testsupport::WithRoot("/opt/root", [] {
        ExpectRefusal("/ cannot be mounted a second time (Input/output error).",
                      [](const AskedMount& mount) { return mount.target == "/proc/root"; });
    });
}

TEST_F(SmallHost, HasNoCopy_WhenAFileSystemThatEveryCommandNeedsGetsNoOverlay) {
    const auto opt = testsupport::Mount::Tmpfs("/opt/root/opt");
    testsupport::WithRoot("/opt/root", [] {
        ExpectRefusal("no overlay can be mounted over /opt; run it as root, outside of a container.",
                      [](const AskedMount& mount) { return mount.target == "/proc/root/opt"; });
    });
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

TEST(HostCopy, LeavesTheHostAsItWas_WhateverFails) {
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

TEST(HostCopy, RunsNothing_WhenItCannotReturnToAChangedRoot) {
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

TEST(HostCopy, StaysInAChangedRoot_WhateverFails) {
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
