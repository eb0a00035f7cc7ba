// The dialogue of the interactive configuration: what is proposed, what is asked again, what is stored.
#include "settings/Questionnaire.h"

#include <cstdio>

#include "config/PathMacros.h"
#include "config/SystemProbes.h"
#include "corekit/Sys.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "settings/AnswerValidation.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

constexpr const wchar_t* kIntroduction =
    L"Using interactive configuration, cancel with Ctrl-C.\n  Please answer the following questions.\n"
    L"  Defaults are in brackets. To accept a default just press enter.\n\n";
constexpr const wchar_t* kInputEnded = L"Error reading from standard input.";

/// With the old settings kept (and for the install directory in any case) the current value is proposed.
String ShownDefault(const Question& question, const Settings& settings) {
    const bool current = settings.IsYes(L"Upgrade") || String(question.key) == L"InstallDir";
    const String shown =
        current && settings.IsSet(question.key) ? settings.Get(question.key) : question.defaultAnswer;
    return ExpandPathMacros(shown, settings.Get(L"InstallDir"));
}

/// How a question was answered.
enum class Reply { Typed, ByDefault, InputEnded };

/// The server as a URL. One that was only confirmed keeps the scheme that it has by now.
ServerUrl AnsweredServer(const String& answer, Reply reply, const Settings& settings) {
    if (reply == Reply::Typed || answer.Contains(L"://")) return ServerUrl(answer);
    const ServerUrl current(settings.Get(L"KSUrlFormat"));
    return ServerUrl(current.GetProtocol() + L"://" + answer);
}

/// A machine that moves to another server gets a new identifier.
void StoreServer(const ServerUrl& server, Settings& settings) {
    const String old = settings.Get(L"KSName");
    server.Compose(settings);
    if (old.IsEmpty() || ServerNamesDiffer(old, server.ServerName())) {
        settings.Value(L"KSNameChanged") = L"true";
        settings.Value(L"Guid") = String();
    }
}

/// Asks until the answer is valid.
Reply Ask(const Question& question, const String& shownDefault, String& answer) {
    for (;;) {
        Messages::Tell(Messages::Ascii(question.prompt) + L" (" + Messages::Shown(shownDefault) + L"): ");
        String line;
        const corekit::Sys::Line read = corekit::Sys::Fgets(line, stdin);
        if (read == corekit::Sys::Line::End) return Reply::InputEnded;
        answer = line.Trim();
        const Reply reply = answer.IsEmpty() ? Reply::ByDefault : Reply::Typed;
        if (reply == Reply::ByDefault) answer = shownDefault;
        const bool valid =
            read == corekit::Sys::Line::Whole ? ValidateAnswer(question, answer) : RefuseAnswer();
        if (valid) return reply;
    }
}

/// False, with the error text set, when standard input fails or ends.
bool AskAndStore(const Question& question, Settings& settings) {
    String answer;
    const Reply reply = Ask(question, ShownDefault(question, settings), answer);
    if (reply == Reply::InputEnded) return Error::Fail(kInputEnded);
    if (String(question.key) == L"KSName") {
        StoreServer(AnsweredServer(answer, reply, settings), settings);
    } else {
        settings.Value(question.key) = answer;
    }
    return true;
}

}  // namespace

bool RunQuestionnaire(Settings& settings) {
    const bool offerKeep = settings.IsYes(L"Upgrade");
    Messages::Tell(kIntroduction);
    for (const Question& question : Questions()) {
        if (String(question.key) == L"Upgrade" && !offerKeep) continue;
        if (!AskAndStore(question, settings)) return false;
    }
    settings.Value(L"IsInteractive") = L"yes";
    return true;
}

bool AskQuestion(const Question& question, const String& shownDefault, String& answer) {
    return Ask(question, shownDefault, answer) != Reply::InputEnded || Error::Fail(kInputEnded);
}

}  // namespace Zorvane::AgentInstaller
