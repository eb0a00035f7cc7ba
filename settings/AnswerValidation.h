// What counts as an answer to a question of the interactive configuration.
#pragma once

#include <optional>

#include "settings/Questions.h"

namespace Zorvane::AgentInstaller {

/// The answer in the form in which it is stored; none, after standard output has told why, for one that will
/// not do.
std::optional<corekit::String> ValidateAnswer(const Question& question, const corekit::String& answer);

/// Says on standard output that an answer is not valid.
void RefuseAnswer();

}  // namespace Zorvane::AgentInstaller
