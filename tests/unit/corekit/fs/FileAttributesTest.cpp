// Modes, owners, times and extended attributes of entries themselves.
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <vector>

#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/detail/FileAttributes.h"
#include "corekit/os/Descriptor.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/AsUser.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintResult.h"
#include "tests/support/TestFiles.h"
#include "tests/support/Workspace.h"

using corekit::Descriptor;
using corekit::EntryRef;
using corekit::IfRefused;
using corekit::Result;
using testfiles::Attribute;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

/// What somebody else's file of this mode tells of itself.
struct stat Foreign(mode_t mode) {
    struct stat model {};
    model.st_uid = 12;
    model.st_gid = 34;
    model.st_mode = S_IFREG | mode;
    return model;
}

}  // namespace

TEST(SetMode, WorksOnFilesThatCannotBeOpened) {
    const Workspace dir;
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    testfiles::Write(dir / "file", "");
    EXPECT_TRUE(corekit::SetMode({AT_FDCWD, dir / "fifo"}, 0622));
    EXPECT_EQ(testfiles::Mode(dir / "fifo"), 0622U);
    const corekit::Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    EXPECT_TRUE(corekit::SetMode({directory.Get(), "file"}, 0711));
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0711U);
}

TEST(SetMode, WorksOnAFileThatItsOwnerMayNotRead) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0);
    fs::permissions(dir.Path(), fs::perms(0755));
    ASSERT_EQ(chown((dir / "file").c_str(), 12, 34), 0);
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    {
        const testsupport::AsUser owner(12);
        EXPECT_EQ(corekit::OpenAt(directory.Get(), "file", O_RDONLY).Outcome(), Result(EACCES));
        EXPECT_EQ(corekit::SetMode({directory.Get(), "file"}, 0640), Result());
    }
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0640U);
}

TEST(SetMode, RefusesLinksWhereverTheyLead) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_symlink("sub", dir / "link");
    fs::create_symlink("nowhere", dir / "dangling");
    for (const char* name : {"link", "dangling"}) {
        EXPECT_EQ(corekit::SetMode({AT_FDCWD, dir / name}, 0777), Result(ELOOP)) << name;
        EXPECT_EQ(corekit::SetOwner({AT_FDCWD, dir / name}, 0, 0), Result(ELOOP)) << name;
    }
    EXPECT_EQ(testfiles::Mode(dir / "sub"), 0755U);
}

TEST(SetMode, ConcernsTheFileThatItOpens_WhenThatTakesAnothersPlace) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0644);
    testfiles::Write(dir / "other", "", 0644);
    fs::create_hard_link(dir / "file", dir / "kept");
    const Descriptor directory = corekit::OpenDirectory(dir.Path()).value();
    testsupport::InChild([&] {
        testsupport::JudgeCalls({SYS_openat}, [&](const seccomp_notif& call) -> testsupport::Verdict {
            if ((call.data.args[2] & O_PATH) == 0) rename((dir / "other").c_str(), (dir / "file").c_str());
            return std::nullopt;
        });
        EXPECT_TRUE(corekit::SetMode({directory.Get(), "file"}, 0600));
        return 0;
    });
    EXPECT_EQ(testfiles::Mode(dir / "kept"), 0644U);
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0600U);
}

TEST(TakeOwnerAndMode, FailsOrLeavesOutLentRights_WhereTheOwnerIsRefused) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    const Descriptor file = corekit::OpenAt(AT_FDCWD, dir / "file", O_WRONLY).value();
    const auto take = [&](IfRefused ifRefused) {
        return WithFailing({{SYS_fchown, EPERM}}, [&] {
            return corekit::TakeOwnerAndMode(file.Get(), Foreign(06755), ifRefused).Code();
        });
    };
    EXPECT_EQ(take(IfRefused::Fail), EPERM);
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0600U);
    EXPECT_EQ(take(IfRefused::GoOn), 0);
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0755U);
}

TEST(TakeOwnerAndMode, GivesTheGroup_WhereOnlyThatDiffers) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    const Descriptor file = corekit::OpenAt(AT_FDCWD, dir / "file", O_WRONLY).value();
    struct stat model {};
    ASSERT_EQ(fstat(file.Get(), &model), 0);
    ++model.st_gid;
    const int failure = WithFailing({{SYS_fchown, EPERM}}, [&] {
        return corekit::TakeOwnerAndMode(file.Get(), model, IfRefused::Fail).Code();
    });
    EXPECT_EQ(failure, EPERM) << "it was not asked for";
}

TEST(TakeOwnerAndMode, SetsNoOwnerThatIsAlreadyRight) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    const Descriptor file = corekit::OpenAt(AT_FDCWD, dir / "file", O_WRONLY).value();
    struct stat model {};
    ASSERT_EQ(fstat(file.Get(), &model), 0);
    model.st_mode = S_IFREG | 04750;
    const int failure = WithFailing({{SYS_fchown, EPERM}}, [&] {
        return corekit::TakeOwnerAndMode(file.Get(), model, IfRefused::Fail).Code();
    });
    EXPECT_EQ(failure, 0);
    EXPECT_EQ(testfiles::Mode(dir / "file"), 04750U);
}

TEST(TakeTimes, SetsBothToTheNanosecond) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    const Descriptor file = corekit::OpenAt(AT_FDCWD, dir / "file", O_WRONLY).value();
    struct stat model {};
    model.st_atim = {1, 2};
    model.st_mtim = {3, 4};
    ASSERT_TRUE(corekit::TakeTimes(file.Get(), model));
    struct stat info {};
    ASSERT_EQ(fstat(file.Get(), &info), 0);
    EXPECT_EQ(info.st_atim.tv_sec, 1);
    EXPECT_EQ(info.st_atim.tv_nsec, 2);
    EXPECT_EQ(info.st_mtim.tv_sec, 3);
    EXPECT_EQ(info.st_mtim.tv_nsec, 4);
}

namespace {

const std::vector<int> kAttributeCalls = {SYS_flistxattr, SYS_fgetxattr, SYS_fsetxattr, SYS_fremovexattr,
                                          SYS_fchmod};

class ExtendedAttributes : public testing::Test {
  protected:
    ExtendedAttributes() {
        testfiles::Write(m_dir / "model", "");
        testfiles::Write(m_dir / "new", "");
        m_file = Descriptor(open((m_dir / "new").c_str(), O_WRONLY));
    }

    Result Take() const {
        return corekit::TakeAttributes(m_file.Get(), {AT_FDCWD, m_dir / "model"}, IfRefused::Fail);
    }

    const testfiles::TempDir m_dir;
    Descriptor m_file;
};

TEST_F(ExtendedAttributes, AreTakenOverFromTheModel) {
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.one", "1", 1, 0), 0);
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.empty", "", 0, 0), 0);
    EXPECT_TRUE(Take());
    EXPECT_EQ(Attribute(m_dir / "new", "user.one"), "1");
    EXPECT_EQ(Attribute(m_dir / "new", "user.empty"), "");
    EXPECT_EQ(Attribute(m_dir / "new", "user.other"), "none");
}

TEST_F(ExtendedAttributes, ReplaceOtherValues) {
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.one", "new", 3, 0), 0);
    ASSERT_EQ(setxattr((m_dir / "new").c_str(), "user.one", "old", 3, 0), 0);
    EXPECT_TRUE(Take());
    EXPECT_EQ(Attribute(m_dir / "new", "user.one"), "new");
}

TEST_F(ExtendedAttributes, AreLeftOut_WhenTheyMayNotBeSet) {
    ASSERT_EQ(setxattr((m_dir / "model").c_str(), "user.one", "1", 1, 0), 0);
    for (const int refusal : {EPERM, EACCES, ENOTSUP})
        EXPECT_EQ(WithFailing({{SYS_fsetxattr, refusal}}, [&] { return Take().Code(); }), 0);
    EXPECT_EQ(WithFailing({{SYS_fsetxattr, ENOSPC}}, [&] { return Take().Code(); }), ENOSPC);
    EXPECT_EQ(Attribute(m_dir / "new", "user.one"), "none");
}

TEST_F(ExtendedAttributes, AreAccessListsToo) {
    ASSERT_EQ(chmod((m_dir / "model").c_str(), 0600), 0);
    testfiles::SetAttribute(m_dir / "model", testfiles::kAccessList, testfiles::RootMayRead());
    EXPECT_TRUE(Take());
    EXPECT_EQ(Attribute(m_dir / "new", testfiles::kAccessList), testfiles::RootMayRead());
    EXPECT_EQ(testfiles::Mode(m_dir / "new"), 0640U);
}

TEST_F(ExtendedAttributes, AreNotTheListThatTheDirectoryGives_WhenTheModelHasNone) {
    testfiles::SetAttribute(m_dir.Path(), testfiles::kDefaultList, testfiles::RootMayRead());
    m_file = Descriptor(open((m_dir / "given").c_str(), O_WRONLY | O_CREAT, 0640));
    ASSERT_NE(Attribute(m_dir / "given", testfiles::kAccessList), "none");
    EXPECT_TRUE(Take());
    EXPECT_EQ(Attribute(m_dir / "given", testfiles::kAccessList), "none");
    EXPECT_EQ(testfiles::Mode(m_dir / "given"), 0644U);
}

TEST_F(ExtendedAttributes, LeaveTheGroupNothing_WhenTheListCannotBeSet) {
    testfiles::SetAttribute(m_dir / "model", testfiles::kAccessList, testfiles::RootMayRead());
    ASSERT_EQ(testfiles::Mode(m_dir / "model"), 0640U);
    EXPECT_EQ(WithFailing({{SYS_fsetxattr, ENOTSUP}}, [&] { return Take().Code(); }), 0);
    EXPECT_EQ(testfiles::Mode(m_dir / "new"), 0600U);
}

TEST_F(ExtendedAttributes, AreAllTakenOrThatIsAFailure) {
    testfiles::SetAttribute(m_dir / "model", "user.one", "1");
    testfiles::SetAttribute(m_dir.Path(), testfiles::kDefaultList, testfiles::RootMayRead());
    const std::string given = m_dir / "given";
    const int points = testsupport::FailInTurn(
        kAttributeCalls, EIO,
        [&] {
            fs::remove(given);
            m_file = Descriptor(open(given.c_str(), O_WRONLY | O_CREAT, 0640));
        },
        [&] { return Take().Code(); },
        [&](int result) {
            if (result != 0) return;
            EXPECT_EQ(Attribute(given, "user.one"), "1");
            EXPECT_EQ(Attribute(given, testfiles::kAccessList), "none");
            EXPECT_EQ(testfiles::Mode(given), 0644U);
        });
    EXPECT_GE(points, 8);
    EXPECT_EQ(Attribute(given, testfiles::kAccessList), "none");
}

TEST_F(ExtendedAttributes, GiveTheGroupNoMoreThanTheModelDid_WhateverFails) {
    testfiles::SetAttribute(m_dir / "model", testfiles::kAccessList, testfiles::RootMayRead());
    testsupport::FailInTurn(
        kAttributeCalls, EIO, [&] { testfiles::Write(m_dir / "new", "", 0600); },
        [&] {
            EXPECT_TRUE(testsupport::MakeFail({{SYS_fsetxattr, ENOTSUP}}));
            return Take().Code();
        },
        [&](int) { EXPECT_EQ(testfiles::Mode(m_dir / "new"), 0600U); });
    EXPECT_EQ(testfiles::Mode(m_dir / "new"), 0600U);
}

TEST_F(ExtendedAttributes, AreNone_WhenTheFileSystemHasNone) {
    EXPECT_EQ(WithFailing({{SYS_flistxattr, ENOTSUP}}, [&] { return Take().Code(); }), 0);
    EXPECT_EQ(WithFailing({{SYS_flistxattr, EIO}}, [&] { return Take().Code(); }), EIO);
    EXPECT_EQ(
        WithFailing({{SYS_flistxattr, ENOTSUP}, {SYS_fgetxattr, ENOTSUP}}, [&] { return Take().Code(); }), 0);
}

}  // namespace
