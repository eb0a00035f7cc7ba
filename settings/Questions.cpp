// The questions of the interactive configuration: their table.
#include "settings/Questions.h"

#include <algorithm>
#include <iterator>

namespace Zorvane::AgentInstaller {

namespace {

constexpr Question kQuestions[] = {
    {L"KSName",
     L"Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to "
     L"specify the full URL.\nExample:  https://kellserver.example.com:8083",
     L"", AnswerKind::Text, L""},
    {L"InstallDir", L"The directory the Agent package has been installed to?", L"/opt/zorvane/kell/ksagent",
     AnswerKind::Directory, L""},
    {L"Upgrade", L"Do you want to keep old settings?", L"yes", AnswerKind::YesNo, L""},
    {L"AllowNonRoot", L"Allow program execution by unprivileged users?", L"yes", AnswerKind::YesNo, L""},
    {L"RunLevel", L"Which Run levels should the agent be installed in?", L"rc2;rc3;rc5", AnswerKind::NonEmpty,
     L""},
    {L"LogDir", L"In which directory should the Agent's log file be stored?", L"%INSTDIR%/var",
     AnswerKind::Text, L""},
    {L"LogFile", L"What should the name of the Agent's log file be?", L"qdn-client.log", AnswerKind::Text,
     L""},
    {L"LogSize", L"What should be the maximum size, in kilobytes, of the Agent's log file?", L"256",
     AnswerKind::Digits, L""},
    {L"LogLevel",
     L"What level of logging should be used for the Agent's log file "
     L"(error,warning,info,debug,dbgverbose,devnote)?",
     L"Error", AnswerKind::Text, L":devnote:debug:dbgverbose:info:warning:error:"},
    {L"SysLogLevel",
     L"What level of logging should be used for the system log file (none,error,warning,info)?", L"None",
     AnswerKind::Text, L":none:info:warning:error:"},
    {L"BinDir", L"Directory to use, which should be in the PATH, to create links to the Agent's binaries?",
     L"/usr/bin", AnswerKind::Directory, L""},
    {L"TempDir", L"Temporary directory for the Agent's use?", L"/tmp", AnswerKind::Text, L""},
    {L"EventQueueDir", L"Agent's event queue directory (default recommended)?", L"%INSTDIR%/var/queue",
     AnswerKind::Text, L""},
    {L"TasksDir", L"Agent's tasks directory (default recommended)?", L"%INSTDIR%/var/tasks", AnswerKind::Text,
     L""},
    {L"Start", L"Do you want the Agent started after configuration?", L"yes", AnswerKind::YesNo, L""},
};
static_assert(std::size(kQuestions) == 15);

}  // namespace

std::span<const Question> Questions() {
    return kQuestions;
}

bool IsQuestionKey(SettingName setting) {
    return std::ranges::find(kQuestions, setting, &Question::key) != std::end(kQuestions);
}

}  // namespace Zorvane::AgentInstaller
