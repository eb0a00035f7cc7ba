// The dialogue of the interactive configuration: input that ends, is too long, or would steer the terminal.
#include <cstdio>

#include "run/Error.h"
#include "tests/support/Terminal.h"
#include "tests/unit/settings/QuestionnaireFixture.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

using testsupport::Captured;
using testsupport::StandardInput;

TEST_F(Questionnaire, TheEndOfTheInputEndsItAndKeepsWhatWasAnswered) {
    EXPECT_FALSE(Run("srv\n/opt/zorvane\n"));
    EXPECT_EQ(Error::m_sErrorText, L"Error reading from standard input.");
    EXPECT_EQ(Setting(L"KSName"), L"srv");
    EXPECT_EQ(Setting(L"InstallDir"), L"/opt/zorvane");
    EXPECT_EQ(Setting(L"RunLevel"), L"rc2;rc3;rc5");
    EXPECT_FALSE(m_settings->Exists(L"IsInteractive"));
    EXPECT_TRUE(m_output.out.ends_with(Asked(L"Upgrade", "yes"))) << m_output.out;
}

TEST_F(Questionnaire, InputThatCannotBeReadEndsItToo) {
    const StandardInput none("");
    ASSERT_NE(std::freopen("/", "r", stdin), nullptr);
    bool ok = true;
    Captured([&] { ok = RunQuestionnaire(*m_settings); });
    EXPECT_FALSE(ok);
    EXPECT_EQ(Error::m_sErrorText, L"Error reading from standard input.");
}

TEST_F(Questionnaire, ALineThatIsTooLongIsRefusedAsAWhole) {
    EXPECT_TRUE(Run(std::string(5000, 'x') + "\nsrv\n" + kRestByDefault));
    const std::string asked = Asked(L"KSName", "");
    EXPECT_TRUE(m_output.out.starts_with(kIntroduction + asked + kInvalid + asked +
                                         Asked(L"InstallDir", "/opt/zorvane/kell/ksagent")));
    EXPECT_EQ(Setting(L"KSName"), L"srv");
}

TEST_F(Questionnaire, NothingThatWasTypedComesBackOnTheTerminal) {
    EXPECT_FALSE(Run("\033[31mred\n"));
    EXPECT_EQ(m_output.out, kIntroduction + Asked(L"KSName", "") + kInvalid + Asked(L"KSName", ""));
}

TEST_F(Questionnaire, AProposalIsShownWithoutControlCharactersAndStoredWithThem) {
    Setting(L"LogFile") = L"a\033[31m\u0085b\u00e4";
    EXPECT_TRUE(Run("srv\n" + kRestByDefault));
    EXPECT_NE(m_output.out.find(Asked(L"LogFile", "a\\x1b[31m\\x85b\xc3\xa4")), std::string::npos);
    EXPECT_EQ(Setting(L"LogFile"), L"a\033[31m\u0085b\u00e4");
}

TEST_F(Questionnaire, AProposalIsInTheLocalCharacterSet) {
    const testsupport::EnvironmentVariable charset("LC_ALL", "de_DE.ISO-8859-1");
    Setting(L"LogFile") = L"\u00e4.log";
    EXPECT_TRUE(Run("srv\n\n\n\n\n\n\xf6.log\n" + kRestByDefault));
    EXPECT_NE(m_output.out.find(Asked(L"LogFile", "\xe4.log")), std::string::npos);
    EXPECT_EQ(Setting(L"LogFile"), L"\u00f6.log");
}

TEST_F(Questionnaire, TheLastLineMayLackItsEnd) {
    EXPECT_TRUE(Run("srv\n\n\n\n\n\n\n\n\n\n\n\n\n\nn"));
    EXPECT_EQ(Setting(L"Start"), L"no");
}

TEST_F(Questionnaire, OneQuestionIsAskedUntilItsAnswerIsValid) {
    const StandardInput input("loud\n12k\n\n");
    String answer;
    const auto output = Captured([&] { EXPECT_TRUE(AskQuestion(QuestionFor(L"LogSize"), L"256", answer)); });
    const std::string asked = Asked(L"LogSize", "256");
    EXPECT_EQ(output.out, asked + kInvalid + asked + kInvalid + asked);
    EXPECT_EQ(answer, L"256");
}

TEST_F(Questionnaire, OneQuestionEndsWithTheInput) {
    const StandardInput input("loud\n");
    String answer;
    Captured([&] { EXPECT_FALSE(AskQuestion(QuestionFor(L"LogSize"), L"256", answer)); });
    EXPECT_EQ(Error::m_sErrorText, L"Error reading from standard input.");
}

TEST_F(Questionnaire, OnATerminalEachAnswerIsTypedBehindItsQuestion) {
    testsupport::Terminal terminal([] {
        const auto settings = DefaultSettings();
        return RunQuestionnaire(*settings) && settings->Get(L"KSName") == L"srv:8083" &&
               settings->Get(L"KSProtocol") == L"https" && settings->Get(L"LogSize") == L"512";
    });
    terminal.ReadUntil("https://kellserver.example.com:8083 (): ");
    terminal.Type("https://srv:8083\n");
    terminal.ReadUntil("(/opt/zorvane/kell/ksagent): ");
    terminal.Type("\n");
    for (int question = 3; question <= 7; ++question) {
        terminal.ReadUntil("): ");
        terminal.Type("\n");
    }
    terminal.ReadUntil("Agent's log file? (256): ");
    terminal.Type("512k\n");
    terminal.ReadUntil("or Ctrl-C to cancel.\r\n");
    terminal.ReadUntil("Agent's log file? (256): ");
    terminal.Type("512\n");
    for (int question = 9; question <= 15; ++question) {
        terminal.ReadUntil("): ");
        terminal.Type("\n");
    }
    EXPECT_EQ(terminal.ExitStatus(), 0);
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
