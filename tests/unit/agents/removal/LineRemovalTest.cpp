// Deleting lines from a file of the host: which lines go, and that no failure costs the host the file.
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <sys/xattr.h>
#include <vector>

#include "agents/removal/LineRemoval.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Mode;
using testfiles::NamesIn;
using testfiles::Read;
using testfiles::TempDir;
using testfiles::Write;

constexpr DeletedLines kBlocks[] = {{"Agent", "}"}};
constexpr DeletedLines kLines[] = {{"Agent"}, {"msg"}};

struct Deletion {
    const char* content;
    const char* remaining;
};

constexpr Deletion kBlockDeletions[] = {
    {"", ""},
    {"a\nb\n", "a\nb\n"},
    {"a\nAgent {\n x\n}\nb\n", "a\nb\n"},
    {"Agent {}\nx\n}\nb\n", "b\n"},  // the end is looked for from the next line on
    {"a\nAgent\nx\n", "a\n"},        // without an end, all that follows
    {"Agent\n}\nb\nAgent\n}\nc\n", "b\nc\n"},
    {"}\nAgent\nAgent }\nb\n", "}\nb\n"},
    {"a\n# service Agent\n}\nb", "a\nb"},
    {"a\nAgent", "a\n"},
    {"a\r\nAgent\r\n}\r\n\r\n", "a\r\n\r\n"},
    {"\xff\xfe\nAgent\n}\n\xe4", "\xff\xfe\n\xe4"},
};

constexpr Deletion kLineDeletions[] = {
    {"", ""},
    {"a\nb", "a\nb"},
    {"a\nAgent x\nb\nmsg 1\nc\n", "a\nb\nc\n"},
    {"an Agent\na msg\n", ""},
    {"\n\nAgent\n\n", "\n\n\n"},
    {"agent\nMSG\n", "agent\nMSG\n"},
};

TEST(WithoutLines, LeavesOutBlocks) {
    for (const Deletion& row : kBlockDeletions)
        EXPECT_EQ(WithoutLines(row.content, kBlocks), row.remaining) << row.content;
}

TEST(WithoutLines, LeavesOutLines) {
    for (const Deletion& row : kLineDeletions)
        EXPECT_EQ(WithoutLines(row.content, kLines), row.remaining) << row.content;
}

/// A file as a crash or an editor may leave it: of pieces that matter to the deletion, in any order.
std::string DamagedFile(std::mt19937& random) {
    const std::string pieces[] = {"Agent", "msg",  "}",  "{", "x", " ",    "\n",   "\n",
                                  "\n",    "\r\n", "\t", "#", "",  "\xff", "\xc3", std::string(1, '\0')};
    std::string content;
    for (auto count = random() % 40; count > 0; --count) content += pieces[random() % std::size(pieces)];
    return content;
}

TEST(WithoutLines, LeavesWhatTheHostsSedLeaves_OfDamagedFilesToo) {
    const TempDir dir;
    std::mt19937 random(20);  // the same files each time
    std::vector<std::string> contents;
    for (const Deletion& row : kBlockDeletions) contents.push_back(row.content);
    for (const Deletion& row : kLineDeletions) contents.push_back(row.content);
    while (contents.size() < 500) contents.push_back(DamagedFile(random));
    for (std::size_t i = 0; i < contents.size(); ++i) Write(dir / std::to_string(i), contents[i]);
    const std::string command =
        "cd " + dir.Path() +
        " && export LC_ALL=POSIX && for f in *; do"
        " sed -e '/Agent/,/}/d' <$f >$f.blocks && sed -e '/Agent/d' -e '/msg/d' <$f >$f.lines || exit; done";
    ASSERT_EQ(std::system(command.c_str()), 0);
    for (std::size_t i = 0; i < contents.size(); ++i) {
        EXPECT_EQ(WithoutLines(contents[i], kBlocks), Read(dir / std::to_string(i) + ".blocks"))
            << contents[i];
        EXPECT_EQ(WithoutLines(contents[i], kLines), Read(dir / std::to_string(i) + ".lines")) << contents[i];
    }
}

class LineRemoval : public testing::Test {
  protected:
    corekit::Result Delete() { return DeleteLines(String::FromUtf8(m_file), kLines); }

    TempDir m_dir;
    const std::string m_file = m_dir / "conf";
};

TEST_F(LineRemoval, KeepsTheModeAndTheOwner) {
    for (const unsigned mode : {0600u, 0644u, 0440u, 0755u}) {
        SCOPED_TRACE(mode);
        Write(m_file, "a\nAgent\n", mode);
        ASSERT_EQ(chown(m_file.c_str(), 0, 0), 0);
        EXPECT_TRUE(Delete());
        EXPECT_EQ(Read(m_file), "a\n");
        EXPECT_EQ(Mode(m_file), mode);
        EXPECT_EQ(NamesIn(m_dir.Path()), std::vector<std::string>{"conf"});
        std::filesystem::remove(m_file);
    }
}

TEST_F(LineRemoval, KeepsExtendedAttributes) {
    Write(m_file, "a\nAgent\n");
    ASSERT_EQ(setxattr(m_file.c_str(), "user.origin", "host", 4, 0), 0);
    EXPECT_TRUE(Delete());
    char value[8] = {};
    EXPECT_EQ(getxattr(m_file.c_str(), "user.origin", value, sizeof value), 4);
    EXPECT_STREQ(value, "host");
    EXPECT_EQ(Read(m_file), "a\n");
}

TEST_F(LineRemoval, EditsTheFileThatALinkLeadsTo) {
    Write(m_dir / "sub/real", "a\nmsg\n");
    std::filesystem::create_symlink("sub/real", m_file);
    EXPECT_TRUE(Delete());
    EXPECT_TRUE(std::filesystem::is_symlink(m_file));
    EXPECT_EQ(Read(m_dir / "sub/real"), "a\n");
}

TEST_F(LineRemoval, LeavesAFileAlone_WhenItHasNoneOfTheLines) {
    Write(m_file, "a\nagent");
    struct stat before {};
    ASSERT_EQ(stat(m_file.c_str(), &before), 0);
    EXPECT_TRUE(Delete());
    struct stat after {};
    ASSERT_EQ(stat(m_file.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_ctim.tv_sec, before.st_ctim.tv_sec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
}

TEST_F(LineRemoval, MakesNoFile_WhereThereIsNone) {
    EXPECT_EQ(Delete().Code(), ENOENT);
    EXPECT_TRUE(NamesIn(m_dir.Path()).empty());
}

constexpr const char* kOld = "a\nAgent\nb\n";

TEST_F(LineRemoval, KeepsTheOldFileWhole_WhenAnyCallFails) {
    const auto expectOldOrNew = [&](int failed) {
        const std::string content = Read(m_file);
        EXPECT_TRUE(content == "a\nb\n" || (failed != 0 && content == kOld)) << failed << ": " << content;
        EXPECT_EQ(Mode(m_file), 0640u);
        // What cannot be removed now, the next run removes.
        EXPECT_TRUE(Delete());
        EXPECT_EQ(Read(m_file), "a\nb\n");
        EXPECT_EQ(NamesIn(m_dir.Path()), std::vector<std::string>{"conf"});
    };
    const int points = testsupport::FailInTurn(
        testsupport::kFileCalls, EIO, [&] { Write(m_file, kOld, 0640); }, [&] { return Delete() ? 0 : 1; },
        expectOldOrNew);
    EXPECT_GE(points, 8);
}

TEST_F(LineRemoval, KeepsTheOldFile_WhenTheDiskIsFull) {
    const std::string disk = m_dir / "disk";
    std::filesystem::create_directory(disk);
    ASSERT_EQ(std::system(("mount -t tmpfs -o size=16k,mode=755 tmpfs " + disk).c_str()), 0);
    std::string old;
    while (old.size() < 9000) old += "a line that stays\nAgent\n";
    Write(disk + "/conf", old, 0640);
    ASSERT_NE(std::system(("head -c 65536 /dev/zero > " + disk + "/fill 2>/dev/null").c_str()), 0);

    EXPECT_EQ(DeleteLines(String::FromUtf8(disk + "/conf"), kLines).Code(), ENOSPC);

    EXPECT_EQ(Read(disk + "/conf"), old);
    EXPECT_EQ(Mode(disk + "/conf"), 0640u);
    EXPECT_EQ(NamesIn(disk), (std::vector<std::string>{"conf", "fill"}));
    ASSERT_EQ(std::system(("umount " + disk).c_str()), 0);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
