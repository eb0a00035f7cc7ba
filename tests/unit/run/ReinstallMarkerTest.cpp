// When a reinstall counts as pending.
#include <filesystem>
#include <gtest/gtest.h>

#include "run/ReinstallMarker.h"
#include "tests/support/Captured.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
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

TEST_F(ReinstallMarker, SaysNoWhereThereIsNone) {
    EXPECT_EQ(Ask(false), "");
}

TEST_F(ReinstallMarker, SaysYesWhereItIsOurs) {
    testfiles::Write(kMarker, "");
    EXPECT_EQ(Ask(true), "");
}

TEST_F(ReinstallMarker, IsNotBelievedWhereOthersCanWriteIt) {
    testfiles::Write(kMarker, "", 0666);
    EXPECT_EQ(Ask(false),
              "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: other users can write to it.\n");
}

TEST_F(ReinstallMarker, IsNotBelievedWhenItIsALink) {
    testfiles::Write("/tmp/ksclt/other", "");
    std::filesystem::create_symlink("other", kMarker);
    EXPECT_EQ(Ask(false),
              "WARNING! /tmp/ksclt/.reinstall-client.conf is not used: it is not a regular file.\n");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
