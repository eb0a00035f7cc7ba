// The commands: their options, refusals, usage texts and statuses.
#include <cerrno>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include "app/AgentInstaller.h"
#include "app/ApplyCommand.h"
#include "app/CleanCommand.h"
#include "app/ConfigureCommand.h"
#include "app/PreviewCommand.h"
#include "app/StatusCommand.h"
#include "run/Args.h"
#include "run/RunLock.h"
#include "tests/support/AsUser.h"
#include "tests/support/Captured.h"
#include "tests/support/FailingCall.h"
#include "tests/support/PrintString.h"
#include "tests/support/StandIn.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Captured;
using Arguments = std::vector<String>;

/// A configure command whose sequence only tells that it was reached.
template <typename Base>
class Reaching : public Base {
  public:
    unsigned Configure() override {
        reached = true;
        return 0;
    }
    bool reached = false;
};

class Commands : public testing::Test {
  protected:
    template <typename Command>
    unsigned Run(Command& command, const Arguments& arguments) {
        unsigned status = 0;
        m_output = Captured([&] { status = command.Run(arguments); });
        return status;
    }

    Reaching<ConfigureCommand> m_configure;
    Reaching<InteractiveConfigureCommand> m_interactive;
    CleanCommand m_clean;
    testsupport::Output m_output;
};

TEST_F(Commands, ConfigureTakesItsOptionsInAnyOrderAndNumber) {
    EXPECT_EQ(
        Run(m_configure, {L"-quiet", L"-dir", L"/a", L"-noimode", L"-nosearch", L"-dir", L"/b", L"-quiet"}),
        0U);
    EXPECT_TRUE(m_configure.reached);
    EXPECT_TRUE(Args::bQuiet);
    EXPECT_TRUE(Args::bNoSearch);
}

TEST_F(Commands, InteractiveConfigureTakesItsOptions) {
    EXPECT_EQ(Run(m_interactive, {L"-nosearch", L"-dir", L"/a", L"-quiet"}), 0U);
    EXPECT_TRUE(m_interactive.reached);
}

TEST_F(Commands, InteractiveConfigureNeitherReadsNorRemovesAnXmlFile) {
    testfiles::Write("/tmp/.qdn-agent-install-config.xml", "<KSAgentConfiguration/>", 0600);
    InteractiveConfigureCommand command;
    EXPECT_EQ(command.LoadXmlSettings(), nullptr);
    EXPECT_TRUE(command.RemoveXmlConfigFile());
    EXPECT_TRUE(testfiles::Exists("/tmp/.qdn-agent-install-config.xml"));
    std::filesystem::remove("/tmp/.qdn-agent-install-config.xml");
}

TEST_F(Commands, UnknownOptionsAreUsageErrorsWithoutAWord) {
    for (const wchar_t* option : {L"-Quiet", L"-help", L"", L"x", L"--quiet"}) {
        SCOPED_TRACE(option);
        EXPECT_EQ(Run(m_configure, {option}), 120U);
        EXPECT_EQ(Run(m_interactive, {option}), 120U);
        EXPECT_EQ(m_output.out + m_output.err, "");
    }
    EXPECT_FALSE(m_configure.reached || m_interactive.reached);
}

TEST_F(Commands, NoIModeIsUnknownToInteractiveConfigure) {
    EXPECT_EQ(Run(m_interactive, {L"-noimode"}), 120U);
    EXPECT_EQ(m_output.out + m_output.err, "");
}

TEST_F(Commands, DirWithoutAValueIsReportedOnStandardError) {
    EXPECT_EQ(Run(m_configure, {L"-quiet", L"-dir"}), 120U);
    EXPECT_EQ(m_output.err, "Option '-dir' requires an argument.\n");
    EXPECT_EQ(Run(m_interactive, {L"-dir"}), 120U);
    EXPECT_EQ(m_output.err, "Option '-dir' requires an argument.\n");
    EXPECT_EQ(m_output.out, "");
}

TEST_F(Commands, ARunningAgentIsRefusedBeforeAnyOption) {
    testsupport::StandIns host;
    host.Add("ps", "echo ' 4711 ?        00:00:00 qdn-pluginmanag'");
    EXPECT_EQ(Run(m_configure, {L"-bad"}), 1U);
    EXPECT_EQ(m_output.out,
              "  The Zorvane Agent for UNIX and Linux is already running. Stop the agent before running "
              "qdn-configure.\n");
    EXPECT_EQ(Run(m_interactive, {L"-bad"}), 1U);
    EXPECT_EQ(m_output.out,
              "  The Zorvane Agent for UNIX and Linux is already running. Stop the agent before running "
              "qdn-configure.\n");
    EXPECT_EQ(Run(m_clean, {}), 1U);
    EXPECT_EQ(
        m_output.out,
        "  The Zorvane Agent for UNIX and Linux is running. Stop the agent before running qdn-configure.\n");
}

TEST_F(Commands, ASecondRunIsRefused) {
    const RunLock first;
    EXPECT_EQ(Run(m_configure, {L"-quiet"}), 1U);
    EXPECT_EQ(m_output.out, "  Another run of qdn-configure is in progress.\n");
    EXPECT_FALSE(m_configure.reached);
    EXPECT_EQ(Run(m_clean, {L"/opt/none"}), 1U);
    EXPECT_EQ(m_output.out, "  Another run of qdn-configure is in progress.\n");
}

TEST_F(Commands, AUsageErrorIsReported_WhileAnotherRunWorks) {
    const RunLock first;
    EXPECT_EQ(Run(m_configure, {L"-bad"}), 120U);
}

TEST_F(Commands, CleanWantsABaseDirectoryAndNothingButQuiet) {
    EXPECT_EQ(Run(m_clean, {}), 120U);
    EXPECT_EQ(Run(m_clean, {L"/opt/none", L"-noimode"}), 120U);
    EXPECT_EQ(m_output.out + m_output.err, "");
    EXPECT_EQ(Run(m_clean, {L"/opt/none", L"-quiet", L"-quiet"}), 0U);
    EXPECT_TRUE(Args::bQuiet);
}

TEST_F(Commands, CleanOfABaseWithoutAConfigurationIsNoFailure) {
    EXPECT_EQ(Run(m_clean, {L"/opt/no\x1bne"}), 0U);
    EXPECT_EQ(
        m_output.out,
        "Can't find client.conf file: /opt/no\\x1bne/etc/client.conf\nCheck parameter <Agent-Base-Dir>.\n\n");
}

TEST_F(Commands, TheFirstWordAfterCleanIsTheBaseDirectory_WhateverItIs) {
    EXPECT_EQ(Run(m_clean, {L"-quiet"}), 0U);
    EXPECT_EQ(m_output.out,
              "Can't find client.conf file: -quiet/etc/client.conf\nCheck parameter <Agent-Base-Dir>.\n\n");
    EXPECT_FALSE(Args::bQuiet);
}

TEST_F(Commands, CleanOfAConfigurationThatCannotBeReadNowFails) {
    testfiles::Write("/opt/base/etc/client.conf", "[Configuration]\ninstalldir=/opt/base\n");
    const auto clean = [] {
        unsigned status = 0;
        Captured([&] { status = CleanCommand().Run({L"/opt/base", L"-quiet"}); });
        return static_cast<int>(status);
    };
    for (const int call : {SYS_openat2, SYS_newfstatat}) {
        EXPECT_EQ(testsupport::WithFailing({{call, EIO}}, clean), 1) << call;
        EXPECT_TRUE(testfiles::Exists("/opt/base/etc/client.conf"));
    }
    std::filesystem::remove_all("/opt/base");
}

TEST_F(Commands, CleanIsRefused_WhileSolutionsDependOnTheAgent) {
    testfiles::Write("/opt/base/etc/config.xml", "<Solutions>\n<Solution id='1'/>\n</Solutions>\n");
    EXPECT_EQ(Run(m_clean, {L"/opt/base", L"-quiet"}), 1U);
    EXPECT_EQ(m_output.out,
              " There are some solutions that depend on Zorvane Agent for UNIX and Linux.\n"
              " Please uninstall them first.\n");
}

TEST_F(Commands, AreRefusedToAnOrdinaryUser) {
    const testsupport::AsUser other(1);
    EXPECT_EQ(Run(m_configure, {L"-quiet"}), 1U);
    EXPECT_EQ(m_output.err, "ERROR: qdn-configure has to be run as root.\n");
    EXPECT_FALSE(m_configure.reached);
    EXPECT_EQ(Run(m_clean, {L"/opt/none"}), 1U);
    EXPECT_EQ(m_output.err, "ERROR: qdn-configure has to be run as root.\n");
}

TEST_F(Commands, Fail_WhenAFormerApplyCannotBeFinished) {
    testfiles::Write("/var/lib/qdn-configure/stores", "x");
    EXPECT_EQ(Run(m_configure, {L"-quiet"}), 1U);
    EXPECT_TRUE(m_output.err.starts_with("ERROR: ")) << m_output.err;
    EXPECT_FALSE(m_configure.reached);
    EXPECT_EQ(Run(m_clean, {L"/opt/none"}), 1U);
    EXPECT_TRUE(m_output.err.starts_with("ERROR: ")) << m_output.err;
    std::filesystem::remove_all("/var/lib/qdn-configure");
}

TEST_F(Commands, DescribeThemselvesInALine) {
    EXPECT_EQ(m_configure.Description(),
              L"Automatically configure/upgrade an installation from an XML config file.");
    EXPECT_EQ(m_interactive.Description(),
              L"Interactively configure/reconfigure an installation ignoring any XML file.");
    EXPECT_EQ(m_clean.Description(), L"Remove qdn-configure created files prior to uninstall.");
    EXPECT_EQ(PreviewCommand(L"1.0").Description(), L"Show what a command would do, and change nothing.");
    EXPECT_EQ(ApplyCommand(L"1.0").Description(),
              L"Have a command take effect as a whole, or leave the host as it was.");
    EXPECT_EQ(StatusCommand(L"1.0").Description(),
              L"Tell what is installed and whether it is as configured; change nothing.");
}

TEST_F(Commands, ShowTheirUsage) {
    EXPECT_EQ(
        Captured([&] { m_clean.Usage(L"P"); }).out,
        "P <Agent-Base-Dir> [-quiet]\n\nRemove all files previously created by qdn-configure.\n\nOptions:\n\n"
        "<Agent-Base-Dir>\n\tAbsolute path to the Zorvane Agent for UNIX and Linux installation root.\n\n"
        "-quiet\n\t[optional] Generate no output.\n\n");
    EXPECT_EQ(
        Captured([&] { m_configure.Usage(L"P"); }).out,
        "P [options]\n\nAutomatically configure/upgrade an installation from an XML config file.\n\n"
        "Options:\n\n-noimode\n"
        "\t\t[optional] By default, if utility fails to find\teither a previously installed agent or an "
        "XML-formatted \tconfiguration file, it steps into the interactive mode.\tBy specifying this option, "
        "you may disable this behaviour.\n\n-nosearch\n"
        "\t[optional] Do not search for the installed agent.\n\n-dir <Agent-Base-Dir>\n"
        "\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n-quiet\n"
        "\t[optional] Generate no output.\n\n");
    EXPECT_EQ(
        Captured([&] { m_interactive.Usage(L"P"); }).out,
        "P [-quiet]\n\nInteractively configure/reconfigure an installation ignoring any XML file.\n\n"
        "Options:\n\n-nosearch\n\t[optional] Do not search for the installed agent.\n\n"
        "-dir <Agent-Base-Dir>\n\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n\n"
        "-quiet\n\t[optional] Generate no output.\n\n");
}

TEST_F(Commands, ShowEachOptionOfAPreviewAnApplyAndAStatus) {
    EXPECT_EQ(Captured([] { PreviewCommand(L"1.0").Usage(L"P"); }).out,
              "P [-json] [-exit-code] [-out <file>] <command> [options of the command]\n\n"
              "Show what a command would do, and change nothing.\n\nOptions:\n\n"
              "-json\n\t[optional] Write one JSON document instead of text.\n\n"
              "-exit-code\n\t[optional] Return 2 instead of 0 if something would change.\n\n"
              "-out <file>\n\t[optional] Keep the document in a file that only its owner can read.\n\n"
              "<command>\n\t-configure, -iconfigure or -clean, with its options.\n\n");
    EXPECT_EQ(
        Captured([] { ApplyCommand(L"1.0").Usage(L"P"); }).out,
        "P [-json] [-yes] [-or-plainly] [-plan <file>] [-wait <seconds>] <command> [options of the "
        "command]\n\nHave a command take effect as a whole, or leave the host as it was.\n\nOptions:\n\n"
        "-json\n\t[optional] Write one JSON document instead of text.\n\n"
        "-yes\n\t[optional] Do not ask; needed where there is no terminal.\n\n"
        "-or-plainly\n\t[optional] Where no preview is possible, run the command without one; not with "
        "-json.\n\n"
        "-plan <file>\n\t[optional] Refuse if it would do anything but what this document of -preview -out "
        "says.\n\n"
        "-wait <seconds>\n\t[optional] How long a started agent may take until it stays up: 2 to 3600, "
        "usually 10.\n\n"
        "<command>\n\t-configure, -iconfigure or -clean, with its options.\n\n");
    EXPECT_EQ(
        Captured([] { StatusCommand(L"1.0").Usage(L"P"); }).out,
        "P [-json] [-connect] [<Agent-Base-Dir>]\n\n"
        "Tell what is installed and whether it is as configured; change nothing.\n\nOptions:\n\n"
        "-json\n\t[optional] Write one JSON document instead of text.\n\n"
        "-connect\n\t[optional] Try to reach the Kell Server, too.\n\n"
        "<Agent-Base-Dir>\n\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n\n");
}

TEST_F(Commands, WantNoBannerWhereTheyWriteADocumentOnly) {
    const struct {
        Arguments words;
        bool preview, status;
    } table[] = {
        {{L"-preview", L"-json", L"-configure"}, true, false},
        {{L"-preview", L"-exit-code", L"-out", L"/plan", L"-json", L"-clean", L"/opt"}, true, false},
        {{L"-preview", L"-configure", L"-json"}, false, false},
        {{L"-preview", L"-out", L"-json", L"-configure"}, false, false},
        {{L"-status", L"-json"}, false, true},
        {{L"-status", L"-connect", L"-json", L"/opt"}, false, true},
        {{L"-status", L"-connect"}, false, false},
        {{L"-status", L"-nothing", L"-json"}, false, false},
        {{L"-configure", L"-json"}, false, false},
        {{}, false, false},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.words.size());
        EXPECT_EQ(PreviewCommand::WantsNoBanner(row.words), row.preview);
        EXPECT_EQ(StatusCommand::WantsNoBanner(row.words), row.status);
    }
}

TEST_F(Commands, TheBannerComesBeforeEverything) {
    const char* arguments[] = {"qdn-configure.bin", nullptr};
    AgentInstaller application(1, arguments);
    int status = 0;
    const auto output = Captured([&] { status = application.AppMain(); });
    EXPECT_EQ(status, 120);
    EXPECT_TRUE(output.out.starts_with("Zorvane Agent for UNIX and Linux Configuration utility.\n"));
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
