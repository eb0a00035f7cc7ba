// The fifteen questions of the interactive configuration, and what counts as an answer.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "corekit/text/String.h"
#include "run/Keys.h"

namespace Zorvane::AgentInstaller {

/// What an answer must be.
enum class AnswerKind : int { Text = 0, Directory = 1, NonEmpty = 2, YesNo = 3, Digits = 4 };

struct Question {
    SettingName key;  // the setting that the answer becomes
    std::wstring_view prompt;
    std::wstring_view defaultAnswer;  // may hold the macros of paths
    AnswerKind kind;
    std::wstring_view allowed;  // for Text: the permitted words, as in ":none:info:"; "" permits any
};

/// All of them, in asking order.
std::span<const Question> Questions();

/// True if the questionnaire asks for the setting.
bool IsQuestionKey(SettingName setting);

/// The answer in the form in which it is stored. An unusable answer gives none, after the reason has been
/// told on standard output.
std::optional<corekit::String> ValidateAnswer(const Question& question, const corekit::String& answer);

/// Says on standard output that an answer is not valid.
void RefuseAnswer();

}  // namespace Zorvane::AgentInstaller
