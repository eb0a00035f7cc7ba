// The options of -apply, and what it refuses before anything is rehearsed.
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "app/ApplyCommand.h"
#include "corekit/json/Json.h"
#include "run/RunLock.h"
#include "tests/support/AsUser.h"
#include "tests/support/Captured.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using Arguments = std::vector<String>;

/// Runs -apply with nothing to ask on; standard input is as before afterwards.
class WithoutATerminal : public testing::Test {
  protected:
    WithoutATerminal() : m_input(dup(STDIN_FILENO)) {
        const int null = open("/dev/null", O_RDONLY);
        dup2(null, STDIN_FILENO);
        close(null);
    }
    ~WithoutATerminal() override {
        dup2(m_input, STDIN_FILENO);
        close(m_input);
    }

    unsigned Run(const Arguments& arguments) {
        ApplyCommand command(L"1.0");
        unsigned status = 0;
        m_output = testsupport::Captured([&] { status = command.Run(arguments); });
        return status;
    }

    int m_input;
    testsupport::Output m_output;
};

TEST_F(WithoutATerminal, ApplyNeedsYes) {
    EXPECT_EQ(Run({L"-configure"}), corekit::CommandBasedApp::kUsageError);
    EXPECT_EQ(m_output.err, "Without a terminal to ask on, -apply needs -yes.\n");
}

TEST_F(WithoutATerminal, ApplyRefusesMistakesInItsOptions) {
    const Arguments rows[] = {
        {},
        {L"-yes"},
        {L"-yes", L"-status"},
        {L"-yes", L"-preview", L"-configure"},
        {L"-yes", L"-plan"},
        {L"-yes", L"-plan", L"", L"-configure"},
        {L"-yes", L"-wait"},
        {L"-yes", L"-wait", L"1", L"-configure"},
        {L"-yes", L"-wait", L"3601", L"-configure"},
        {L"-yes", L"-wait", L"10s", L"-configure"},
        {L"-yes", L"-wait", L"-3", L"-configure"},
        {L"-yes", L"-json", L"-or-plainly", L"-configure"},
    };
    for (const Arguments& arguments : rows) {
        SCOPED_TRACE(arguments.empty() ? "" : arguments.back().Utf8());
        EXPECT_EQ(Run(arguments), corekit::CommandBasedApp::kUsageError);
        EXPECT_EQ(m_output.err, "");
    }
}

/// What -apply says, as text and in its document, where it cannot even be rehearsed.
class BeforeTheRehearsal : public WithoutATerminal {
  protected:
    void ExpectEnd(const std::string& error) {
        EXPECT_EQ(Run({L"-yes", L"-configure"}), 1U);
        EXPECT_EQ(m_output.err, "ERROR: " + error + "\n");
        EXPECT_EQ(Run({L"-yes", L"-json", L"-configure"}), 1U);
        const auto document = corekit::ParseJson(m_output.out);
        EXPECT_EQ(document["error"], error);
        EXPECT_EQ(document["restored"], false);
        EXPECT_TRUE(document["preview"].is_null());
    }
};

TEST_F(BeforeTheRehearsal, ApplyEnds_UnlessRootRunsIt) {
    const testsupport::AsUser other(1);
    ExpectEnd("qdn-configure has to be run as root.");
}

TEST_F(BeforeTheRehearsal, ApplyEnds_WhileAnotherRunWorks) {
    const RunLock first;
    ExpectEnd("Another run of qdn-configure is in progress.");
}

TEST_F(BeforeTheRehearsal, ApplyEnds_WhenTheJournalOfAFormerOneIsDamaged) {
    testfiles::Write("/var/lib/qdn-configure/stores", "x");
    EXPECT_EQ(Run({L"-yes", L"-json", L"-configure"}), 1U);
    const auto document = corekit::ParseJson(m_output.out);
    EXPECT_TRUE(document["error"].is_string());
    EXPECT_TRUE(document["preview"].is_null());
    std::filesystem::remove_all("/var/lib/qdn-configure");
}

TEST(ApplyCommand, WantsNoBannerForADocumentOnly) {
    EXPECT_TRUE(ApplyCommand::WantsNoBanner({L"-apply", L"-json", L"-configure"}));
    EXPECT_TRUE(ApplyCommand::WantsNoBanner({L"-apply", L"-yes", L"-wait", L"5", L"-json", L"-clean"}));
    EXPECT_FALSE(ApplyCommand::WantsNoBanner({L"-apply", L"-yes", L"-configure", L"-json"}));
    EXPECT_FALSE(ApplyCommand::WantsNoBanner({L"-configure", L"-json"}));
    EXPECT_FALSE(ApplyCommand::WantsNoBanner({}));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
