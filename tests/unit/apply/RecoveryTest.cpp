// What the next run makes of what an -apply has left that was killed, phase by phase.
#include <filesystem>
#include <gtest/gtest.h>

#include "apply/Recovery.h"
#include "apply/SavedState.h"
#include "run/Args.h"
#include "tests/support/RunningScript.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller::Apply {
namespace {

constexpr const char* kPutBack =
    "WARNING! A former -apply was cut off: the host has been put back as it was before it.\n";
constexpr const char* kClearedUp =
    "WARNING! A former -apply was cut off: nothing but its own files was left.\n";

class Recovery : public testing::Test {
  protected:
    Recovery() { testfiles::Write("/opt/t/file", "old"); }
    ~Recovery() override {
        std::filesystem::remove_all("/opt/t");
        std::filesystem::remove_all("/opt/.qdn-configure-saved");
        std::filesystem::remove_all("/var/lib/qdn-configure");
    }

    static void SaveAndChange() {
        ToSave what;
        what.names.names = {{"/opt/t/file", Preview::Touch::Replace}};
        ASSERT_TRUE(Save(what));
        std::filesystem::remove("/opt/t/file");
        testfiles::Write("/opt/t/file", "new");
    }
    static void ExpectNothingLeft() {
        EXPECT_EQ(FindPhase().value(), Phase::None);
        EXPECT_FALSE(testfiles::Exists("/opt/.qdn-configure-saved"));
    }
};

TEST_F(Recovery, SaysNothing_WhenNothingWasCutOff) {
    testing::internal::CaptureStderr();
    EXPECT_TRUE(FinishFormerApply());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Recovery, PutsTheHostBack_WhenTheRunWasKilled) {
    SaveAndChange();
    EXPECT_TRUE(IsApplyUnfinished());
    testing::internal::CaptureStderr();
    EXPECT_TRUE(FinishFormerApply());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kPutBack);
    EXPECT_EQ(testfiles::Read("/opt/t/file"), "old");
    EXPECT_FALSE(IsApplyUnfinished());
    ExpectNothingLeft();
}

TEST_F(Recovery, KeepsWhatHasSucceeded_WhenOnlyTheRestWasCutOff) {
    SaveAndChange();
    ASSERT_TRUE(MarkOver());
    testing::internal::CaptureStderr();
    EXPECT_TRUE(FinishFormerApply());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kClearedUp);
    EXPECT_EQ(testfiles::Read("/opt/t/file"), "new");
    ExpectNothingLeft();
}

TEST_F(Recovery, ClearsUp_WhenTheRunWasStillSaving) {
    std::filesystem::create_directories("/opt/.qdn-configure-saved");
    Journal journal;
    journal.stores = {"/opt/.qdn-configure-saved"};
    ASSERT_TRUE(BeginJournal(journal));
    EXPECT_FALSE(IsApplyUnfinished());
    testing::internal::CaptureStderr();
    EXPECT_TRUE(FinishFormerApply());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kClearedUp);
    ExpectNothingLeft();
}

TEST_F(Recovery, LeavesItsOwnRunAlone_WithinAnAttempt) {
    SaveAndChange();
    RunMode::isAttempt = true;
    EXPECT_TRUE(FinishFormerApply());
    RunMode::isAttempt = false;
    EXPECT_EQ(testfiles::Read("/opt/t/file"), "new");
}

TEST_F(Recovery, AnAttemptThatHasSucceededStays) {
    SaveAndChange();
    EXPECT_TRUE(Commit());
    EXPECT_EQ(testfiles::Read("/opt/t/file"), "new");
    ExpectNothingLeft();
}

TEST_F(Recovery, TheAgentOfTheAttemptIsStoppedBeforeAnythingIsPutBack) {
    const testsupport::RunningScript agent("/opt/t/bin/qdn-pluginmanager.bin");
    testfiles::Write("/opt/t/bin/rcscript",
                     "#!/bin/sh\necho \"$1: $(cat /opt/t/file)\" >>/opt/t/calls\nkill -KILL " +
                         std::to_string(agent.Id()) + "\n",
                     0755);
    ToSave what;
    what.names.names = {{"/opt/t/file", Preview::Touch::Replace}};
    what.agentDirs = {"/opt/t"};
    ASSERT_TRUE(Save(what));
    std::filesystem::remove("/opt/t/file");
    testfiles::Write("/opt/t/file", "new");
    EXPECT_TRUE(UndoAttempt());
    EXPECT_EQ(testfiles::Read("/opt/t/calls"), "stop: new\n");
    EXPECT_EQ(testfiles::Read("/opt/t/file"), "old");
}

TEST_F(Recovery, AnAttemptHasNotSucceeded_WhenThatCannotBeNoted) {
    SaveAndChange();
    std::filesystem::create_directory("/var/lib/qdn-configure/over");
    EXPECT_FALSE(Commit());
    std::filesystem::remove("/var/lib/qdn-configure/over");
    testfiles::Write("/var/lib/qdn-configure/journal", "x");
    EXPECT_FALSE(Commit());
}

TEST_F(Recovery, Fails_WhenTheJournalIsDamaged) {
    SaveAndChange();
    testfiles::Write("/var/lib/qdn-configure/journal", "x");
    EXPECT_FALSE(FinishFormerApply());
    EXPECT_EQ(FindPhase().value(), Phase::Running);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller::Apply
