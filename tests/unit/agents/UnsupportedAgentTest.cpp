// An installation that nobody understands is left alone.
#include <gtest/gtest.h>

#include "agents/AgentVersion.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

TEST(UnsupportedAgent, IsLeftAloneByAClean) {
    const testfiles::TempDir dir;
    testfiles::Write(dir / "etc/client.conf", "[Configuration]\ninstalldir=" + dir.Path() + "\n");
    testfiles::Write("/etc/init.d/zorvane", "#!/bin/sh\n", 0755);
    UnsupportedAgent agent(L"5.5", corekit::String::FromUtf8(dir.Path()));
    agent.SetConfPath(corekit::String::FromUtf8(dir / "etc/client.conf"));

    const auto output = testsupport::Captured([&] { EXPECT_TRUE(agent.Clean()); });

    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
    EXPECT_TRUE(testfiles::Exists(dir / "etc/client.conf"));
    EXPECT_TRUE(testfiles::Exists("/etc/init.d/zorvane"));
    std::filesystem::remove("/etc/init.d/zorvane");
}

TEST(UnsupportedAgent, GivesNoSettingsAndNoUpgrade) {
    UnsupportedAgent agent(L"", L"/opt/agent");
    EXPECT_EQ(*agent.LoadSettings(), nullptr);
    EXPECT_FALSE(agent.IsUpgradeSupported());
    EXPECT_FALSE(agent.RegistersSubAgents());
    EXPECT_TRUE(agent.RemoveSystemIntegration());
    EXPECT_TRUE(agent.RemoveFiles(L"/opt/agent/etc/client.conf"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
