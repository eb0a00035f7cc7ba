// The questions of the interactive configuration: their texts, defaults and kinds.
#include <gtest/gtest.h>

#include "settings/Questions.h"
#include "tests/support/PrintString.h"

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
}  // namespace Zorvane::AgentInstaller
