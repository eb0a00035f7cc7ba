// The dialogue of the interactive configuration.
#pragma once

#include "settings/Questions.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

/// What the operator answered.
struct Answer {
    corekit::String text;     // in the form that is stored
    bool isProposal = false;  // only Enter was pressed
};

/// Asks all questions and stores the answers. False, with the error text set, only when standard input fails
/// or ends; what was answered stays.
bool RunQuestionnaire(Settings& settings);

/// Asks until the answer is valid; an empty one is `shownDefault`. False, with the error text set, when
/// standard input fails or ends.
bool AskQuestion(const Question& question, const corekit::String& shownDefault, Answer& answer);

}  // namespace Zorvane::AgentInstaller
