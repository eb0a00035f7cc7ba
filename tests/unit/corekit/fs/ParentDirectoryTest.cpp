// Where paths point.
#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/Access.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/fs/detail/CopyEntry.h"
#include "corekit/os/SystemCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/InChild.h"
#include "tests/support/OtherRoot.h"
#include "tests/support/PrintResult.h"
#include "tests/support/Workspace.h"

using corekit::ParentDirectory;
using corekit::Result;
using corekit::String;
using testsupport::Workspace;

namespace fs = std::filesystem;

namespace {

ino_t InodeOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
    return info.st_ino;
}

void ExpectPlace(const String& path, const std::string& directory, const std::string& name) {
    const auto place = ParentDirectory::Of(path);
    ASSERT_TRUE(place) << path.Utf8();
    EXPECT_EQ(place->name, name);
    EXPECT_EQ(place->At().name, name);
    struct stat info {};
    ASSERT_EQ(fstat(place->At().directory, &info), 0);
    EXPECT_EQ(info.st_ino, InodeOf(directory)) << path.Utf8();
}

}  // namespace

TEST(ParentDirectory, HoldsTheDirectoryAndTheName) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    fs::create_directory_symlink("sub", dir / "link");
    ExpectPlace(dir("sub/new"), dir / "sub", "new");
    ExpectPlace(dir("link/new"), dir / "sub", "new");
    ExpectPlace(dir("link"), dir.Path(), "link");
    ExpectPlace(dir("link///"), dir.Path(), "link");
    ExpectPlace(dir("sub/..//..x"), dir.Path(), "..x");
    ExpectPlace(L"/etc", "/", "etc");
    fs::current_path(dir.Path());
    ExpectPlace(L"new", dir.Path(), "new");
    ExpectPlace(L"./new/", dir.Path(), "new");
    ExpectPlace(L"../new", "/tmp", "new");
    fs::current_path("/");
}

TEST(ParentDirectory, IsNoneOfPathsThatNameNoEntry) {
    const Workspace dir;
    testfiles::Write(dir / "file", "");
    EXPECT_EQ(ParentDirectory::Of(L""), Result(ENOENT));
    EXPECT_EQ(ParentDirectory::Of(std::wstring(L"/tmp/a\0b", 8)), Result(ENOENT));
    for (const wchar_t* path : {L"/", L"//", L".", L"..", L"/tmp/.", L"/tmp/..", L"./"})
        EXPECT_EQ(ParentDirectory::Of(path), Result(EISDIR)) << String(path).Utf8();
    EXPECT_EQ(ParentDirectory::Of(dir("none/x")), Result(ENOENT));
    EXPECT_EQ(ParentDirectory::Of(dir("file/x")), Result(ENOTDIR));
}

namespace {

constexpr uid_t kStranger = 12345;

/// The component that stops the way to a path; "" when nothing does.
String Unsafe(const String& path) {
    const auto place = ParentDirectory::OfTarget(path);
    return place == Result(corekit::kBelongsToOthers) ? place.error().Path() : String();
}

}  // namespace

TEST(SafePath, LeadsOverLinksOfRootsOwn) {
    const Workspace dir;
    fs::create_directories(dir / "disk/data");
    fs::create_directory_symlink("disk", dir / "relative");
    fs::create_directory_symlink(dir / "relative/data", dir / "absolute");
    fs::create_directory_symlink("absolute", dir / "chain");
    testfiles::Write(dir / "disk/data/file", "");
    ExpectPlace(dir("chain/file"), dir / "disk/data", "file");
    ExpectPlace(dir("absolute/../new"), dir / "disk", "new");
    ExpectPlace(dir("relative/./data//file"), dir / "disk/data", "file");
    fs::current_path(dir.Path());
    ExpectPlace(L"chain/file", dir / "disk/data", "file");
    fs::current_path("/");
}

TEST(SafePath, LeadsOverALinkInThePlaceOfTheLastName_WhenAsked) {
    const Workspace dir;
    fs::create_directory(dir / "sub");
    testfiles::Write(dir / "sub/file", "");
    fs::create_symlink("sub/file", dir / "link");
    fs::create_symlink(dir / "link", dir / "chain");
    fs::create_symlink("sub/missing", dir / "dangling");
    fs::create_directory_symlink("sub/..", dir / "up");
    for (const char* name : {"link", "chain"}) {
        const auto place = ParentDirectory::OfTarget(dir(name));
        ASSERT_TRUE(place) << name;
        EXPECT_EQ(place->name, "file");
        EXPECT_EQ(corekit::StatOf(place->Fd()).value().st_ino, InodeOf(dir / "sub"));
    }
    EXPECT_EQ(ParentDirectory::OfTarget(dir("dangling")).value().name, "missing");
    EXPECT_EQ(ParentDirectory::OfTarget(dir("up")).value().name, ".");
    EXPECT_EQ(ParentDirectory::OfTarget(L"/").value().name, ".");
    EXPECT_EQ(ParentDirectory::OfTarget(dir("sub/file/x")), Result(ENOTDIR));
}

TEST(SafePath, EndsAtALinkInADirectory_WhereOthersCanWrite) {
    const Workspace dir;
    for (const char* name : {"open/below", "sticky", "group", "real"}) fs::create_directories(dir / name);
    testfiles::Write(dir / "real/file", "");
    for (const char* name : {"open/way", "open/below/way", "sticky/way", "group/way"})
        fs::create_directory_symlink(dir / "real", dir / name);
    ASSERT_EQ(chmod((dir / "open").c_str(), 0777), 0);
    ASSERT_EQ(chmod((dir / "sticky").c_str(), 01777), 0);
    EXPECT_EQ(Unsafe(dir("open/way/file")), dir("open"));
    EXPECT_EQ(Unsafe(dir("open/way")), dir("open"));
    EXPECT_EQ(Unsafe(dir("sticky/way/file")), dir("sticky"));
    EXPECT_EQ(Unsafe(dir("open/below/way/file")), L"");             // nobody else can have made that link
    if (chown((dir / "group").c_str(), 0, kStranger) != 0) return;  // not root's machine
    ASSERT_EQ(chmod((dir / "group").c_str(), 0775), 0);
    EXPECT_EQ(Unsafe(dir("group/way/file")), dir("group"));
}

TEST(SafePath, EndsAtALinkOrInADirectoryOfAnotherUser) {
    const Workspace dir;
    for (const char* name : {"theirs", "real", "mine"}) fs::create_directories(dir / name);
    testfiles::Write(dir / "real/file", "secret");
    fs::create_directory_symlink(dir / "real", dir / "theirs/way");
    fs::create_directory_symlink(dir / "real", dir / "mine/way");
    if (chown((dir / "theirs").c_str(), kStranger, 0) != 0) return;  // not root's machine
    ASSERT_EQ(lchown((dir / "mine/way").c_str(), kStranger, 0), 0);
    EXPECT_EQ(Unsafe(dir("theirs/way/file")), dir("theirs"));
    EXPECT_EQ(Unsafe(dir("mine/way/file")), dir("mine/way"));
    EXPECT_EQ(GetErrorMsg(ParentDirectory::Of(dir("mine/way/file")).error()),
              dir("mine/way") + L" belongs to another user");
}

TEST(SafePath, EndsAtALinkOfOthers_WhateverFails) {
    const Workspace dir;
    for (const char* name : {"real", "mine", "open"}) fs::create_directories(dir / name);
    testfiles::Write(dir / "real/file", "secret");
    fs::create_directory_symlink(dir / "real", dir / "mine/way");
    fs::create_hard_link(dir / "real/file", dir / "open/file");
    ASSERT_EQ(chmod((dir / "open").c_str(), 0777), 0);
    if (lchown((dir / "mine/way").c_str(), kStranger, 0) != 0) return;  // not root's machine
    for (const char* path : {"mine/way/file", "open/file"}) {
        SCOPED_TRACE(path);
        const int points = testsupport::FailInTurn(
            testsupport::kFileCalls, EIO, [] {}, [&] { return corekit::File::ReadBytes(dir(path)) ? 1 : 0; },
            [](int isRead) { EXPECT_EQ(isRead, 0); });
        EXPECT_GE(points, 4);
    }
}

TEST(SafePath, LeadsOverLinksOfOurGroupAndOfOurselves) {
    const Workspace dir;
    for (const char* name : {"real", "group", "theirs"}) fs::create_directories(dir / name);
    testfiles::Write(dir / "real/file", "");
    for (const char* name : {"group/way", "theirs/way"})
        fs::create_directory_symlink(dir / "real", dir / name);
    ASSERT_EQ(chmod(dir.Path().c_str(), 0755), 0);
    if (chown((dir / "group").c_str(), 0, kStranger) != 0) return;  // not root's machine
    ASSERT_EQ(chmod((dir / "group").c_str(), 0775), 0);
    for (const char* name : {"theirs", "theirs/way"})
        ASSERT_EQ(lchown((dir / name).c_str(), kStranger, 0), 0);
    EXPECT_EQ(Unsafe(dir("group/way/file")), dir("group"));
    EXPECT_EQ(Unsafe(dir("theirs/way/file")), dir("theirs"));
    testsupport::InChild([&] {
        EXPECT_EQ(setegid(kStranger), 0);
        EXPECT_EQ(Unsafe(dir("group/way/file")), L"");
        EXPECT_EQ(seteuid(kStranger), 0);
        EXPECT_EQ(Unsafe(dir("theirs/way/file")), L"");
        return 0;
    });
}

// The host's root, as a user namespace sees it.
TEST(SafePath, LeadsOverLinksOfWhoeverOwnsTheRoot) {
    const Workspace root;
    for (const char* name : {"real", "theirs"}) fs::create_directories(root / name);
    testfiles::Write(root / "real/file", "");
    fs::create_directory_symlink("/real", root / "theirs/way");
    if (chown(root.Path().c_str(), kStranger, 0) != 0) return;  // not root's machine
    ASSERT_EQ(lchown((root / "theirs").c_str(), kStranger, 0), 0);
    ASSERT_EQ(lchown((root / "theirs/way").c_str(), kStranger, 0), 0);
    testsupport::WithRoot(root.Path(), [] { EXPECT_EQ(Unsafe(L"/theirs/way/file"), L""); });
    ASSERT_EQ(lchown((root / "theirs/way").c_str(), kStranger + 1, 0), 0);
    testsupport::WithRoot(root.Path(), [] { EXPECT_EQ(Unsafe(L"/theirs/way/file"), L"/theirs/way"); });
}

TEST(SafePath, IsGivenWithoutItsLinks_WhereAllOfThemMayBeFollowed) {
    const Workspace dir;
    fs::create_directories(dir / "disk/data");
    fs::create_directory_symlink("disk", dir / "relative");
    testfiles::Write(dir / "disk/data/file", "");
    fs::create_symlink("relative/./data/../data//file", dir / "link");
    fs::create_symlink("missing", dir / "dangling");
    fs::create_symlink("loop", dir / "loop");
    const auto canonical = [&](const char* path) { return corekit::Path::Canonicalise(dir(path)); };
    EXPECT_EQ(canonical("link").value(), dir("disk/data/file"));
    EXPECT_EQ(canonical("relative").value(), dir("disk"));
    EXPECT_EQ(canonical("relative/..").value(), String::FromUtf8(dir.Path()));
    EXPECT_EQ(canonical("disk/.././disk//data/").value(), dir("disk/data"));
    EXPECT_EQ(canonical("relative/data/../../../..").value(), L"/");
    EXPECT_EQ(canonical("disk/../../../../..").value(), L"/");
    EXPECT_EQ(canonical("dangling"), Result(ENOENT));
    EXPECT_EQ(canonical("loop"), Result(ELOOP));
    EXPECT_EQ(canonical("link/x"), Result(ENOTDIR));
}

TEST(SafePath, FollowsAsManyLinksAsTheKernel) {
    const Workspace dir;
    fs::create_directory(dir / "0");
    for (int link = 1; link <= 41; ++link)
        fs::create_directory_symlink(std::to_string(link - 1), dir / std::to_string(link));
    for (const char* name : {"40", "41"}) {
        struct stat info {};
        const bool isFollowed = stat((dir / name).c_str(), &info) == 0;
        EXPECT_EQ(isFollowed, name == std::string("40"));
        EXPECT_EQ(corekit::Path::Canonicalise(dir(name)).has_value(), isFollowed) << name;
    }
}

TEST(SafePath, IsTheOnlyWayOfEveryOperation) {
    const Workspace dir;
    fs::create_directories(dir / "theirs");
    fs::create_directories(dir / "real/sub");
    testfiles::Write(dir / "real/file", "secret");
    testfiles::Write(dir / "real/sub/file", "secret");
    testfiles::Write(dir / "own", "own");
    fs::create_directory(dir / "store");
    testfiles::Write(dir / "store/data", "data");
    fs::create_directory_symlink(dir / "real", dir / "theirs/way");
    ASSERT_EQ(chmod((dir / "theirs").c_str(), 0777), 0);
    const Result others(corekit::kBelongsToOthers);
    const String file = dir("theirs/way/file");
    namespace File = corekit::File;
    EXPECT_EQ(File::Read(file), others);
    EXPECT_EQ(File::Probe(file), others);
    EXPECT_EQ(File::Write(file, L"x"), others);
    EXPECT_EQ(File::Write(dir("theirs/way/new"), L"x"), others);
    EXPECT_EQ(File::Copy(file, dir("copy")), others);
    EXPECT_EQ(File::Copy(dir("own"), file), others);
    EXPECT_EQ(File::Rename(file, dir("moved")), others);
    EXPECT_EQ(File::Rename(dir("own"), file), others);
    EXPECT_EQ(File::SymLink(L"x", dir("theirs/way/link")), others);
    EXPECT_EQ(File::Remove(file), others);
    EXPECT_EQ(File::RemoveAny(dir("theirs/way/sub")), others);
    EXPECT_EQ(File::RemoveEx(dir("theirs/way/f*")), others);
    EXPECT_EQ(File::Chmod(file, 0777), others);
    EXPECT_EQ(File::Chowngrp(file, 0, 0), others);
    EXPECT_EQ(corekit::Dir::Remove(dir("theirs/way/sub")), others);
    EXPECT_EQ(corekit::Dir::Move(dir("theirs/way/sub"), dir("moved")), others);
    EXPECT_EQ(corekit::Dir::Move(dir("theirs/way"), dir("moved")), others);
    EXPECT_EQ(corekit::Dir::Move(dir("store"), dir("theirs/way/sub")), others);
    EXPECT_EQ(corekit::Dir::CreateR(dir("theirs/way/made/below")), others);
    EXPECT_EQ(corekit::Dir::Scan(dir("theirs/way"), L"", [](const auto&) { return true; }), others);
    EXPECT_EQ(corekit::Dir::SetCurrent(dir("theirs/way")), others);
    EXPECT_EQ(corekit::Dir::RemoveIfEmpty(dir("theirs/way/sub")), others);
    EXPECT_EQ(File::MakeTemp(dir("theirs/way/XXXXXX")), others);
    EXPECT_EQ(corekit::Path::Canonicalise(file), others);
    EXPECT_EQ(corekit::Path::Resolve(file), file);
    EXPECT_EQ(corekit::Access::CheckWritableDirectory(dir("theirs/way")), others);
    EXPECT_EQ(corekit::Access::CheckCreatableDirectory(dir("theirs/way/made/below")), others);
    EXPECT_EQ(corekit::Access::CheckReplaceable(file), others);
    EXPECT_EQ(corekit::Access::CheckRemovable(file), others);
    EXPECT_THAT(testfiles::NamesIn(dir / "real"), testing::UnorderedElementsAre("file", "sub"));
    EXPECT_EQ(testfiles::Read(dir / "real/file"), "secret");
    EXPECT_EQ(testfiles::Read(dir / "real/sub/file"), "secret");
    EXPECT_EQ(testfiles::Read(dir / "store/data"), "data");
    EXPECT_EQ(testfiles::Mode(dir / "real/file"), 0644U);
}

TEST(SafePath, AFileWithASecondNameIsNotUsed_WhereOthersCanWrite) {
    const Workspace dir;
    fs::create_directory(dir / "theirs");
    testfiles::Write(dir / "secret", "secret");
    ASSERT_EQ(chmod((dir / "secret").c_str(), 0600), 0);
    fs::create_hard_link(dir / "secret", dir / "theirs/file");
    fs::create_hard_link(dir / "secret", dir / "mine");
    ASSERT_EQ(chmod((dir / "theirs").c_str(), 0777), 0);
    const Result others(corekit::kBelongsToOthers);
    namespace File = corekit::File;
    EXPECT_EQ(File::Read(dir("theirs/file")), others);
    EXPECT_EQ(File::Copy(dir("theirs/file"), dir("copy")), others);
    const auto theirs = corekit::OpenDirectory(dir("theirs"));
    ASSERT_TRUE(theirs);
    EXPECT_EQ(corekit::CopyEntry({theirs->Get(), "file"}, {theirs->Get(), "copy"}), others);
    EXPECT_FALSE(testfiles::Exists(dir / "theirs/copy"));
    EXPECT_EQ(File::Write(dir("theirs/file"), L"x"), others);
    EXPECT_EQ(File::Chmod(dir("theirs/file"), 0644), others);
    EXPECT_EQ(File::Chowngrp(dir("theirs/file"), 0, 0), others);
    EXPECT_EQ(testfiles::Mode(dir / "secret"), 0600U);
    EXPECT_EQ(File::Read(dir("mine")).value(), L"secret");
}
