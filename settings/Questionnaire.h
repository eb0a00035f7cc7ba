// The dialogue of the interactive configuration.
#pragma once

#include "settings/Questions.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Asks all questions and stores the answers. False only when standard input fails or ends; what was answered
/// stays.
bool RunQuestionnaire(Settings& settings);

/// Asks until the answer is valid; an empty one is `shownDefault`. False when standard input fails or ends.
bool AskQuestion(const Question& question, const corekit::String& shownDefault, corekit::String& answer);

}  // namespace Zorvane::AgentInstaller
