// Output to the operator: which stream, which character set, quiet or not.
#include "run/Messages.h"

#include "corekit/os/Console.h"
#include "corekit/text/Encoding.h"
#include "run/Args.h"

namespace Zorvane::AgentInstaller::Messages {

using corekit::String;
using corekit::StringEncoder::Local;

void Say(const String& text) {
    if (!Args::bQuiet) Tell(text);
}

void Tell(const String& text) {
    corekit::Console::Out(Local(text));
}

void Warn(const String& text) {
    corekit::Console::Err(Local(text));
}

void WarnKept(const String& path, const String& why) {
    Warn(L"WARNING! " + Shown(path) + L" is kept: " + Shown(why) + L".\n");
}

void WarnNotMade(const corekit::Result& failure) {
    const String warning =
        L"WARNING! " + Shown(failure.Path()) + L" could not be made: " + GetErrorMsg(failure) + L".";
    failuresToMake.insert(warning.Mid(String(L"WARNING! ").Length()));
    Warn(warning + L"\n");
}

void WarnNotReplaced(const String& path) {
    if (!pathsNotReplaced.insert(path).second) return;
    Warn(L"WARNING! " + Shown(path) + L" is not replaced: it is not a link of the agent's.\n");
}

String Ascii(const String& text) {
    return String::FromUtf8(corekit::StringEncoder::Ascii(text));
}

}  // namespace Zorvane::AgentInstaller::Messages
