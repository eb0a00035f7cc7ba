// The dialogue of the interactive configuration.
#pragma once

#include <functional>

#include "run/Failure.h"
#include "settings/Questions.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// Called with the install directory as soon as that is answered, and the settings as they were before the first
/// answer. True when they have others from then on, which the remaining questions go by.
using TakeUp = std::function<Outcome<bool>(const corekit::String& installDir, Settings& unanswered)>;

/// Asks all questions and stores the answers. Fails only when standard input fails or ends, or `takeUp` does,
/// which may be empty; what was answered stays.
Outcome<> RunQuestionnaire(Settings& settings, const TakeUp& takeUp = {});

/// Asks until the answer is valid, and returns it in the form that is stored; an empty one is `shownDefault`.
/// Fails when standard input fails or ends.
Outcome<corekit::String> AskQuestion(const Question& question, const corekit::String& shownDefault);

}  // namespace Zorvane::AgentInstaller
