// Probing and reading files, their mode and owner.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Workspace.h"

using corekit::Result;
using corekit::String;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace File = corekit::File;
namespace fs = std::filesystem;

TEST(FileExists, FollowsLinks) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    fs::create_symlink("file", dir / "link");
    fs::create_symlink("nowhere", dir / "dangling");
    fs::create_symlink("loop", dir / "loop");
    EXPECT_TRUE(File::Exists(dir("file")));
    EXPECT_TRUE(File::Exists(dir("link")));
    EXPECT_TRUE(File::Exists(dir("")));
    EXPECT_FALSE(File::Exists(dir("dangling")));
    EXPECT_FALSE(File::Exists(dir("loop")));
    EXPECT_FALSE(File::Exists(dir("none")));
    EXPECT_FALSE(File::Exists(dir("file/below")));
    EXPECT_FALSE(File::Exists(L""));
    EXPECT_FALSE(File::Exists(dir("file") + std::wstring(1, L'\0')));
}

TEST(FileExists, IsTrue_UnlessTheSystemSaysThatNothingIsThere) {
    const auto whileTroubled = [](int errnoValue, auto&& answer) {
        return testsupport::WithFailing({{SYS_newfstatat, errnoValue}, {SYS_stat, errnoValue}}, answer);
    };
    for (const int errnoValue : {EIO, EACCES, EINTR, EMFILE}) {
        EXPECT_EQ(whileTroubled(errnoValue, [] { return File::Exists(L"/nowhere") ? 1 : 0; }), 1);
        EXPECT_EQ(whileTroubled(errnoValue, [] { return File::MayBeDirectory(L"/nowhere") ? 1 : 0; }), 1);
        EXPECT_EQ(whileTroubled(errnoValue, [] { return File::IsDirectory(L"/usr") ? 1 : 0; }), 0);
        EXPECT_EQ(whileTroubled(errnoValue, [] { return File::CheckNotLink(L"/usr/bin").Code(); }),
                  errnoValue);
        EXPECT_EQ(whileTroubled(errnoValue, [] { return File::Probe(L"/usr").Code(); }), errnoValue);
    }
    EXPECT_EQ(whileTroubled(ENOENT, [] { return File::Exists(L"/usr") ? 1 : 0; }), 0);
}

TEST(FileMayBeDirectory, IsTrue_UnlessTheSystemSaysOtherwise) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    EXPECT_TRUE(File::MayBeDirectory(dir("")));
    EXPECT_FALSE(File::MayBeDirectory(dir("file")));
    EXPECT_FALSE(File::MayBeDirectory(dir("none")));
}

TEST(FileIsDirectory, FollowsLinks) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    testfiles::Write(dir / "file", "");
    fs::create_symlink("sub", dir / "link");
    fs::create_symlink("file", dir / "fileLink");
    EXPECT_TRUE(File::IsDirectory(dir("sub")));
    EXPECT_TRUE(File::IsDirectory(dir("link")));
    EXPECT_FALSE(File::IsDirectory(dir("file")));
    EXPECT_FALSE(File::IsDirectory(dir("fileLink")));
    EXPECT_FALSE(File::IsDirectory(dir("none")));
    EXPECT_FALSE(File::IsDirectory(L""));
}

TEST(FileCheckNotLink, ConcernsThePathItself) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    testfiles::Write(dir / "sub/file", "");
    fs::create_symlink("sub", dir / "link");
    fs::create_symlink("nowhere", dir / "dangling");
    EXPECT_FALSE(File::CheckNotLink(dir("link")));
    EXPECT_FALSE(File::CheckNotLink(dir("link//")));
    EXPECT_FALSE(File::CheckNotLink(dir("dangling")));
    EXPECT_TRUE(File::CheckNotLink(dir("link/file")));
    EXPECT_TRUE(File::CheckNotLink(dir("sub")));
    EXPECT_TRUE(File::CheckNotLink(dir("sub/file")));
    EXPECT_TRUE(File::CheckNotLink(dir("none")));
    EXPECT_TRUE(File::CheckNotLink(L"/"));
    EXPECT_TRUE(File::CheckNotLink(L""));
}

TEST(FileAccess, IsThatOfTheEffectiveUser) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    EXPECT_TRUE(File::IsReadable(dir("file")));
    EXPECT_TRUE(File::IsWritable(dir("file")));
    EXPECT_TRUE(File::IsWritable(dir("")));
    EXPECT_FALSE(File::IsReadable(dir("none")));
    EXPECT_FALSE(File::IsWritable(dir("none")));
    EXPECT_FALSE(File::IsReadable(dir("none/file")));
}

TEST(FileAccess, IsNoWriting_OnAReadOnlyFileSystem) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    testfiles::Write(dir / "mounted/file", "");
    mount.MakeReadOnly();
    EXPECT_TRUE(File::IsReadable(dir("mounted/file")));
    EXPECT_FALSE(File::IsWritable(dir("mounted/file")));
    EXPECT_FALSE(File::IsWritable(dir("mounted")));
}

TEST(FileRead, GivesTheWholeTextInTheEncodingAskedFor) {
    const Workspace dir;
    testfiles::Write(dir / "file", "a\xC3\xA4\n");
    EXPECT_EQ(File::Read(dir("file")).value(), L"a\u00E4\n");
    EXPECT_EQ(File::Read(dir("file"), corekit::Latin1Encoding()).value(), L"a\u00C3\u00A4\n");
}

TEST(FileRead, GivesEveryByte) {
    const Workspace dir;
    std::string content(100000, 'x');
    content += std::string("\0\xFF\r\n", 4);
    testfiles::Write(dir / "file", content);
    testfiles::Write(dir / "empty", "");
    fs::create_symlink("file", dir / "link");
    EXPECT_EQ(File::ReadBytes(dir("link")).value(), content);
    EXPECT_EQ(File::ReadBytes(dir("empty")).value(), "");
    EXPECT_NE(File::ReadBytes(L"/proc/self/cmdline").value(), "");  // tells a size of 0
}

TEST(FileRead, RefusesWithoutWaitingWhatIsNoRegularFile) {
    const Workspace dir;
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    fs::create_symlink("fifo", dir / "link");
    EXPECT_EQ(File::ReadBytes(dir("fifo")), Result(EINVAL));
    EXPECT_EQ(File::ReadBytes(dir("link")), Result(EINVAL));
    EXPECT_EQ(File::ReadBytes(L"/dev/zero"), Result(EINVAL));
    EXPECT_EQ(File::ReadBytes(dir("")), Result(EISDIR));
    EXPECT_EQ(File::ReadBytes(dir("none")), Result(ENOENT));
    EXPECT_EQ(File::ReadBytes(L""), Result(ENOENT));
    EXPECT_EQ(File::Read(dir("fifo")), Result(EINVAL));
}

TEST(FileRead, RefusesWhatNoMemoryShouldHold) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    ASSERT_EQ(truncate((dir / "file").c_str(), static_cast<off_t>(File::kLargestRead) + 1), 0);
    EXPECT_EQ(File::ReadBytes(dir("file")), Result(EFBIG));
    testfiles::Write(dir / "small", "12345");
    EXPECT_EQ(File::ReadBytes(dir("small"), 4), Result(EFBIG));
    EXPECT_EQ(File::ReadBytes(dir("small"), 5).value(), "12345");
}

TEST(FileReadLink, GivesTheTargetOfTheLink) {
    const Workspace dir;
    const std::string longest(4095, 'x');
    for (const std::string& target : {std::string("../a"), std::string("/nowhere/caf\xe9"), longest}) {
        fs::remove(dir / "link");
        fs::create_symlink(target, dir / "link");
        const auto read = File::ReadLink(dir("link"));
        ASSERT_TRUE(read);
        EXPECT_EQ(*read, String::FromUtf8(target));
    }
}

TEST(FileReadLink, FailsForAnythingElse) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    EXPECT_EQ(File::ReadLink(dir("file")).Outcome(), Result(EINVAL));
    EXPECT_EQ(File::ReadLink(dir("")).Outcome(), Result(EINVAL));
    EXPECT_EQ(File::ReadLink(dir("none")).Outcome(), Result(ENOENT));
    EXPECT_EQ(File::ReadLink(dir("none")).error().Path(), dir("none"));
}

TEST(FileChmod, SetsTheModeToTheBit) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    fs::create_directory(dir / "sub");
    ASSERT_TRUE(File::Chmod(dir("file"), 0544));
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0544U);
    ASSERT_TRUE(File::Chmod(dir("file"), 0));
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0U);
    ASSERT_TRUE(File::Chmod(dir("file"), 04711));
    EXPECT_EQ(testfiles::Mode(dir / "file"), 04711U);
    ASSERT_TRUE(File::Chmod(dir("sub"), 0777));
    EXPECT_EQ(testfiles::Mode(dir / "sub"), 0777U);
    ASSERT_TRUE(File::Chmod(dir("sub/."), 0700));
    EXPECT_EQ(testfiles::Mode(dir / "sub"), 0700U);
}

TEST(FileChmod, RefusesALink) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    fs::create_symlink("file", dir / "link");
    EXPECT_EQ(File::Chmod(dir("link"), 0666), Result(ELOOP));
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0600U);
    EXPECT_EQ(File::Chmod(dir("none"), 0666), Result(ENOENT));
    EXPECT_EQ(File::Chmod(L"", 0666), Result(ENOENT));
}

TEST(FileChowngrp, RefusesALink) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    fs::create_symlink("file", dir / "link");
    EXPECT_TRUE(File::Chowngrp(dir("file"), 0, 0));
    EXPECT_EQ(File::Chowngrp(dir("link"), 0, 0), Result(ELOOP));
    EXPECT_EQ(File::Chowngrp(dir("none"), 0, 0), Result(ENOENT));
}

TEST(FileChowngrp, SetsAModeAsWell_EvenWhereTheOwnerCannotBeGiven) {
    const Workspace dir;
    testfiles::Write(dir / "file", "", 0600);
    EXPECT_TRUE(File::Chowngrp(dir("file"), 12, 34, 0640));
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0640U);
    struct stat info {};
    ASSERT_EQ(stat((dir / "file").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12U);
    EXPECT_EQ(info.st_gid, 34U);
    EXPECT_EQ(
        WithFailing({{SYS_fchownat, EPERM}}, [&] { return File::Chowngrp(dir("file"), 0, 0, 0444).Code(); }),
        EPERM);
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0444U);
    EXPECT_EQ(
        WithFailing({{SYS_fchmod, EIO}}, [&] { return File::Chowngrp(dir("file"), 0, 0, 0600).Code(); }),
        EIO);
}
