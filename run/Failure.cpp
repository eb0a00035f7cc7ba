// How a failure is put together from its text, its path and the system's reason.
#include "run/Failure.h"

#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;

tl::unexpected<Failure> Fail(const String& text, const String& subject) {
    return tl::unexpected(Failure{text + Messages::Shown(subject), String()});
}

tl::unexpected<Failure> FailBecause(const String& text, const String& path, const Result& cause) {
    return tl::unexpected(Failure{text, Messages::Shown(path) + L": " + GetErrorMsg(cause)});
}

tl::unexpected<Failure> FailAt(const String& text, const String& path, const Result& cause) {
    return FailBecause(text + Messages::Shown(path), path, cause);
}

}  // namespace Zorvane::AgentInstaller
