// The dialogue of the interactive configuration on a real terminal, with the keys that an administrator has
// there.
#include <csignal>

#include "tests/support/Terminal.h"
#include "tests/unit/settings/QuestionnaireFixture.h"

namespace Zorvane::AgentInstaller {
namespace {

using corekit::String;
using testsupport::Terminal;

constexpr const char* kCtrlC = "\x03";
constexpr const char* kCtrlD = "\x04";
constexpr const char* kCtrlU = "\x15";
constexpr const char* kDelete = "\x7f";

/// The question for the log file's name on a terminal; the child ends with 0 when this is the answer.
class LogFileQuestion : public Terminal {
  public:
    explicit LogFileQuestion(const String& expected)
        : Terminal([&] {
              const auto answer = AskQuestion(QuestionFor(L"LogFile"), L"d");
              return answer && *answer == expected;
          }) {
        EXPECT_EQ(ReadUntil("): "), Asked(L"LogFile", "d"));
    }
};

TEST_F(Questionnaire, OnATerminalEachAnswerIsTypedBehindItsQuestion) {
    testsupport::Terminal terminal([] {
        const auto settings = DefaultSettings();
        return RunQuestionnaire(*settings).has_value() && settings->Get(L"KSName") == L"srv:8083" &&
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

TEST(QuestionnaireOnATerminal, CtrlDEndsIt) {
    Terminal terminal([] {
        const auto answer = AskQuestion(QuestionFor(L"LogFile"), L"d");
        return !answer && answer.error().text == L"Error reading from standard input.";
    });
    terminal.ReadUntil("): ");
    terminal.Type(kCtrlD);
    EXPECT_EQ(terminal.ExitStatus(), 0);
}

TEST(QuestionnaireOnATerminal, CtrlDTwiceAfterATextSendsIt) {
    LogFileQuestion question(L"x.log");
    question.Type("x.log" + std::string(kCtrlD) + kCtrlD);
    EXPECT_EQ(question.ExitStatus(), 0);
}

TEST(QuestionnaireOnATerminal, CtrlCCancels) {
    LogFileQuestion question(L"never");
    question.Type(kCtrlC);
    EXPECT_EQ(question.FatalSignal(), SIGINT);
}

TEST(QuestionnaireOnATerminal, AHangUpCancels) {
    LogFileQuestion question(L"never");
    question.HangUp();
    EXPECT_EQ(question.FatalSignal(), SIGHUP);
}

TEST(QuestionnaireOnATerminal, ALineCanBeEditedBeforeItIsSent) {
    LogFileQuestion question(L"x.log");
    question.Type(std::string("wrong") + kCtrlU + "y" + kDelete + "x.log\n");
    EXPECT_EQ(question.ExitStatus(), 0);
}

TEST(QuestionnaireOnATerminal, TheLongestLineFits) {
    LogFileQuestion question(String(std::wstring(4094, L'x')));
    question.Type(std::string(4094, 'x') + "\n");
    EXPECT_EQ(question.ReadUntil("\r\n"), std::string(4094, 'x') + "\r\n");
    EXPECT_EQ(question.ExitStatus(), 0);
}

TEST(QuestionnaireOnATerminal, ALineThatIsTooLongIsRefusedAsAWhole) {
    for (const std::size_t length : {4095U, 4096U, 10000U}) {
        SCOPED_TRACE(length);
        LogFileQuestion question(L"next");
        question.Type(std::string(length, 'x') + "\n");
        question.ReadUntil("  Invalid value entered. Please re-enter or Ctrl-C to cancel.\r\n");
        EXPECT_EQ(question.ReadUntil("): "), Asked(L"LogFile", "d"));
        question.Type("next\n");
        EXPECT_EQ(question.ExitStatus(), 0);
    }
}

}  // namespace
}  // namespace Zorvane::AgentInstaller
