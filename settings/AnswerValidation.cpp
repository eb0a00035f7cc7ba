// What counts as an answer to a question: the check of each kind.
#include "settings/AnswerValidation.h"

#include <algorithm>

#include "corekit/fs/File.h"
#include "corekit/text/Character.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace File = corekit::File;

namespace {

/// How an answer is judged: the form in which it is stored, or none and what to say about it first.
struct Judgement {
    std::optional<String> stored;
    const wchar_t* complaint = L"";
};

Judgement If(bool isGood, const String& stored) {
    return {isGood ? std::optional(stored) : std::nullopt};
}

/// One that steers a terminal, or breaks a line of client.conf. (The bytes of another character set count as
/// none.)
bool HasControlCharacter(const String& answer) {
    return std::ranges::any_of(answer, [](wchar_t character) {
        const auto code =
            static_cast<char32_t>(character);  // whether wchar_t has a sign depends on the machine
        return code < 0x20 || (code >= 0x7F && code < 0xA0);
    });
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
    const String directory = WithoutTrailingSlashes(path);
    if (File::Exists(directory + Names::kClientProto)) return {directory};
    return {std::nullopt, L"  There is no agent package in this directory.\n"};
}

Judgement JudgeYesOrNo(const String& answer) {
    const String initial = answer.Lower().Left(1);
    if (initial == L"y") return {L"yes"};
    return If(initial == L"n", L"no");
}

Judgement Judge(const Question& question, const String& answer) {
    if (answer.IsEmpty() || HasControlCharacter(answer)) return {};
    switch (question.kind) {
        case AnswerKind::Text:
            return If(IsAllowed(question, answer), answer);
        case AnswerKind::Directory:
            return JudgeDirectory(question, answer);
        case AnswerKind::NonEmpty:
            return {answer};
        case AnswerKind::YesNo:
            return JudgeYesOrNo(answer);
        case AnswerKind::Digits:
            return If(std::ranges::all_of(answer, corekit::IsDigit), answer);
    }
    return {};
}

}  // namespace

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
