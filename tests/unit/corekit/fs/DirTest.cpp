// Reading and making directories, and the current one.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "tests/support/Mount.h"
#include "tests/support/PrintResult.h"
#include "tests/support/PrintString.h"
#include "tests/support/Workspace.h"

using corekit::Dir;
using corekit::FileInfo;
using corekit::Result;
using corekit::String;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testsupport::Mount;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

std::vector<String> NamesMatching(const String& path, const String& pattern) {
    std::vector<String> names;
    EXPECT_TRUE(Dir::Scan(path, pattern, [&](const FileInfo& entry) {
        names.push_back(entry.name);
        return true;
    }));
    return names;
}

}  // namespace

TEST(DirRead, GivesNamePathAndKindOfEveryEntry) {
    const Workspace dir;
    testfiles::Write(dir / "caf\xE9", "");
    Dir open;
    ASSERT_TRUE(open.Open(dir("")));
    FileInfo entry;
    ASSERT_TRUE(open.Read(entry));
    EXPECT_EQ(entry.name.Utf8(), "caf\xE9");
    EXPECT_EQ(entry.path.Utf8(), dir / "caf\xE9");
    EXPECT_FALSE(entry.isDirectory);
    EXPECT_FALSE(open.Read(entry));
    EXPECT_FALSE(open.Read(entry));
}

TEST(DirRead, TakesNothingButADirectoryItselfForOne) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_symlink("sub", dir / "link");
    testfiles::Write(dir / "file", "");
    std::vector<std::string> directories;
    ASSERT_TRUE(Dir::Scan(dir(""), L"", [&](const FileInfo& entry) {
        if (entry.isDirectory) directories.push_back(entry.name.Utf8());
        return true;
    }));
    EXPECT_THAT(directories, UnorderedElementsAre("sub"));
}

TEST(DirRead, GivesNothingOfAnEmptyDirectoryAndOfOneThatWasNotOpened) {
    const Workspace dir;
    Dir open;
    FileInfo entry;
    EXPECT_FALSE(open.Read(entry));
    EXPECT_TRUE(open.ReadResult());
    ASSERT_TRUE(open.Open(dir("")));
    EXPECT_FALSE(open.Read(entry));
}

TEST(DirRead, GivesTheNamesThatMatch) {
    const Workspace dir;
    for (const char* name : {"qdn-a.bin", "qdn-b.bin", "qdn-c", ".qdn-d.bin", "x.bin"})
        testfiles::Write(dir / name, "");
    EXPECT_THAT(NamesMatching(dir(""), L"qdn-*.bin"), UnorderedElementsAre(L"qdn-a.bin", L"qdn-b.bin"));
    EXPECT_THAT(NamesMatching(dir(""), L"*.bin"), UnorderedElementsAre(L"qdn-a.bin", L"qdn-b.bin", L"x.bin"));
    EXPECT_THAT(NamesMatching(dir(""), L"qdn-c"), UnorderedElementsAre(L"qdn-c"));
    EXPECT_EQ(NamesMatching(dir(""), L"").size(), 5U);
    EXPECT_THAT(NamesMatching(dir(""), String(std::wstring(L"\0*", 2))), IsEmpty());
}

TEST(DirRead, ReadsDirectoriesOfAnySize) {
    const Workspace dir;
    const std::string filler(200, 'f');
    for (int i = 0; i < 12000; ++i) fs::create_symlink("x", dir / (std::to_string(i) + filler));
    EXPECT_EQ(NamesMatching(dir(""), L"").size(), 12000U);
}

TEST(DirOpen, FailsForWhatIsNoDirectory) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    Dir open;
    EXPECT_EQ(open.Open(dir("none")), Result(ENOENT));
    EXPECT_EQ(open.Open(dir("file")), Result(ENOTDIR));
    EXPECT_EQ(open.Open(L""), Result(ENOENT));
}

TEST(DirScan, Stops_WhenItsCallbackReturnsFalse) {
    const Workspace dir;
    testfiles::Write(dir / "a", "");
    testfiles::Write(dir / "b", "");
    int visits = 0;
    EXPECT_TRUE(Dir::Scan(dir(""), L"", [&](const FileInfo&) { return ++visits < 1; }));
    EXPECT_EQ(visits, 1);
    EXPECT_EQ(Dir::Scan(dir("none"), L"", [](const FileInfo&) { return true; }), Result(ENOENT));
}

TEST(DirEntries, AreThoseThatMatch) {
    const Workspace dir;
    fs::create_symlink("nowhere", dir / "S99agent");
    testfiles::Write(dir / "K01agent", "");
    const std::vector<FileInfo> entries = Dir::Entries(dir(""), L"S??agent");
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].name, L"S99agent");
    EXPECT_EQ(entries[0].path.Utf8(), dir / "S99agent");
    EXPECT_FALSE(entries[0].isDirectory);
}

TEST(DirEntries, AreNoneOfADirectoryThatIsNotThere) {
    EXPECT_THAT(Dir::Entries(L"/nowhere", L"*"), IsEmpty());
    std::vector<FileInfo> entries;
    EXPECT_EQ(Dir::ReadEntries(L"/nowhere", L"*", entries), Result(ENOENT));
    EXPECT_THAT(entries, IsEmpty());
}

TEST(DirCreateR, MakesAllThatIsMissing) {
    const Workspace dir;
    fs::create_directory(dir / "real");
    fs::create_symlink("real", dir / "link");
    EXPECT_TRUE(Dir::CreateR(dir("a/b//c/")));
    EXPECT_TRUE(Dir::CreateR(dir("a/b/c")));
    EXPECT_TRUE(Dir::CreateR(dir("link")));
    EXPECT_TRUE(Dir::CreateR(dir("link/new")));
    EXPECT_TRUE(Dir::CreateR(L"/"));
    EXPECT_EQ(testfiles::Mode(dir / "a/b/c"), 0755U);
    EXPECT_TRUE(fs::is_directory(dir / "real/new"));
    fs::current_path(dir.Path());
    EXPECT_TRUE(Dir::CreateR(L"relative/x"));
    fs::current_path("/");
    EXPECT_TRUE(fs::is_directory(dir / "relative/x"));
}

TEST(DirCreateR, MakesWhatStandsBeforeADot) {
    const Workspace dir;
    for (const char* path : {"a/.", "b/./.", "c/././", "d/./e", "f/..", "g/../h", "g/../i/./../j/."}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(corekit::Access::CheckCreatableDirectory(dir(path)));
        EXPECT_TRUE(Dir::CreateR(dir(path)));
        EXPECT_TRUE(fs::is_directory(dir / path));
    }
    testfiles::Write(dir / "file", "");
    for (const char* path : {"file/.", "file/..", "file/../k"}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(corekit::Access::CheckCreatableDirectory(dir(path)));
        EXPECT_FALSE(Dir::CreateR(dir(path)));
    }
}

TEST(DirCreateR, Fails_WhereSomethingElseStands) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    fs::create_symlink("nowhere", dir / "dangling");
    EXPECT_EQ(Dir::CreateR(dir("file")), Result(EEXIST));
    EXPECT_EQ(Dir::CreateR(dir("file/below")), Result(EEXIST));
    EXPECT_EQ(Dir::CreateR(dir("dangling/below")), Result(EEXIST));
    EXPECT_EQ(Dir::CreateR(L""), Result(ENOENT));
    EXPECT_FALSE(testfiles::Exists(dir / "nowhere"));
}

TEST(DirCreateR, FailsOnAReadOnlyFileSystem_UnlessAllIsThere) {
    const Workspace dir;
    const Mount mount = Mount::Tmpfs(dir / "mounted");
    fs::create_directories(dir / "mounted/a/b");
    mount.MakeReadOnly();
    EXPECT_TRUE(Dir::CreateR(dir("mounted/a/b")));
    EXPECT_EQ(Dir::CreateR(dir("mounted/a/c")), Result(EROFS));
}

TEST(DirRemoveIfEmpty, LeavesEverythingElse) {
    const Workspace dir;
    fs::create_directories(dir / "full/empty");
    testfiles::Write(dir / "file", "");
    fs::create_directory_symlink("full/empty", dir / "link");
    EXPECT_EQ(Dir::RemoveIfEmpty(dir("full")), Result(ENOTEMPTY));
    EXPECT_EQ(Dir::RemoveIfEmpty(dir("file")), Result(ENOTDIR));
    EXPECT_EQ(Dir::RemoveIfEmpty(dir("link")), Result(ENOTDIR));
    EXPECT_EQ(Dir::RemoveIfEmpty(dir("none")), Result(ENOENT));
    EXPECT_EQ(Dir::RemoveIfEmpty(L""), Result(ENOENT));
    EXPECT_TRUE(Dir::RemoveIfEmpty(dir("full/empty")));
    EXPECT_FALSE(testfiles::Exists(dir / "full/empty"));
}

TEST(DirFlushEntries, TakesADirectoryAlone) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    EXPECT_TRUE(Dir::FlushEntries(dir("")));
    EXPECT_EQ(Dir::FlushEntries(dir("file")).Code(), ENOTDIR);
    EXPECT_EQ(Dir::FlushEntries(dir("missing")).Code(), ENOENT);
}

TEST(DirCurrent, IsSetAndRead) {
    const Workspace dir;
    fs::create_directory(dir / "real");
    fs::create_symlink("real", dir / "link");
    ASSERT_TRUE(Dir::SetCurrent(dir("link")));
    EXPECT_EQ(Dir::GetCurrent().value(), dir("real"));
    EXPECT_EQ(Dir::SetCurrent(dir("none")), Result(ENOENT));
    EXPECT_TRUE(Dir::SetCurrent(L"/"));
}

TEST(DirCurrent, IsUnknown_WhenItHasBeenRemoved) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    ASSERT_TRUE(Dir::SetCurrent(dir("sub")));
    fs::remove(dir / "sub");
    EXPECT_EQ(Dir::GetCurrent(), Result(ENOENT));
    ASSERT_TRUE(Dir::SetCurrent(L"/"));
}
