// What the operator is told when a command ends early.
#include <gtest/gtest.h>

#include "app/ChangingCommand.h"
#include "tests/support/AsUser.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"

namespace Zorvane::AgentInstaller {
namespace {

using testsupport::Captured;

TEST(Report, WritesTheTextAndBelowItTheReason) {
    unsigned status = 0;
    const auto output = Captured([&] {
        status = Report(Failure{L"Unable to write to file: /opt/x", L"/opt/x: No space left on device"});
    });
    EXPECT_EQ(status, kFailure);
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "ERROR: Unable to write to file: /opt/x\n  /opt/x: No space left on device\n");
    EXPECT_EQ(Error::m_sErrorText, L"Unable to write to file: /opt/x");
}

TEST(Report, SaysThatTheConfigurationFailed_WhenNoStepHasATextOfItsOwn) {
    const auto output = Captured([] { EXPECT_EQ(Report(Failure{}), kFailure); });
    EXPECT_EQ(output.err, "ERROR: Agent configuration failed.\n");
}

TEST(Report, WritesOnlyAscii) {
    const auto output = Captured([] { EXPECT_EQ(Report(Failure{L"caf\x00e9", L"/opt/\x00e9"}), kFailure); });
    EXPECT_EQ(output.err, "ERROR: caf?\n  /opt/?\n");
}

TEST(RefuseOrdinaryUser, LetsRootPass) {
    EXPECT_EQ(Captured([] { EXPECT_FALSE(RefuseOrdinaryUser()); }).err, "");
}

TEST(RefuseOrdinaryUser, TellsAnotherUserWhatIsNeeded) {
    const testsupport::AsUser other(1);
    bool refused = false;
    const auto output = Captured([&] { refused = RefuseOrdinaryUser(); });
    EXPECT_TRUE(refused);
    EXPECT_EQ(output.err, "ERROR: qdn-configure has to be run as root.\n");
}

TEST(RefuseSecondRun, IsSilent_WhenTheLockIsOurs) {
    const RunLock lock;
    EXPECT_EQ(Captured([&] { EXPECT_FALSE(RefuseSecondRun(lock)); }).out, "");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
