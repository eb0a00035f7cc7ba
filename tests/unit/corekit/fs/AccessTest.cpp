// Whether something can be done to a path: the answers, beside what really happens.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <linux/stat.h>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "tests/support/AnsweredCalls.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"

namespace corekit {
namespace {

/// A directory that a file system is mounted on.
class Mounted {
  public:
    Mounted(const std::string& path, unsigned long flags, const char* options = nullptr) : m_path(path) {
        std::filesystem::create_directories(path);
        EXPECT_EQ(mount("none", path.c_str(), "tmpfs", flags, options), 0);
    }
    ~Mounted() { EXPECT_EQ(umount(m_path.c_str()), 0); }
    Mounted(const Mounted&) = delete;
    Mounted& operator=(const Mounted&) = delete;

  private:
    std::string m_path;
};

class AccessChecks : public testing::Test {
  protected:
    String At(const std::string& name) { return String::FromUtf8(m_dir / name); }

    /// What the checks say of a directory that is to be made, which is what making it says.
    void ExpectCreation(const std::string& name, int code) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Access::CheckCreatableDirectory(At(name)).Code(), code);
        EXPECT_EQ(Dir::CreateR(At(name)).Ok(), code == 0);
    }
    void ExpectReplacement(const std::string& name, int code) {
        SCOPED_TRACE(name);
        EXPECT_EQ(Access::CheckReplaceable(At(name)).Code(), code);
        EXPECT_EQ(File::Write(At(name), L"new").Ok(), code == 0);
    }

    testfiles::TempDir m_dir;
};

TEST_F(AccessChecks, AllowADirectoryThatCanBeWrittenTo) {
    testfiles::Write(m_dir / "file", "");
    const Mounted readOnly(m_dir / "ro", MS_RDONLY);
    EXPECT_TRUE(Access::CheckWritableDirectory(At("")));
    EXPECT_EQ(Access::CheckWritableDirectory(At("missing")).Code(), ENOENT);
    EXPECT_EQ(Access::CheckWritableDirectory(At("file")).Code(), ENOTDIR);
    EXPECT_EQ(Access::CheckWritableDirectory(At("ro")).Code(), EROFS);
    EXPECT_EQ(Access::CheckWritableDirectory(String()).Code(), ENOENT);
}

TEST_F(AccessChecks, FindTheRootThere_HoweverItIsSpelled) {
    const Result writable = Access::CheckWritableDirectory(L"/");
    for (const wchar_t* path : {L"/", L"//", L"/.", L"/.."})
        EXPECT_EQ(Access::CheckCreatableDirectory(path), writable);
    EXPECT_EQ(Access::CheckReplaceable(L"/"), Result(EISDIR));
}

TEST_F(AccessChecks, EndWhereEvenTheCurrentDirectoryIsMissing) {
    for (const wchar_t* path : {L"a", L".", L"a/b"}) {
        const int code = testsupport::WithFailing({{SYS_openat, ENOENT}, {SYS_openat2, ENOENT}}, [&] {
            return Access::CheckCreatableDirectory(path).Code();
        });
        EXPECT_EQ(code, ENOENT);
    }
}

TEST_F(AccessChecks, FailOnAFullDisk) {
    const Mounted full(m_dir / "full", 0, "size=4k");
    EXPECT_TRUE(Access::CheckWritableDirectory(At("full")));
    testfiles::Write(m_dir / "full/file", std::string(4096, 'x'));
    EXPECT_TRUE(Access::CheckWritableDirectory(At("full")));
    EXPECT_TRUE(Access::CheckCreatableDirectory(At("full")));
    EXPECT_EQ(Access::CheckCreatableDirectory(At("full/a/b")).Code(), ENOSPC);
    EXPECT_EQ(Access::CheckReplaceable(At("full/other")).Code(), ENOSPC);
    const Mounted crowded(m_dir / "crowded", 0, "nr_inodes=2");
    testfiles::Write(m_dir / "crowded/file", "");
    EXPECT_EQ(Access::CheckReplaceable(At("crowded/other")).Code(), ENOSPC);
}

TEST_F(AccessChecks, FindNoRoomOnAFullDisk_WhateverFails) {
    const Mounted full(m_dir / "full", 0, "size=4k");
    testfiles::Write(m_dir / "full/file", std::string(4096, 'x'));
    const int points = testsupport::FailInTurn(
        {SYS_openat2, SYS_newfstatat, SYS_faccessat2, SYS_fstatfs}, EIO, [] {},
        [&] { return Access::CheckReplaceable(At("full/other")) ? 1 : 0; },
        [](int isAllowed) { EXPECT_EQ(isAllowed, 0); });
    EXPECT_GE(points, 3);
}

TEST_F(AccessChecks, TakeAFileSystemThatCountsNothingForOneWithRoom) {
    std::filesystem::create_directory(m_dir / "ram");
    ASSERT_EQ(mount("none", (m_dir / "ram").c_str(), "ramfs", 0, nullptr), 0);
    ExpectReplacement("ram/new", 0);
    ASSERT_EQ(umount((m_dir / "ram").c_str()), 0);
}

TEST_F(AccessChecks, RefuseANameOfTheHost) {
    std::filesystem::create_symlink("nowhere", m_dir / "bin");
    testsupport::WithRoot(m_dir.Path(), [] {
        EXPECT_EQ(Access::CheckReplaceable(L"/bin"), Result(EPERM));
        EXPECT_FALSE(File::Write(L"/bin", L"new"));
    });
}

TEST_F(AccessChecks, AllowADirectoryThatCanBeMade) {
    testfiles::Write(m_dir / "file", "");
    std::filesystem::create_symlink("nowhere", m_dir / "dangling");
    const Mounted readOnly(m_dir / "ro", MS_RDONLY);
    ExpectCreation("a/b/c", 0);
    ExpectCreation("a/b/d//", 0);
    ExpectCreation("file/below", ENOTDIR);
    ExpectCreation("dangling", EEXIST);
    ExpectCreation("dangling/below", EEXIST);
    ExpectCreation("ro/a/b", EROFS);
    EXPECT_EQ(Access::CheckCreatableDirectory(String()).Code(), ENOENT);
    std::filesystem::current_path(m_dir.Path());
    EXPECT_TRUE(Access::CheckCreatableDirectory(L"relative/to/here"));
}

TEST_F(AccessChecks, FailInProc_WhereOnlyTheKernelMakesEntries) {
    for (const wchar_t* path : {L"/proc/zorvane", L"/proc/zorvane/below"}) {
        const Result made = Dir::CreateR(path);
        EXPECT_FALSE(made);
        EXPECT_EQ(Access::CheckCreatableDirectory(path).Code(), made.Code()) << path;
    }
}

TEST_F(AccessChecks, FailInEveryFileSystemOfTheKernels) {
    struct Row {
        decltype(statfs::f_type) type;  // its width depends on the architecture
        int error;
    };
    constexpr Row rows[] = {{PROC_SUPER_MAGIC, ENOENT}, {SYSFS_MAGIC, EPERM},   {DEVPTS_SUPER_MAGIC, EPERM},
                            {SECURITYFS_MAGIC, EPERM},  {DEBUGFS_MAGIC, EPERM}, {TMPFS_MAGIC, 0}};
    for (const Row& row : rows) {
        testsupport::InChild([&] {
            testsupport::JudgeCalls({SYS_fstatfs}, [&](const seccomp_notif& call) -> testsupport::Verdict {
                struct statfs system {};
                system.f_type = row.type;
                *reinterpret_cast<struct statfs*>(call.data.args[1]) = system;
                return 0;
            });
            EXPECT_EQ(Access::CheckCreatableDirectory(At("new")).Code(), row.error) << row.type;
            return 0;
        });
    }
}

TEST_F(AccessChecks, MakeNothing) {
    EXPECT_TRUE(Access::CheckCreatableDirectory(At("a/b")));
    EXPECT_TRUE(Access::CheckReplaceable(At("c/d")));
    EXPECT_TRUE(Access::CheckRemovable(At("e")));
    EXPECT_TRUE(std::filesystem::is_empty(m_dir.Path()));
}

TEST_F(AccessChecks, AllowAFileThatCanBeReplaced) {
    testfiles::Write(m_dir / "file", "old", 0444);
    std::filesystem::create_symlink("nowhere", m_dir / "link");
    std::filesystem::create_directory(m_dir / "directory");
    const Mounted readOnly(m_dir / "ro", MS_RDONLY);
    ExpectReplacement("new", 0);
    ExpectReplacement("file", 0);
    ExpectReplacement("link", 0);
    ExpectReplacement("directory", EISDIR);
    ExpectReplacement("ro/file", EROFS);
    ExpectReplacement("new/file", ENOTDIR);
    ExpectReplacement(std::string(300, 'x'), ENAMETOOLONG);
    std::filesystem::create_symlink("/usr", m_dir / "a link of ours");
    ExpectReplacement("a link of ours", 0);
}

TEST_F(AccessChecks, FailOnAMountPoint) {
    testfiles::Write(m_dir / "file", "");
    testfiles::Write(m_dir / "other", "");
    ASSERT_EQ(mount((m_dir / "other").c_str(), (m_dir / "file").c_str(), nullptr, MS_BIND, nullptr), 0);
    ExpectReplacement("file", EBUSY);
    EXPECT_EQ(Access::CheckRemovable(At("file")).Code(), EBUSY);
    ASSERT_EQ(umount((m_dir / "file").c_str()), 0);
    ExpectReplacement("file", 0);
}

TEST_F(AccessChecks, FailOnAFileThatMayNotChange) {
    testfiles::Write(m_dir / "file", "");
    for (const int attribute : {STATX_ATTR_IMMUTABLE, STATX_ATTR_APPEND}) {
        testsupport::InChild([&] {
            testsupport::AnswerStatx([attribute](std::string_view name, struct statx& info) {
                info.stx_attributes = static_cast<unsigned>(attribute);
                return name == "file";
            });
            EXPECT_EQ(Access::CheckReplaceable(At("file")), Result(EPERM));
            EXPECT_EQ(Access::CheckRemovable(At("file")), Result(EPERM));
            return 0;
        });
    }
}

TEST_F(AccessChecks, AllowWhatTheSystemDoesNotTellOf) {
    testfiles::Write(m_dir / "file", "");
    testsupport::WithFailing({{SYS_statx, EPERM}}, [&] {
        EXPECT_TRUE(Access::CheckReplaceable(At("file")));
        EXPECT_TRUE(Access::CheckRemovable(At("file")));
        return 0;
    });
}

TEST_F(AccessChecks, SayWhatAnotherUserMayDo) {
    std::filesystem::create_directory(m_dir / "blind");
    ASSERT_EQ(chmod((m_dir / "blind").c_str(), 0333), 0);
    ASSERT_EQ(chmod(m_dir.Path().c_str(), 0755), 0);
    testsupport::InChild([&] {
        if (seteuid(12345) != 0) return 0;  // not root's machine
        EXPECT_EQ(Access::CheckReplaceable(At("blind/x")), Result(EACCES));
        EXPECT_FALSE(File::Write(At("blind/x"), L"new"));
        return 0;
    });
}

TEST_F(AccessChecks, AllowWhatCanBeRemoved) {
    testfiles::Write(m_dir / "file", "");
    std::filesystem::create_directory(m_dir / "ro");
    testfiles::Write(m_dir / "ro/file", "");
    ASSERT_EQ(mount((m_dir / "ro").c_str(), (m_dir / "ro").c_str(), nullptr, MS_BIND, nullptr), 0);
    ASSERT_EQ(mount(nullptr, (m_dir / "ro").c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_TRUE(Access::CheckRemovable(At("file")));
    EXPECT_EQ(Access::CheckRemovable(At("ro/file")).Code(), EROFS);
    EXPECT_TRUE(Access::CheckRemovable(At("ro/missing")));
    ASSERT_EQ(umount((m_dir / "ro").c_str()), 0);
}

}  // namespace
}  // namespace corekit
