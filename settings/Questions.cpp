// The questions of the interactive configuration: their table, and the check of each kind of answer.
#include <algorithm>
#include <iterator>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/text/Character.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/PathMacros.h"
#include "settings/Questionnaire.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace File = corekit::File;

namespace {

constexpr Question kQuestions[] = {
    {L"KSName",
     L"Name or IP of Kell Server? If your server uses HTTPS or a non-default port, it is necessary to "
     L"specify the full URL.\nExample:  https://kellserver.example.com:8083",
     L"", AnswerKind::Text, L""},
    {L"InstallDir", L"The directory the Agent package has been installed to?", Names::kUsualInstallDir,
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

/// How an answer is judged: the form in which it is stored, or none and what to say about it first.
struct Judgement {
    std::optional<String> stored;
    const wchar_t* complaint = L"";
};

Judgement StoredIf(bool isGood, const String& stored) {
    return {isGood ? std::optional(stored) : std::nullopt};
}

bool IsAllowed(const Question& question, const String& answer) {
    if (question.key == L"KSName") return ServerUrl(answer).IsValid();
    const String allowed(question.allowed);
    return allowed.IsEmpty() || allowed.Lower().Contains(L":" + answer.Lower() + L":");
}

Judgement JudgeDirectory(const Question& question, const String& answer) {
    const bool isInstallDir = question.key == L"InstallDir";
    const String path = MakeAbsolutePath(answer);
    if (!File::IsDirectory(path)) return {std::nullopt, L"  Directory does not exist.\n"};
    if (!isInstallDir) return {path};
    const String directory = corekit::Path::WithoutTrailingSlashes(path);
    if (File::Exists(directory + Names::kClientProto)) return {directory};
    return {std::nullopt, L"  There is no agent package in this directory.\n"};
}

Judgement JudgeYesOrNo(const String& answer) {
    const String initial = answer.Lower().Left(1);
    if (initial == L"y") return {L"yes"};
    return StoredIf(initial == L"n", L"no");
}

Judgement Judge(const Question& question, const String& answer) {
    // A control character would steer a terminal or break a line of client.conf.
    if (answer.IsEmpty() || std::ranges::any_of(answer, corekit::IsControl)) return {};
    switch (question.kind) {
        case AnswerKind::Text:
            return StoredIf(IsAllowed(question, answer), answer);
        case AnswerKind::Directory:
            return JudgeDirectory(question, answer);
        case AnswerKind::NonEmpty:
            return {answer};
        case AnswerKind::YesNo:
            return JudgeYesOrNo(answer);
        case AnswerKind::Digits:
            return StoredIf(std::ranges::all_of(answer, corekit::IsDigit), answer);
    }
    return {};
}

}  // namespace

std::span<const Question> Questions() {
    return kQuestions;
}

bool IsQuestionKey(SettingName setting) {
    return std::ranges::find(kQuestions, setting, &Question::key) != std::end(kQuestions);
}

void RefuseAnswer() {
    Messages::Tell(L"  Invalid value entered. Please re-enter or Ctrl-C to cancel.\n");
}

std::optional<String> ValidateAnswer(const Question& question, const String& answer) {
    const Judgement judgement = Judge(question, answer);
    if (!judgement.stored) {
        Messages::Tell(judgement.complaint);
        RefuseAnswer();
    }
    return judgement.stored;
}

}  // namespace Zorvane::AgentInstaller
