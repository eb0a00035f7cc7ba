// The questions of the interactive configuration: texts, defaults, and what counts as an answer of each kind.
#include <filesystem>
#include <gtest/gtest.h>

#include "settings/Questionnaire.h"
#include "tests/support/PrintString.h"
#include "tests/support/TestFiles.h"
#include "tests/unit/settings/QuestionnaireFixture.h"

namespace Zorvane::AgentInstaller {

namespace {

using corekit::String;

constexpr Question kExpected[] = {
    {L"KSName",
     L"Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to "
     L"specify the full URL.\nExample:  https://kellserver.example.com:8083",
     L"", AnswerKind(0), L""},
    {L"InstallDir", L"The directory the Agent package has been installed to?", L"/opt/zorvane/kell/ksagent",
     AnswerKind(1), L""},
    {L"Upgrade", L"Do you want to keep old settings?", L"yes", AnswerKind(3), L""},
    {L"AllowNonRoot", L"Allow program execution by unprivileged users?", L"yes", AnswerKind(3), L""},
    {L"RunLevel", L"Which Run levels should the agent be installed in?", L"rc2;rc3;rc5", AnswerKind(2), L""},
    {L"LogDir", L"In which directory should the Agent's log file be stored?", L"%INSTDIR%/var", AnswerKind(0),
     L""},
    {L"LogFile", L"What should the name of the Agent's log file be?", L"qdn-client.log", AnswerKind(0), L""},
    {L"LogSize", L"What should be the maximum size, in kilobytes, of the Agent's log file?", L"256",
     AnswerKind(4), L""},
    {L"LogLevel",
     L"What level of logging should be used for the Agent's log file "
     L"(error,warning,info,debug,dbgverbose,devnote)?",
     L"Error", AnswerKind(0), L":devnote:debug:dbgverbose:info:warning:error:"},
    {L"SysLogLevel",
     L"What level of logging should be used for the system log file (none,error,warning,info)?", L"None",
     AnswerKind(0), L":none:info:warning:error:"},
    {L"BinDir", L"Directory to use, which should be in the PATH, to create links to the Agent's binaries?",
     L"/usr/bin", AnswerKind(1), L""},
    {L"TempDir", L"Temporary directory for the Agent's use?", L"/tmp", AnswerKind(0), L""},
    {L"EventQueueDir", L"Agent's event queue directory (default recommended)?", L"%INSTDIR%/var/queue",
     AnswerKind(0), L""},
    {L"TasksDir", L"Agent's tasks directory (default recommended)?", L"%INSTDIR%/var/tasks", AnswerKind(0),
     L""},
    {L"Start", L"Do you want the Agent started after configuration?", L"yes", AnswerKind(3), L""},
};

TEST(Questions, AreTheseInThisOrder) {
    const auto questions = Questions();
    ASSERT_EQ(questions.size(), std::size(kExpected));
    for (std::size_t row = 0; row < questions.size(); ++row) {
        EXPECT_EQ(String(questions[row].key), kExpected[row].key);
        EXPECT_EQ(String(questions[row].prompt), kExpected[row].prompt);
        EXPECT_EQ(String(questions[row].defaultAnswer), kExpected[row].defaultAnswer);
        EXPECT_EQ(questions[row].kind, kExpected[row].kind) << String(kExpected[row].key).Utf8();
        EXPECT_EQ(String(questions[row].allowed), kExpected[row].allowed);
    }
}

TEST(Questions, KnowTheirSettingsExactly) {
    for (const Question& question : kExpected) EXPECT_TRUE(IsQuestionKey(question.key));
    for (const SettingName other : std::initializer_list<SettingName>{
             {}, L"PackagesDir", L"SWDDir", L"UseDomain", L"CAInfo", L"Guid", L"IsInteractive"})
        EXPECT_FALSE(IsQuestionKey(other)) << String(other.View()).Utf8();
}

}  // namespace

namespace {

using testsupport::Captured;

constexpr const char* kNoDirectory = "  Directory does not exist.\n";

struct Answer {
    SettingName key;
    const wchar_t* typed;
    const wchar_t* stored;  // null: refused
};
constexpr Answer kAnswers[] = {
    {L"KSName", L"", nullptr},
    {L"KSName", L"two words", nullptr},
    {L"KSName", L"srv:port", nullptr},
    {L"KSName", L"http://", nullptr},
    {L"KSName", L"gopher://srv", L"gopher://srv"},
    {L"KSName", L"SRV", L"SRV"},
    {L"Upgrade", L"Yep", L"yes"},
    {L"Upgrade", L"y", L"yes"},
    {L"Upgrade", L"YES", L"yes"},
    {L"Upgrade", L"nope", L"no"},
    {L"Upgrade", L"N", L"no"},
    {L"Upgrade", L"", nullptr},
    {L"Upgrade", L"true", nullptr},
    {L"Upgrade", L"1", nullptr},
    {L"Upgrade", L"\u00ffes", nullptr},
    {L"RunLevel", L"", nullptr},
    {L"RunLevel", L"whatever", L"whatever"},
    {L"LogDir", L"", nullptr},
    {L"LogDir", L"no such directory", L"no such directory"},
    {L"LogFile", L"", nullptr},
    {L"LogFile", L"a:b", L"a:b"},
    {L"LogSize", L"", nullptr},
    {L"LogSize", L"0", L"0"},
    {L"LogSize", L"007", L"007"},
    {L"LogSize", L"12k", nullptr},
    {L"LogSize", L"-1", nullptr},
    {L"LogSize", L"1 2", nullptr},
    {L"LogSize", L"\u0662", nullptr},
    {L"LogLevel", L"", nullptr},
    {L"LogLevel", L"ERROR", L"ERROR"},
    {L"LogLevel", L"devnote", L"devnote"},
    {L"LogLevel", L"debug", L"debug"},
    {L"LogLevel", L"dbgverbose", L"dbgverbose"},
    {L"LogLevel", L"info", L"info"},
    {L"LogLevel", L"Warning", L"Warning"},
    {L"LogLevel", L"none", nullptr},
    {L"LogLevel", L"err", nullptr},
    {L"LogLevel", L":", nullptr},
    {L"LogLevel", L"info:error", nullptr},
    {L"LogLevel", L"debug:dbgverbose", L"debug:dbgverbose"},  // as the list of words has it
    {L"SysLogLevel", L"NONE", L"NONE"},
    {L"SysLogLevel", L"warning", L"warning"},
    {L"SysLogLevel", L"debug", nullptr},
};

TEST(ValidateAnswer, AcceptsAndRewritesByTheKindOfTheQuestion) {
    for (const Answer& row : kAnswers) {
        std::optional<String> answer;
        const auto output = Captured([&] { answer = ValidateAnswer(QuestionFor(row.key), row.typed); });
        const std::string what = String(row.key).Utf8() + " " + String(row.typed).Utf8();
        EXPECT_EQ(answer.has_value(), row.stored != nullptr) << what;
        EXPECT_EQ(output.out, row.stored ? "" : kInvalid) << what;
        EXPECT_TRUE(!row.stored || answer == String(row.stored)) << what << " became " << answer->Utf8();
    }
}

TEST(ValidateAnswer, RefusesControlCharacters) {
    for (const SettingName key :
         std::initializer_list<SettingName>{L"KSName", L"Upgrade", L"RunLevel", L"LogFile", L"LogSize"}) {
        SCOPED_TRACE(String(key).Utf8());
        for (const wchar_t control : {L'\0', L'\t', L'\033', L'\x7f', L'\x85'}) {
            const String answer = String(L"yes") + String(std::wstring(1, control));
            EXPECT_EQ(Captured([&] { EXPECT_FALSE(ValidateAnswer(QuestionFor(key), answer)); }).out,
                      kInvalid);
        }
    }
}

TEST(ValidateAnswer, RefusesAKindThatItDoesNotKnow) {
    const Question question = {{}, L"?", L"", AnswerKind(9), L""};
    String answer = L"x";
    EXPECT_EQ(Captured([&] { EXPECT_FALSE(ValidateAnswer(question, answer)); }).out, kInvalid);
}

class ValidateDirectory : public testing::Test {
  protected:
    ValidateDirectory() {
        std::filesystem::create_directories(m_directory / "agent/etc");
        std::filesystem::create_directory_symlink(m_directory / "agent", m_directory / "link");
        testfiles::Write(m_directory / "file", "");
        std::filesystem::current_path(m_directory.Path());
    }
    ~ValidateDirectory() override { std::filesystem::current_path("/"); }

    /// What is written about the answer; "" when it is accepted.
    std::string Refusal(const String& typed, SettingName key = L"BinDir") {
        std::optional<String> answer;
        const auto output = Captured([&] { answer = ValidateAnswer(QuestionFor(key), typed); });
        EXPECT_EQ(answer.has_value(), output.out.empty());
        m_answer = answer.value_or(typed);
        return output.out;
    }
    String Below(const std::string& name) { return String::FromUtf8(m_directory / name); }

    testfiles::TempDir m_directory;
    String m_answer;
};

TEST_F(ValidateDirectory, TakesADirectoryInItsAbsoluteForm) {
    EXPECT_EQ(Refusal(Below("agent")), "");
    EXPECT_EQ(m_answer, Below("agent"));
    EXPECT_EQ(Refusal(L"agent"), "");
    EXPECT_EQ(m_answer, Below("agent"));
    EXPECT_EQ(Refusal(Below("link")), "");
    EXPECT_EQ(m_answer, Below("link"));
}

TEST_F(ValidateDirectory, RefusesWhatIsNoDirectoryInTwoLines) {
    EXPECT_EQ(Refusal(L"missing"), std::string(kNoDirectory) + kInvalid);
    EXPECT_EQ(Refusal(Below("file")), std::string(kNoDirectory) + kInvalid);
}

TEST_F(ValidateDirectory, RefusesAnInstallDirectoryWithoutAnAgentPackage) {
    EXPECT_EQ(Refusal(Below("agent"), L"InstallDir"),
              std::string("  There is no agent package in this directory.\n") + kInvalid);
    EXPECT_EQ(Refusal(Below("missing"), L"InstallDir"), std::string(kNoDirectory) + kInvalid);
    testfiles::Write(m_directory / "agent/etc/client.proto", "");
    EXPECT_EQ(Refusal(Below("agent"), L"InstallDir"), "");
}

TEST_F(ValidateDirectory, DropsTheSlashesAtTheEndOfAnInstallDirectory) {
    testfiles::Write(m_directory / "agent/etc/client.proto", "");
    EXPECT_EQ(Refusal(Below("agent//"), L"InstallDir"), "");
    EXPECT_EQ(m_answer, Below("agent"));
}

TEST_F(ValidateDirectory, RefusesAnEmptyAnswerInOneLine) {
    EXPECT_EQ(Refusal(L""), kInvalid);
}

}  // namespace

}  // namespace Zorvane::AgentInstaller
