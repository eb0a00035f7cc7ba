// What counts as an answer to a question: the check of each kind.
#include "settings/AnswerValidation.h"

#include <algorithm>

#include "corekit/fs/File.h"
#include "corekit/text/Ascii.h"
#include "run/Messages.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

/// A file name or a line of client.conf would end there.
bool HasNul(const String& answer) {
    return std::ranges::find(answer, L'\0') != answer.end();
}

bool IsAllowed(const Question& question, const String& answer) {
    if (question.key == L"KSName") return ServerUrl(answer).IsValid();
    const String allowed(question.allowed);
    return allowed.IsEmpty() || allowed.Lower().Contains(L":" + answer.Lower() + L":");
}

bool IsDirectory(String& answer) {
    answer = MakeAbsolutePath(answer);
    const bool exists = corekit::File::IsDirectory(answer);
    if (!exists) Messages::Tell(L"  Directory does not exist.\n");
    return exists;
}

bool IsYesOrNo(String& answer) {
    const String initial = answer.Lower().Left(1);
    if (initial != L"y" && initial != L"n") return false;
    answer = initial == L"y" ? L"yes" : L"no";
    return true;
}

bool IsNumber(const String& answer) {
    return std::ranges::all_of(answer, corekit::IsDigit);
}

bool IsOfKind(const Question& question, String& answer) {
    switch (question.kind) {
        case AnswerKind::Text:
            return IsAllowed(question, answer);
        case AnswerKind::Directory:
            return IsDirectory(answer);
        case AnswerKind::NonEmpty:
            return true;
        case AnswerKind::YesNo:
            return IsYesOrNo(answer);
        case AnswerKind::Digits:
            return IsNumber(answer);
    }
    return false;
}

}  // namespace

bool RefuseAnswer() {
    Messages::Tell(L"  Invalid value entered. Please re-enter or Ctrl-C to cancel.\n");
    return false;
}

bool ValidateAnswer(const Question& question, String& answer) {
    const bool ok = !answer.IsEmpty() && !HasNul(answer);
    return (IsOfKind(question, answer) && ok) || RefuseAnswer();
}

}  // namespace Zorvane::AgentInstaller
