// What is read of an entry, and what is not told when the system does not tell all of it.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "preview/FileState.h"
#include "tests/support/FailingCall.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

namespace fs = std::filesystem;
using testfiles::Write;
using testsupport::WithFailing;

TEST(FileState, AnAttributeWhoseValueIsRefusedIsKnownByItsName) {
    const testfiles::TempDir dir;
    Write(dir / "file", "");
    testfiles::SetAttribute(dir / "file", "user.note", "a note");
    EXPECT_EQ(ReadState(dir / "file")->attributes.at("user.note"), "a note");
    for (const int refusal : {EACCES, EPERM}) {
        WithFailing({{SYS_lgetxattr, refusal}}, [&] {
            const auto state = ReadState(dir / "file");
            EXPECT_TRUE(state && state->attributes.at("user.note").empty()) << refusal;
            return 0;
        });
    }
    WithFailing({{SYS_lgetxattr, EIO}}, [&] {
        EXPECT_EQ(ReadState(dir / "file").error().Code(), EIO);
        return 0;
    });
}

TEST(FileState, HasNoAttributes_WhereTheFileSystemKnowsNone) {
    const testfiles::TempDir dir;
    Write(dir / "file", "");
    testfiles::SetAttribute(dir / "file", "user.note", "a note");
    WithFailing({{SYS_llistxattr, ENOTSUP}}, [&] {
        const auto state = ReadState(dir / "file");
        EXPECT_TRUE(state && state->attributes.empty());
        return 0;
    });
}

TEST(FileState, WhatAnOverlayKeepsIsNoAttribute) {
    const testfiles::TempDir dir;
    Write(dir / "file", "");
    testfiles::SetAttribute(dir / "file", "user.overlay.note", "");
    EXPECT_TRUE(ReadState(dir / "file")->attributes.empty());
}

TEST(FileState, ADirectoryTakesAttributesModeAndOwnerOfAnother) {
    const testfiles::TempDir dir;
    for (const char* name : {"model", "taker"}) fs::create_directory(dir / name);
    testfiles::SetAttribute(dir / "model", "user.note", "a note");
    ASSERT_EQ(chown((dir / "model").c_str(), 12, 34), 0);
    ASSERT_EQ(chmod((dir / "model").c_str(), 02750), 0);
    EXPECT_TRUE(TakeAttributes(dir / "model", dir / "taker"));
    EXPECT_TRUE(IsSameAccess(*ReadState(dir / "model"), *ReadState(dir / "taker")));
    EXPECT_EQ(testfiles::Attribute(dir / "taker", "user.note"), "a note");
    EXPECT_EQ(TakeAttributes(dir / "none", dir / "taker").Code(), ENOENT);
    WithFailing({{SYS_chown, EPERM}}, [&] {
        EXPECT_EQ(TakeAttributes(dir / "model", dir / "taker").Code(), EPERM);
        return 0;
    });
}

TEST(FileState, FilesOfOneSizeAreComparedToTheirEnds) {
    const testfiles::TempDir dir;
    const std::string bytes(200'000, 'x');
    for (const std::size_t at : {std::size_t(0), bytes.size() / 2, bytes.size() - 1}) {
        std::string other = bytes;
        other[at] = 'y';
        Write(dir / "one", bytes);
        Write(dir / "other", other);
        const auto isSame = [&](const char* left, const char* right) {
            return IsSameContent(*ReadState(dir / left), dir / left, *ReadState(dir / right), dir / right);
        };
        EXPECT_EQ(isSame("one", "other"), false) << at;
        Write(dir / "other", bytes);
        EXPECT_EQ(isSame("one", "other"), true);
    }
}

TEST(FileState, OnlyAFileHasAHash) {
    const testfiles::TempDir dir;
    Write(dir / "empty", "");
    EXPECT_EQ(Sha256Of(dir / "empty"), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(Sha256Of(dir.Path()), std::nullopt);
}

TEST(FileState, APathIsBelowTheRoot_WhereNothingElseIsAroundIt) {
    EXPECT_EQ(ParentOf("/opt/agent"), "/opt");
    EXPECT_EQ(ParentOf("/opt"), "/");
    EXPECT_EQ(ParentOf("name"), "/");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
