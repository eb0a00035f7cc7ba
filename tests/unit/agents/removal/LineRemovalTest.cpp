// Deleting lines from a file of the host: what goes, and that no failure costs it the file.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "agents/removal/LineRemoval.h"
#include "corekit/fs/Dir.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/FailingInTurn.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testfiles::Mode;
using testfiles::Read;
using testfiles::TempDir;
using testfiles::Write;
using testsupport::HostPrograms;
using testsupport::StandIns;

constexpr DeletedLines kBlocks[] = {{"Agent", "}"}};
constexpr DeletedLines kLines[] = {{"Agent"}, {"msg"}};

constexpr const wchar_t* kDeleteLines = L"sed -e '/Agent/d' -e '/msg/d' < %1 > stuff; mv stuff %2";

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

class LineRemoval : public testing::Test {
  protected:
    void Delete(const wchar_t* command = kDeleteLines) {
        Forgive(DeleteLines(String::FromUtf8(m_file), command, kLines));
    }

    /// The names in the edited file's directory.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_dir.Path()))
            names.push_back(entry.path().filename());
        std::ranges::sort(names);
        return names;
    }

    TempDir m_dir;
    const std::string m_file = m_dir / "conf";
};

TEST_F(LineRemoval, LeavesWhatSedLeaves) {
    for (const Deletion& row : kLineDeletions) {
        SCOPED_TRACE(row.content);
        Write(m_file, row.content);
        Delete();
        EXPECT_EQ(Read(m_file), row.remaining);
    }
    for (const Deletion& row : kBlockDeletions) {
        SCOPED_TRACE(row.content);
        Write(m_file, row.content);
        EXPECT_TRUE(DeleteLines(String::FromUtf8(m_file), L"sed -e '/Agent/,/}/d' < %1 > stuff; mv stuff %2",
                                kBlocks));
        EXPECT_EQ(Read(m_file), row.remaining);
    }
}

TEST_F(LineRemoval, KeepsTheModeAndLeavesNothingBehind) {
    for (const unsigned mode : {0600u, 0644u, 0440u, 0755u}) {
        SCOPED_TRACE(mode);
        Write(m_file, "a\nAgent\n", mode);
        Delete();
        EXPECT_EQ(Read(m_file), "a\n");
        EXPECT_EQ(Mode(m_file), mode);
        EXPECT_EQ(Names(), std::vector<std::string>{"conf"});
        std::filesystem::remove(m_file);
    }
}

TEST_F(LineRemoval, WorksInAPrivateDirectoryBesideTheFileAndReturns) {
    const String before = corekit::Dir::GetCurrent().value();
    Write(m_file, "a\nAgent\n");
    Delete(
        L"pwd > ../place; stat -c %a . > ../mode; sed -e '/Agent/d' -e '/msg/d' < %1 > stuff; mv stuff %2");

    EXPECT_EQ(Read(m_file), "a\n");
    EXPECT_EQ(Read(m_dir / "mode"), "700\n");
    const std::string place = Read(m_dir / "place");
    EXPECT_TRUE(place.starts_with(m_dir / ".qdn-configure.")) << place;
    EXPECT_EQ(corekit::Dir::GetCurrent().value(), before);
}

TEST_F(LineRemoval, ClearsUpAfterARunThatWasKilled) {
    Write(m_file, "a\nb\n");
    Write(m_dir / ".qdn-configure.abcdef/kept.conf", "a\nAgent\nb\n");
    Delete();
    EXPECT_EQ(Read(m_file), "a\nb\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"conf"});
}

TEST_F(LineRemoval, ClearsUpWhatARunThatKeptNothingYetLeft) {
    Write(m_file, "a\nAgent\n");
    std::filesystem::create_directory(m_dir / ".qdn-configure.abcdef");
    Delete();
    EXPECT_EQ(Read(m_file), "a\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"conf"});
}

TEST_F(LineRemoval, LeavesWhatARunKeptOfAnotherFileToWhoEditsThat) {
    const std::string other = m_dir / "other";
    Write(m_file, "a\nAgent\n");
    Write(other, "");
    Write(m_dir / ".qdn-configure.abcdef/kept.other", "c\nAgent\n");
    Delete();
    EXPECT_EQ(Read(m_dir / ".qdn-configure.abcdef/kept.other"), "c\nAgent\n");
    Forgive(DeleteLines(String::FromUtf8(other), kDeleteLines, kLines));
    EXPECT_EQ(Read(other), "c\n");
    EXPECT_EQ(Names(), (std::vector<std::string>{"conf", "other"}));
}

TEST_F(LineRemoval, EditsAgainWhatAKilledRunLeftCutOff) {
    for (const char* cutOff : {"", "a", "a\n"}) {
        SCOPED_TRACE(cutOff);
        Write(m_file, cutOff);
        Write(m_dir / ".qdn-configure.abcdef/kept.conf", "a\nAgent\nb\n");
        Delete();
        EXPECT_EQ(Read(m_file), "a\nb\n");
        EXPECT_EQ(Names(), std::vector<std::string>{"conf"});
    }
}

TEST_F(LineRemoval, LeavesWhatAKilledRunKeptOfAnotherFile) {
    Write(m_file, "");
    Write(m_dir / ".qdn-configure.abcdef/kept.other", "a\nAgent\nb\n");
    Delete();
    EXPECT_EQ(Read(m_file), "");
    EXPECT_EQ(Read(m_dir / ".qdn-configure.abcdef/kept.other"), "a\nAgent\nb\n");
    Write(m_dir / "other", "a\n");
    ClearUpAfterDeleteLines(String::FromUtf8(m_dir / "other"), kLines);
    EXPECT_EQ(Read(m_dir / "other"), "a\nAgent\nb\n");
    EXPECT_EQ(Names(), (std::vector<std::string>{"conf", "other"}));
}

TEST_F(LineRemoval, ReturnsToACurrentDirectoryThatHasGone) {
    const String before = corekit::Dir::GetCurrent().value();
    std::filesystem::create_directory(m_dir / "gone");
    ASSERT_TRUE(corekit::Dir::SetCurrent(String::FromUtf8(m_dir / "gone")));
    std::filesystem::remove(m_dir / "gone");
    Write(m_file, "a\nAgent\n");
    Delete();
    EXPECT_EQ(Read(m_file), "a\n");
    EXPECT_EQ(corekit::Dir::GetCurrent().Outcome().Code(), ENOENT);
    ASSERT_TRUE(corekit::Dir::SetCurrent(before));
}

TEST_F(LineRemoval, EditsTheFileThatALinkLeadsTo) {
    Write(m_dir / "sub/real", "a\nmsg\n");
    std::filesystem::create_symlink("sub/real", m_file);
    Delete();
    EXPECT_TRUE(std::filesystem::is_symlink(m_file));
    EXPECT_EQ(Read(m_dir / "sub/real"), "a\n");
}

TEST_F(LineRemoval, QuotesAPathForTheShell) {
    const TempDir dir;
    const std::string file = dir / "it's; a file";
    Write(file, "a\nmsg\n");
    EXPECT_TRUE(DeleteLines(String::FromUtf8(file), kDeleteLines, kLines));
    EXPECT_EQ(Read(file), "a\n");
}

TEST_F(LineRemoval, LeavesAFileWithNoneOfTheLinesAsItIs) {
    Write(m_file, "a\nagent");
    struct stat before {};
    ASSERT_EQ(stat(m_file.c_str(), &before), 0);
    Delete(L"touch %1; sed -e '/Agent/d' -e '/msg/d' < %1 > stuff; mv stuff %2");
    struct stat after {};
    ASSERT_EQ(stat(m_file.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_ctim.tv_sec, before.st_ctim.tv_sec);
    EXPECT_EQ(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
}

TEST_F(LineRemoval, LeavesAFileThatIsNotThereAlone) {
    const auto output = testsupport::Captured([&] { Delete(); });
    EXPECT_EQ(output.err, "");
    EXPECT_EQ(Names(), std::vector<std::string>{});
}

constexpr const char* kOld = "a\nAgent\nb\n";

TEST_F(LineRemoval, PutsTheOldFileBackWhenTheResultIsNotWhatItShouldBe) {
    const char* const failures[] = {
        "exit 1",             // nothing comes
        "echo a",             // cut off at the end of a line
        "printf 'a\\nb'",     // cut off within a line
        "printf 'a\\n\\n'",   // something else
        "printf 'b\\na\\n'",  // another order
        "cat",                // nothing deleted
    };
    for (const char* failure : failures) {
        StandIns tools(HostPrograms::TextTools);
        tools.Add("sed", failure);
        Write(m_file, kOld, 0640);
        Delete();
        EXPECT_EQ(Read(m_file), kOld) << failure;
        EXPECT_EQ(Mode(m_file), 0640u) << failure;
        EXPECT_EQ(Names(), std::vector<std::string>{"conf"}) << failure;
    }
}

TEST_F(LineRemoval, KeepsTheFileWhenTheToolsAreMissing) {
    for (const char* tool : {"sed", "mv"}) {
        StandIns tools(HostPrograms::TextTools);
        tools.Remove(tool);
        Write(m_file, kOld, 0640);
        testsupport::Captured([&] { Delete(); });
        EXPECT_EQ(Read(m_file), kOld) << tool;
        EXPECT_EQ(Mode(m_file), 0640u) << tool;
        EXPECT_EQ(Names(), std::vector<std::string>{"conf"}) << tool;
    }
}

TEST_F(LineRemoval, BringsTheFileBackWhenTheCommandRemovesIt) {
    Write(m_file, kOld, 0600);
    Delete(L"rm %1");
    EXPECT_EQ(Read(m_file), kOld);
    EXPECT_EQ(Mode(m_file), 0600u);
}

TEST_F(LineRemoval, KeepsTheOldContentWhereItCannotBePutBack) {
    Write(m_file, kOld);
    Delete(L"rm %1; mkdir %1");
    const auto names = Names();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(Read(m_dir / names[0] + "/kept.conf"), kOld) << names[0];
}

// Nothing looks for those lines when the new agent is in place. Here the tools' calls fail as well: what a
// tool spoils is put back.
TEST_F(LineRemoval, DeletesTheLinesWhateverFailsForAMoment) {
    const auto remove = [&] { return DeleteLines(String::FromUtf8(m_file), kDeleteLines, kLines).Code(); };
    int deletions = 0;
    const auto expectDeleted = [&](int failure) {
        EXPECT_TRUE(failure == 0 || failure == EPERM) << failure;
        EXPECT_EQ(Read(m_file), failure == 0 ? "a\nb\n" : kOld);
        EXPECT_EQ(Mode(m_file), 0640u);
        EXPECT_EQ(Names(), std::vector<std::string>{"conf"});
        if (failure == 0) ++deletions;
    };
    testsupport::Captured([&] {
        testsupport::FailInTurn(
            testsupport::kFileCalls, EIO, [&] { Write(m_file, kOld, 0640); }, remove, expectDeleted);
    });
    EXPECT_GE(deletions, 40);
}

TEST_F(LineRemoval, KeepsTheFileWhateverFailsForGood) {
    for (const int call : testsupport::kFileCalls) {
        Write(m_file, kOld, 0640);
        testsupport::Captured([&] {
            testsupport::WithFailing({{call, EIO}}, [&] {
                Delete();
                return 0;
            });
        });
        const std::string content = Read(m_file);
        EXPECT_TRUE(content == kOld || content == "a\nb\n") << call << ": " << content;
        EXPECT_EQ(Mode(m_file), 0640u) << call;
        Write(m_file, kOld, 0640);
        Delete();
        EXPECT_EQ(Names(), std::vector<std::string>{"conf"}) << call;
    }
}

TEST_F(LineRemoval, KeepsTheOldContentOfACutOffFileUntilItIsPutBack) {
    Write(m_file, "a\n");
    Write(m_dir / ".qdn-configure.abcdef/kept.conf", kOld);
    EXPECT_EQ(testsupport::WithFailing(
                  {{SYS_renameat, EIO}},
                  [&] { return DeleteLines(String::FromUtf8(m_file), kDeleteLines, kLines).Code(); }),
              EIO);
    EXPECT_EQ(Read(m_dir / ".qdn-configure.abcdef/kept.conf"), kOld);
    Delete();
    EXPECT_EQ(Read(m_file), "a\nb\n");
    EXPECT_EQ(Names(), std::vector<std::string>{"conf"});
}

TEST_F(LineRemoval, KeepsTheFileOnAFullDisk) {
    const std::string disk = m_dir / "disk";
    std::filesystem::create_directory(disk);
    ASSERT_EQ(std::system(("mount -t tmpfs -o size=16k,mode=755 tmpfs " + disk).c_str()), 0);
    std::string old;
    while (old.size() < 9000) old += "a line that stays\nAgent\n";
    Write(disk + "/conf", old, 0640);
    ASSERT_NE(std::system(("head -c 65536 /dev/zero > " + disk + "/fill 2>/dev/null").c_str()), 0);

    testsupport::Captured(
        [&] { EXPECT_FALSE(DeleteLines(String::FromUtf8(disk + "/conf"), kDeleteLines, kLines)); });

    EXPECT_EQ(Read(disk + "/conf"), old);
    EXPECT_EQ(Mode(disk + "/conf"), 0640u);
    ASSERT_EQ(std::system(("umount " + disk).c_str()), 0);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
