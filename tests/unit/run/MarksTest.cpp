// The mark of a run that has not come to its end, and when a reinstall counts as pending.
#include <filesystem>
#include <gtest/gtest.h>

#include "run/Marks.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {

namespace {

using corekit::String;

class UnfinishedRun : public testing::Test {
  protected:
    UnfinishedRun() { std::filesystem::create_directory(m_dir / "etc"); }

    testfiles::TempDir m_dir;
    String m_installDir = String::FromUtf8(m_dir.Path());
};

TEST_F(UnfinishedRun, IsKnownByItsMark_UntilItHasFinished) {
    EXPECT_EQ(FindUnfinishedRun(m_installDir), Unfinished::Nothing);
    for (const auto what : {Unfinished::Saving, Unfinished::FirstConfiguration, Unfinished::Upgrade}) {
        EXPECT_TRUE(MarkUnfinishedRun(m_installDir, what));
        EXPECT_EQ(FindUnfinishedRun(m_installDir), what);
    }
    EXPECT_TRUE(MarkFinishedRun(m_installDir));
    EXPECT_FALSE(testfiles::Exists(m_dir / "etc/.unfinished"));
    EXPECT_TRUE(MarkFinishedRun(m_installDir));
}

TEST_F(UnfinishedRun, IsAnUpgrade_WhenTheMarkIsUnknownAndACopyIsSaved) {
    testfiles::Write(m_dir / "etc/.unfinished", "");
    EXPECT_EQ(FindUnfinishedRun(m_installDir), Unfinished::FirstConfiguration);
    testfiles::Write(m_dir / "etc/client.conf.old", "");
    EXPECT_EQ(FindUnfinishedRun(m_installDir), Unfinished::Upgrade);
}

// Else the next configuration would pass over the agent whose client.conf was being saved.
TEST_F(UnfinishedRun, PassesOverNoClientConf_WhenTheMarkCannotBeRead) {
    for (const auto what : {Unfinished::Saving, Unfinished::FirstConfiguration}) {
        EXPECT_TRUE(MarkUnfinishedRun(m_installDir, what));
        const auto find = [&] { return static_cast<int>(FindUnfinishedRun(m_installDir)); };
        EXPECT_EQ(testsupport::WithFailing({{SYS_read, EIO}}, find), static_cast<int>(Unfinished::Saving));
    }
}

TEST_F(UnfinishedRun, FailsTheRunWithTheReason_WhenItCannotBeMarked) {
    std::filesystem::create_directories(m_dir / "etc/.unfinished/x");
    const auto marked = MarkUnfinishedRun(m_installDir, Unfinished::Upgrade);
    ASSERT_FALSE(marked);
    EXPECT_EQ(marked.error().text, L"Unable to write to file: " + m_installDir + L"/etc/.unfinished");
    EXPECT_EQ(marked.error().reason, m_installDir + L"/etc/.unfinished: Is a directory");
    const auto look = CheckUnfinishedMark(m_installDir);
    ASSERT_FALSE(look);
    EXPECT_EQ(look.error(), marked.error());
    const auto finished = MarkFinishedRun(m_installDir);
    ASSERT_FALSE(finished);
    EXPECT_EQ(finished.error().text, L"Unable to remove file: " + m_installDir + L"/etc/.unfinished");
}

TEST_F(UnfinishedRun, IsNotLookedForWithoutADirectory) {
    EXPECT_EQ(FindUnfinishedRun(String()), Unfinished::Nothing);
}

}  // namespace

namespace {

constexpr const char* kMarker = "/tmp/ksclt/.reinstall-client.conf";

class ReinstallMarker : public testing::Test {
  protected:
    void TearDown() override { std::filesystem::remove_all("/tmp/ksclt"); }

    /// What is warned of; the answer is expected, and asking says nothing.
    static std::string Ask(bool expected) {
        const auto asked = testsupport::Captured([&] { EXPECT_EQ(IsReinstallPending(), expected); });
        EXPECT_EQ(asked.err + asked.out, "");
        return testsupport::Captured(WarnOfUnusedReinstallMarker).err;
    }
};

TEST_F(ReinstallMarker, IsNotBelieved_WhenThereIsNone) {
    EXPECT_EQ(Ask(false), "");
}

TEST_F(ReinstallMarker, IsBelieved_WhenItIsOurs) {
    testfiles::Write(kMarker, "");
    EXPECT_EQ(Ask(true), "");
}

TEST_F(ReinstallMarker, IsNotBelieved_WhereOthersCanWriteIt) {
    testfiles::Write(kMarker, "", 0666);
    EXPECT_EQ(Ask(false),
              "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: other users can write to it.\n");
}

TEST_F(ReinstallMarker, IsNotBelieved_WhenItIsALink) {
    testfiles::Write("/tmp/ksclt/other", "");
    std::filesystem::create_symlink("other", kMarker);
    EXPECT_EQ(Ask(false),
              "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: it is not a regular file.\n");
}

}  // namespace

}  // namespace Zorvane::AgentInstaller
