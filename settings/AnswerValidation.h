// What counts as an answer to a question of the interactive configuration.
#pragma once

#include "settings/Questions.h"

namespace Zorvane::AgentInstaller {

/// Checks an answer, says on standard output what is wrong with it, and may rewrite it into the form that is
/// stored.
bool ValidateAnswer(const Question& question, corekit::String& answer);

/// Says on standard output that an answer is not valid. Always false.
bool RefuseAnswer();

}  // namespace Zorvane::AgentInstaller
