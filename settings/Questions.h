// The fifteen questions of the interactive configuration.
#pragma once

#include <span>

#include "corekit/String.h"

namespace Zorvane::AgentInstaller {

/// What an answer must be.
enum class AnswerKind : int { Text = 0, Directory = 1, NonEmpty = 2, YesNo = 3, Digits = 4 };

struct Question {
    const wchar_t* key;  // the setting that the answer becomes
    const wchar_t* prompt;
    const wchar_t* defaultAnswer;
    AnswerKind kind;
    const wchar_t* allowed;  // for Text: the permitted words, as in ":none:info:"; "" permits any
};

/// All of them, in asking order.
std::span<const Question> Questions();

/// Is the setting one that the questionnaire asks for?
bool IsQuestionKey(const corekit::String& setting);

}  // namespace Zorvane::AgentInstaller
