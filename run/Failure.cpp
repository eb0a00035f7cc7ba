// How a failure is put together from its text, its path and the system's reason.
#include "run/Failure.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;

String Failure::Told() const {
    return text.IsEmpty() ? String(L"Agent configuration failed.") : text;
}

Failure Fail(const String& text, const String& subject) {
    return {text + Messages::Shown(subject), String()};
}

Failure FailBecause(const String& text, const String& path, const Result& cause) {
    return {text, Messages::Shown(cause.About(path).Path()) + L": " + GetErrorMsg(cause)};
}

Failure FailAt(const String& text, const String& path, const Result& cause) {
    return FailBecause(text + Messages::Shown(path), path, cause);
}

}  // namespace Zorvane::AgentInstaller
