// The dialogue of the interactive configuration: input that ends, is too long, or would steer the terminal.
#include <cstdio>

#include "tests/unit/settings/QuestionnaireFixture.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;

using testsupport::Captured;
using testsupport::StandardInput;

TEST_F(Questionnaire, TheEndOfTheInputEndsItAndKeepsWhatWasAnswered) {
    EXPECT_FALSE(Run("srv\n/opt/zorvane\n"));
    EXPECT_EQ(m_outcome.error().text, L"Error reading from standard input.");
    EXPECT_EQ(Setting(L"KSName"), L"srv");
    EXPECT_EQ(Setting(L"InstallDir"), L"/opt/zorvane");
    EXPECT_EQ(Setting(L"RunLevel"), L"rc2;rc3;rc5");
    EXPECT_FALSE(m_settings->Exists(L"IsInteractive"));
    EXPECT_TRUE(m_output.out.ends_with(Asked(L"Upgrade", "yes") + "\n")) << m_output.out;
}

TEST_F(Questionnaire, TheInputMayEndAtAnyQuestion) {
    const struct {
        SettingName setting;
        const char* typed;
        const wchar_t* stored;
    } answers[] = {
        {L"KSName", "new", L"new"},
        {L"InstallDir", "/opt/zorvane", L"/opt/zorvane"},
        {L"Upgrade", "yup", L"yes"},
        {L"AllowNonRoot", "n", L"no"},
        {L"RunLevel", "5", L"5"},
        {L"LogDir", "/new/log", L"/new/log"},
        {L"LogFile", "new.log", L"new.log"},
        {L"LogSize", "8", L"8"},
        {L"LogLevel", "debug", L"debug"},
        {L"SysLogLevel", "info", L"info"},
        {L"BinDir", "/opt", L"/opt"},
        {L"TempDir", "/new/tmp", L"/new/tmp"},
        {L"EventQueueDir", "/new/queue", L"/new/queue"},
        {L"TasksDir", "/new/tasks", L"/new/tasks"},
        {L"Start", "n", L"no"},
    };
    std::string typed;
    for (std::size_t given = 0; given < std::size(answers); ++given) {
        SCOPED_TRACE(std::to_string(given) + " answers");
        m_settings = DefaultSettings();
        EXPECT_FALSE(Run(typed));
        EXPECT_EQ(m_outcome.error().text, L"Error reading from standard input.");
        const auto before = DefaultSettings();
        for (std::size_t i = 0; i < std::size(answers); ++i) {
            SettingName setting = answers[i].setting;
            EXPECT_EQ(m_settings->Get(setting), i < given ? answers[i].stored : before->Get(setting));
        }
        EXPECT_FALSE(m_settings->Exists(L"IsInteractive"));
        typed += answers[given].typed + std::string("\n");
    }
    EXPECT_TRUE(Run(typed));
}

TEST_F(Questionnaire, InputThatCannotBeReadEndsItToo) {
    const StandardInput none("");
    ASSERT_NE(std::freopen("/", "r", stdin), nullptr);
    Captured([&] { m_outcome = RunQuestionnaire(*m_settings); });
    ASSERT_FALSE(m_outcome);
    EXPECT_EQ(m_outcome.error().text, L"Error reading from standard input.");
}

TEST_F(Questionnaire, ALineThatIsTooLongIsRefusedAsAWhole) {
    EXPECT_TRUE(Run(std::string(5000, 'x') + "\nsrv\n" + kRestByDefault));
    const std::string asked = Asked(L"KSName", "");
    EXPECT_TRUE(m_output.out.starts_with(kIntroduction + asked + kInvalid + asked +
                                         Asked(L"InstallDir", "/opt/zorvane/kell/ksagent")));
    EXPECT_EQ(Setting(L"KSName"), L"srv");
}

TEST_F(Questionnaire, TheLongestLineFits) {
    EXPECT_EQ(Ask(L"LogFile", L"d", std::string(4094, 'x') + "\nrest\n"), String(std::wstring(4094, L'x')));
}

TEST_F(Questionnaire, ALineOneByteLongerDoesNotFit) {
    EXPECT_EQ(Ask(L"LogFile", L"d", std::string(4095, 'x') + "\nnext\n"), L"next");
    EXPECT_EQ(m_output.out, Asked(L"LogFile", "d") + kInvalid + Asked(L"LogFile", "d"));
}

TEST_F(Questionnaire, ALineThatIsTooLongMayBeTheLast) {
    EXPECT_EQ(Ask(L"LogFile", L"d", std::string(5000, 'x')), L"Error reading from standard input.");
}

TEST_F(Questionnaire, BlanksAroundAnAnswerDoNotCount) {
    for (const char* typed : {"  two  words \t\n", "two  words\r\n", "\ttwo  words\v\f\n", "two  words"}) {
        SCOPED_TRACE(typed);
        EXPECT_EQ(Ask(L"LogFile", L"d", typed), L"two  words");
    }
}

TEST_F(Questionnaire, NothingThatWasTypedComesBackOnTheTerminal) {
    EXPECT_FALSE(Run("\033[31mred\n"));
    EXPECT_EQ(m_output.out, kIntroduction + Asked(L"KSName", "") + kInvalid + Asked(L"KSName", "") + "\n");
}

TEST_F(Questionnaire, RefusesAControlCharacterThatWasTypedOrProposed) {
    Setting(L"LogFile") = L"a\033[31m\u0085b\u00e4";
    EXPECT_TRUE(Run("srv\n\n\n\n\n\n\nx\ty\nx.log\n" + kRestByDefault));
    const std::string asked = Asked(L"LogFile", "a\\x1b[31m\\x85b\xc3\xa4");
    EXPECT_NE(m_output.out.find(asked + kInvalid + asked + kInvalid + asked), std::string::npos)
        << m_output.out;
    EXPECT_EQ(Setting(L"LogFile"), L"x.log");
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
    EXPECT_EQ(Ask(L"LogSize", L"256", "loud\n12k\n\n"), L"256");
    const std::string asked = Asked(L"LogSize", "256");
    EXPECT_EQ(m_output.out, asked + kInvalid + asked + kInvalid + asked);
}

TEST_F(Questionnaire, OneQuestionEndsWithTheInput) {
    EXPECT_EQ(Ask(L"LogSize", L"256", "loud\n"), L"Error reading from standard input.");
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
