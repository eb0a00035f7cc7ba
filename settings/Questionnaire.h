// The interactive configuration: its fifteen questions, what counts as an answer, and the dialogue.
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string_view>

#include "corekit/text/String.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "settings/Settings.h"

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

/// The answer in the form in which it is stored. None for an unusable answer, of which standard output tells
/// the reason.
std::optional<corekit::String> ValidateAnswer(const Question& question, const corekit::String& answer);

/// Says on standard output that an answer is not valid.
void RefuseAnswer();

/// Called with the install directory as soon as that is answered, and with the settings as they were before
/// the first answer. Returns true when it has changed those; their values are the defaults of the remaining
/// questions.
using TakeUp = std::function<Outcome<bool>(const corekit::String& installDir, Settings& unanswered)>;

/// Asks all questions and stores the answers. Fails only when standard input fails or ends, or `takeUp` does,
/// which may be empty; what was answered stays.
Outcome<> RunQuestionnaire(Settings& settings, const TakeUp& takeUp = {});

/// Asks until the answer is valid, and returns it in the form that is stored; an empty one is `shownDefault`.
/// Fails when standard input fails or ends.
Outcome<corekit::String> AskQuestion(const Question& question, const corekit::String& shownDefault);

}  // namespace Zorvane::AgentInstaller
