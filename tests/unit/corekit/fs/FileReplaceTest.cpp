// Writing and copying files in one step, and temporary files.
#include <array>
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

#include "corekit/fs/File.h"
#include "tests/support/FailingCall.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Workspace.h"

using corekit::Result;
using corekit::String;
using testfiles::NamesIn;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testsupport::Mount;
using testsupport::WithFailing;
using testsupport::Workspace;

namespace File = corekit::File;
namespace fs = std::filesystem;

namespace {

ino_t InodeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(lstat(path.c_str(), &info), 0) << path;
    return info.st_ino;
}

}  // namespace

TEST(FileWrite, MakesANewFileWithTheModeAskedFor_WhateverTheUmask) {
    const Workspace dir;
    const mode_t before = umask(077);
    EXPECT_TRUE(File::WriteBytes(dir("file"), "content"));
    EXPECT_TRUE(File::WriteBytes(dir("open"), "", {.mode = 0666}));
    EXPECT_TRUE(File::WriteBytes(dir("private"), std::string("\0\xFF", 2), {.mode = 0600}));
    umask(before);
    EXPECT_EQ(testfiles::Read(dir / "file"), "content");
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0644U);
    EXPECT_EQ(testfiles::Mode(dir / "open"), 0666U);
    EXPECT_EQ(testfiles::Mode(dir / "private"), 0600U);
    EXPECT_EQ(testfiles::Read(dir / "private"), std::string("\0\xFF", 2));
    EXPECT_THAT(NamesIn(dir.Path()), UnorderedElementsAre("file", "open", "private"));
}

TEST(FileWrite, EncodesText) {
    const Workspace dir;
    ASSERT_TRUE(File::Write(dir("file"), L"\u00E4\n"));
    EXPECT_EQ(testfiles::Read(dir / "file"), "\xC3\xA4\n");
}

TEST(FileWrite, WritesPiecesOneAfterTheOther) {
    const Workspace dir;
    const std::string large(3000000, 'x');
    const std::array<std::string_view, 5> pieces = {"a", "", large, "b\n", large};
    ASSERT_TRUE(File::WritePieces(dir("file"), pieces, {.mode = 0600}));
    EXPECT_EQ(testfiles::Read(dir / "file"), "a" + large + "b\n" + large);
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0600U);
    ASSERT_TRUE(File::WritePieces(dir("file"), {}));
    EXPECT_EQ(testfiles::Read(dir / "file"), "");
}

TEST(FileWrite, KeepsTheModeOfTheFileItReplaces) {
    const Workspace dir;
    testfiles::Write(dir / "file", "a longer old content", 0640);
    const ino_t before = InodeOf(dir / "file");
    ASSERT_TRUE(File::WriteBytes(dir("file"), "new", {.mode = 0644}));
    EXPECT_EQ(testfiles::Read(dir / "file"), "new");
    EXPECT_EQ(testfiles::Mode(dir / "file"), 0640U);
    EXPECT_NE(InodeOf(dir / "file"), before);
}

TEST(FileWrite, ReplacesALinkAndLeavesItsTarget) {
    const Workspace dir;
    testfiles::Write(dir / "victim", "precious", 0600);
    fs::create_symlink("victim", dir / "link");
    fs::create_symlink("nowhere", dir / "dangling");
    ASSERT_TRUE(File::WriteBytes(dir("link"), "new"));
    ASSERT_TRUE(File::WriteBytes(dir("dangling"), "new"));
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(dir / "link")));
    EXPECT_EQ(testfiles::Mode(dir / "link"), 0644U);
    EXPECT_EQ(testfiles::Read(dir / "victim"), "precious");
    EXPECT_FALSE(testfiles::Exists(dir / "nowhere"));
}

TEST(FileWrite, ReplacesAFifoWithoutWaiting) {
    const Workspace dir;
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0666), 0);
    ASSERT_TRUE(File::WriteBytes(dir("fifo"), "new"));
    EXPECT_EQ(testfiles::Read(dir / "fifo"), "new");
    EXPECT_EQ(testfiles::Mode(dir / "fifo"), 0644U);
}

TEST(FileWrite, LeavesOtherNamesOfTheOldFileAlone) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    fs::create_hard_link(dir / "file", dir / "other");
    ASSERT_TRUE(File::WriteBytes(dir("file"), "new"));
    EXPECT_EQ(testfiles::Read(dir / "other"), "old");
}

TEST(FileWrite, WorksInTheCurrentDirectory) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::current_path(dir.Path());
    EXPECT_TRUE(File::WriteBytes(L"file", "1"));
    EXPECT_TRUE(File::WriteBytes(L"sub/file", "2"));
    fs::current_path("/");
    EXPECT_EQ(testfiles::Read(dir / "file"), "1");
    EXPECT_EQ(testfiles::Read(dir / "sub/file"), "2");
}

TEST(FileWrite, TakesTheLongestNames) {
    const Workspace dir;
    const std::string name(255, 'n');
    ASSERT_TRUE(File::WriteBytes(dir(name), "x"));
    EXPECT_EQ(testfiles::Read(dir / name), "x");
    EXPECT_EQ(File::WriteBytes(dir(name + "n"), "x"), Result(ENAMETOOLONG));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre(name));
}

TEST(FileWrite, RefusesWhatIsNoPlaceForAFile) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    fs::create_directory(dir / "sub");
    EXPECT_EQ(File::WriteBytes(dir("sub"), "x"), Result(EISDIR));
    EXPECT_EQ(File::WriteBytes(dir("sub/."), "x"), Result(EISDIR));
    EXPECT_EQ(File::WriteBytes(L"/", "x"), Result(EISDIR));
    EXPECT_EQ(File::WriteBytes(L"", "x"), Result(ENOENT));
    EXPECT_EQ(File::WriteBytes(dir("none/file"), "x"), Result(ENOENT));
    EXPECT_EQ(File::WriteBytes(dir("file/below"), "x"), Result(ENOTDIR));
    EXPECT_EQ(File::WriteBytes(dir("fi") + std::wstring(1, L'\0') + L"le", "x"), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), UnorderedElementsAre("file", "sub"));
    EXPECT_EQ(testfiles::Read(dir / "file"), "old");
}

TEST(FileWrite, LeavesTheOldFileWholeOnAFullDisk) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "small", "size=64k");
    testfiles::Write(dir / "small/file", "old", 0600);
    EXPECT_EQ(File::WriteBytes(dir("small/file"), std::string(100000, 'x')), Result(ENOSPC));
    EXPECT_EQ(testfiles::Read(dir / "small/file"), "old");
    EXPECT_THAT(NamesIn(dir / "small"), ElementsAre("file"));
}

TEST(FileWrite, LeavesTheOldFileWholeOnADiskThatPiecesFill) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "small", "size=16k");
    testfiles::Write(dir / "small/file", "old", 0600);
    const std::string half(40000, 'x');
    const std::array<std::string_view, 2> pieces = {half, half};
    EXPECT_EQ(File::WritePieces(dir("small/file"), pieces), Result(ENOSPC));
    EXPECT_EQ(testfiles::Read(dir / "small/file"), "old");
    EXPECT_THAT(NamesIn(dir / "small"), ElementsAre("file"));
}

TEST(FileWrite, LeavesTheOldFileWholeWithoutAFreeInode) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "small", "nr_inodes=2");
    testfiles::Write(dir / "small/file", "old");
    EXPECT_EQ(File::WriteBytes(dir("small/file"), "new"), Result(ENOSPC));
    EXPECT_EQ(testfiles::Read(dir / "small/file"), "old");
}

TEST(FileWrite, FailsOnAReadOnlyFileSystem) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    testfiles::Write(dir / "mounted/file", "old");
    mount.MakeReadOnly();
    EXPECT_EQ(File::WriteBytes(dir("mounted/file"), "new"), Result(EROFS));
    EXPECT_EQ(testfiles::Read(dir / "mounted/file"), "old");
}

TEST(FileWrite, LeavesTheOldFileWhole_WhenAStepFails) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old", 0640);
    for (const int number : {SYS_fsync, SYS_renameat, SYS_fchmod, SYS_write}) {
        const int failure =
            WithFailing({{number, EIO}}, [&] { return File::WriteBytes(dir("file"), "new").Code(); });
        EXPECT_EQ(failure, EIO) << number;
        EXPECT_EQ(testfiles::Read(dir / "file"), "old") << number;
        EXPECT_EQ(testfiles::Mode(dir / "file"), 0640U) << number;
        EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("file")) << number;
    }
}

TEST(FileWrite, NeedsNeitherAFlushNorRandomNumbersFromASystemThatHasNone) {
    const Workspace dir;
    const int failure = WithFailing({{SYS_fsync, EINVAL}, {SYS_getrandom, ENOSYS}},
                                    [&] { return File::WriteBytes(dir("file"), "new").Code(); });
    EXPECT_EQ(failure, 0);
    EXPECT_EQ(testfiles::Read(dir / "file"), "new");
}

TEST(FileWriteScript, MakesAScriptExecutable_WhateverStoodThere) {
    const Workspace dir;
    EXPECT_TRUE(File::WriteScript(dir("new"), L"#!/bin/sh\n"));
    EXPECT_EQ(testfiles::Mode(dir / "new"), 0755U);
    EXPECT_EQ(testfiles::Read(dir / "new"), "#!/bin/sh\n");
    testfiles::Write(dir / "old", "old", 0600);
    EXPECT_TRUE(File::WriteScript(dir("old"), L"new"));
    EXPECT_EQ(testfiles::Mode(dir / "old"), 0755U);
    EXPECT_EQ(testfiles::Read(dir / "old"), "new");
    EXPECT_EQ(File::WriteScript(dir("none/script"), L""), Result(ENOENT));
}

TEST(FileWriteScript, KeepsTheOwnerAndTheAttributesOfAnOldOne) {
    const Workspace dir;
    testfiles::Write(dir / "old", "old", 0600);
    ASSERT_EQ(chown((dir / "old").c_str(), 12, 34), 0);
    testfiles::SetAttribute(dir / "old", "trusted.mark", "x");
    EXPECT_TRUE(File::WriteScript(dir("old"), L"new"));
    struct stat info {};
    ASSERT_EQ(stat((dir / "old").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12U);
    EXPECT_EQ(info.st_gid, 34U);
    EXPECT_EQ(info.st_mode & 07777U, 0755U);
    EXPECT_EQ(testfiles::Attribute(dir / "old", "trusted.mark"), "x");
}

TEST(FileCopy, CopiesContentAndModeInOneStep) {
    const Workspace dir;
    testfiles::Write(dir / "from", std::string(200000, 'x'), 0751);
    testfiles::Write(dir / "to", "old", 0600);
    fs::create_symlink("from", dir / "link");
    ASSERT_TRUE(File::Copy(dir("link"), dir("to")));
    EXPECT_EQ(testfiles::Read(dir / "to"), std::string(200000, 'x'));
    EXPECT_EQ(testfiles::Mode(dir / "to"), 0751U);
    EXPECT_EQ(testfiles::Read(dir / "from"), std::string(200000, 'x'));
    ASSERT_TRUE(File::Copy(dir("from"), dir("from")));
    EXPECT_EQ(testfiles::Read(dir / "from"), std::string(200000, 'x'));
    EXPECT_THAT(NamesIn(dir.Path()), UnorderedElementsAre("from", "to", "link"));
}

TEST(FileCopy, RefusesWhatIsNoRegularFile) {
    const Workspace dir;
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(File::Copy(dir("fifo"), dir("to")), Result(EINVAL));
    EXPECT_EQ(File::Copy(dir(""), dir("to")), Result(EISDIR));
    EXPECT_EQ(File::Copy(dir("none"), dir("to")), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), ElementsAre("fifo"));
}

TEST(FileCopy, LeavesTheOldFileWholeOnAFullDisk) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "small", "size=64k");
    testfiles::Write(dir / "from", std::string(100000, 'x'));
    testfiles::Write(dir / "small/to", "old");
    EXPECT_EQ(File::Copy(dir("from"), dir("small/to")), Result(ENOSPC));
    EXPECT_EQ(testfiles::Read(dir / "small/to"), "old");
    EXPECT_THAT(NamesIn(dir / "small"), ElementsAre("to"));
}

TEST(FileCopy, LendsNoRightsWithAnOwnerThatCannotBeGiven) {
    const Workspace dir;
    testfiles::Write(dir / "from", "x");
    if (chown((dir / "from").c_str(), 12, 34) != 0) {
        EXPECT_EQ(errno, EINVAL);  // there are no other users here
        return;
    }
    ASSERT_EQ(chmod((dir / "from").c_str(), 06755), 0);
    ASSERT_TRUE(File::Copy(dir("from"), dir("owned")));
    EXPECT_EQ(testfiles::Mode(dir / "owned"), 06755U);
    const int failure =
        WithFailing({{SYS_fchown, EPERM}}, [&] { return File::Copy(dir("from"), dir("foreign")).Code(); });
    EXPECT_EQ(failure, 0);
    EXPECT_EQ(testfiles::Mode(dir / "foreign"), 0755U);
}

TEST(FileMakeTemp, MakesPrivateFilesOfDifferentNames) {
    const Workspace dir;
    const String first = File::MakeTemp(dir(".handover.XXXXXX")).value();
    const String second = File::MakeTemp(dir(".handover.XXXXXX")).value();
    EXPECT_NE(first, second);
    for (const String& path : {first, second}) {
        EXPECT_TRUE(path.StartsWith(dir(".handover.")));
        EXPECT_EQ(path.Length(), dir(".handover.XXXXXX").Length());
        EXPECT_FALSE(path.EndsWith(L"XXXXXX"));
        EXPECT_EQ(testfiles::Mode(path.Utf8()), 0600U);
        EXPECT_EQ(testfiles::Read(path.Utf8()), "");
    }
}

TEST(FileMakeTemp, RefusesAPatternWithoutItsEnd) {
    const Workspace dir;
    EXPECT_EQ(File::MakeTemp(dir("name")), Result(EINVAL));
    EXPECT_EQ(File::MakeTemp(L""), Result(ENOENT));
    EXPECT_EQ(File::MakeTemp(dir("none/XXXXXX")), Result(ENOENT));
    EXPECT_THAT(NamesIn(dir.Path()), IsEmpty());
}

TEST(FileWrite, TakesAStrangersFileOver_WhenItHoldsTheConfiguration) {
    const Workspace dir;
    testfiles::Write(dir / "file", "old");
    if (chown((dir / "file").c_str(), 12345, 12345) != 0) return;  // not root's machine
    ASSERT_TRUE(File::Write(dir("file"), L"kept"));
    struct stat info {};
    ASSERT_EQ(stat((dir / "file").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, 12345U);
    ASSERT_TRUE(File::Write(dir("file"), L"ours", {.mode = 0600, .attributes = File::Attributes::New}));
    ASSERT_EQ(stat((dir / "file").c_str(), &info), 0);
    EXPECT_EQ(info.st_uid, geteuid());
    EXPECT_EQ(info.st_gid, getegid());
    EXPECT_EQ(info.st_mode & 07777U, 0600U);
}
