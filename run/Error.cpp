// The last failure of the run: how it is recorded.
#include "run/Error.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller::Error {

bool Fail(const corekit::String& text, const corekit::String& subject) {
    m_sErrorText = text + Messages::Shown(subject);
    return false;
}

}  // namespace Zorvane::AgentInstaller::Error
