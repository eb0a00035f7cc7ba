// The dialogue of the interactive configuration.
#pragma once

#include "run/Failure.h"
#include "settings/Questions.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Asks all questions and stores the answers. Fails only when standard input fails or ends; what was answered
/// stays.
Outcome<> RunQuestionnaire(Settings& settings);

/// Asks until the answer is valid, and returns it in the form that is stored; an empty one is `shownDefault`.
/// Fails when standard input fails or ends.
Outcome<corekit::String> AskQuestion(const Question& question, const corekit::String& shownDefault);

}  // namespace Zorvane::AgentInstaller
