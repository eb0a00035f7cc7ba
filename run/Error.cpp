// The last failure of the run: how it is recorded.
#include "run/Error.h"

#include <utility>

#include "run/Messages.h"

namespace Zorvane::AgentInstaller::Error {

using corekit::String;

bool Fail(const String& text, const String& subject) {
    m_sErrorText = text + Messages::Shown(subject);
    return false;
}

Outcome<> OutcomeOf(bool succeeded) {
    if (succeeded) return {};
    return Failure{std::exchange(m_sErrorText, String()), String()};
}

}  // namespace Zorvane::AgentInstaller::Error
