// The shell pipelines behind the questions to the host's tools; what fails counts as nothing found.
#include "agents/removal/ProcessControl.h"

#include <string>

#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::Text::InShellQuotes;
using corekit::Text::ShellWord;

namespace {

/// Each word of a blank-separated text quoted by itself, so that several ids stay several arguments.
String ShellWords(const String& text) {
    corekit::StringTokenizer words(text, L" ");
    String quoted;
    for (String word; words.GetToken(word);) {
        if (word.IsEmpty()) continue;
        if (!quoted.IsEmpty()) quoted += L' ';
        quoted += ShellWord(word);
    }
    return quoted;
}

/// True for a file with a NUL: grep does not print its lines, but only tells that the file matches.
bool HasNul(const String& file) {
    const auto bytes = corekit::File::ReadBytes(file);
    return bytes && bytes->find('\0') != std::string::npos;
}

}  // namespace

String QueryValue(const String& key, const String& file) {
    if (key.IsEmpty() || file.IsEmpty() || HasNul(file)) return String();
    const String command = L"grep '^ *%1' %2 2>/dev/null | sed -e 's,^[^=]*= *,,' -e 's,//,/,g'";
    return RunShellCommand(command.Arg(InShellQuotes(key), ShellWord(file))).Trim();
}

String QueryProcessIds(const String& name) {
    if (name.IsEmpty()) return String();
    const String command = L"ps -ef | grep %1 | grep -v grep | awk '{print $2}'";
    corekit::StringToMapFilter lines;
    // Without an answer no process is known, and none is ended.
    Forgive(corekit::PosixLocaleProgram::Run(command.Arg(ShellWord(name)), lines));
    String ids;
    for (std::size_t number = 0; number < lines.Count(); ++number) ids += lines.RawData(number) + L" ";
    return ids.Trim();
}

void SignalProcesses(const String& signal, const String& ids) {
    if (signal.IsEmpty() || ids.IsEmpty()) return;
    const String command = L"kill -%1 %2 >/dev/null";
    RunShellCommand(command.Arg(ShellWord(signal), ShellWords(ids)));
}

}  // namespace Zorvane::AgentInstaller
