// What the marks of an overlay's upper layer mean, and what is none.
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include "preview/LayerReader.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Preview {
namespace {

TEST(LayerReader, AnEntryWhoseFileSystemKeepsNoAttributesHasNoMark) {
    const Layer layer{"/", "/proc/self", "/proc/self", "/proc/self"};
    LayerReader reader(layer);
    EXPECT_EQ(reader.MarkOf("/proc/self/status", kOpaque), std::nullopt);
    EXPECT_TRUE(reader.FirstFailure()) << GetErrorMsg(reader.FirstFailure()).Utf8();
}

TEST(LayerReader, ADirectoryIsWhereItsMarkSays) {
    const testfiles::TempDir dir;
    const Layer layer{"/", dir / "lower", dir.Path(), dir / "merged"};
    const auto sourceOf = [&](const char* mark, const Before& before) {
        testfiles::SetAttribute(dir / "a/b", "user.overlay.redirect", mark);
        LayerReader reader(layer);
        const Before source = reader.SourceOf("/a/b", before);
        EXPECT_TRUE(reader.FirstFailure());
        return source.value_or("its own");
    };
    std::filesystem::create_directories(dir / "a/b");
    EXPECT_EQ(sourceOf("/x/y", "/a/b"), "/x/y");
    EXPECT_EQ(sourceOf("/a/b", "/a/b"), "its own");
    EXPECT_EQ(sourceOf("y", "/x/b"), "/x/y") << "beside where it was";
    EXPECT_EQ(sourceOf("y", std::nullopt), "/a/y") << "beside where it is";
    EXPECT_EQ(sourceOf("b", "/b"), "its own");
    EXPECT_EQ(sourceOf("", "/a/b"), "its own") << "an empty mark says nothing";
}

TEST(LayerReader, OnlyADeviceWithoutANumberSaysThatANameWasTakenAway) {
    const auto isWhiteout = [](mode_t type, dev_t device) {
        struct stat info {};
        info.st_mode = type | 0600;
        info.st_rdev = device;
        return IsWhiteout(info);
    };
    EXPECT_TRUE(isWhiteout(S_IFCHR, makedev(0, 0)));
    EXPECT_FALSE(isWhiteout(S_IFCHR, makedev(1, 3)));
    EXPECT_FALSE(isWhiteout(S_IFREG, makedev(0, 0)));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Preview
