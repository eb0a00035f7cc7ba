// The dialogue of the interactive configuration: what is proposed, what is asked again, what is stored.
#include "settings/Questionnaire.h"

#include <cstdio>

#include "corekit/os/Sys.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "settings/AnswerValidation.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace Sys = corekit::Sys;

namespace {

constexpr const wchar_t* kIntroduction =
    L"Using interactive configuration, cancel with Ctrl-C.\n  Please answer the following questions.\n"
    L"  Defaults are in brackets. To accept a default just press enter.\n\n";

/// With the old settings kept (and for the install directory in any case) the current value is proposed.
String ShownDefault(const Question& question, const Settings& settings) {
    const bool current = settings.IsYes(L"Upgrade") || question.key == L"InstallDir";
    const String shown =
        current && settings.IsSet(question.key) ? settings.Get(question.key) : question.defaultAnswer;
    return ExpandPathMacros(shown, settings.Get(L"InstallDir"));
}

/// The server as a URL. One that was only confirmed keeps the scheme that it has by now.
ServerUrl AnsweredServer(const Answer& answer, const Settings& settings) {
    if (!answer.isProposal || answer.text.Contains(L"://")) return ServerUrl(answer.text);
    const ServerUrl current(settings.Get(L"KSUrlFormat"));
    return ServerUrl(current.GetProtocol() + L"://" + answer.text);
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

void Store(const Answer& answer, const Question& question, Settings& settings) {
    if (question.key == L"KSName") {
        StoreServer(AnsweredServer(answer, settings), settings);
    } else {
        settings.Value(question.key) = answer.text;
    }
}

}  // namespace

bool RunQuestionnaire(Settings& settings) {
    const bool offerKeep = settings.IsYes(L"Upgrade");
    Messages::Tell(kIntroduction);
    for (const Question& question : Questions()) {
        if (question.key == L"Upgrade" && !offerKeep) continue;
        Answer answer;
        if (!AskQuestion(question, ShownDefault(question, settings), answer)) return false;
        Store(answer, question, settings);
    }
    settings.Value(L"IsInteractive") = L"yes";
    return true;
}

bool AskQuestion(const Question& question, const String& shownDefault, Answer& answer) {
    for (;;) {
        Messages::Tell(Messages::Ascii(question.prompt) + L" (" + Messages::Shown(shownDefault) + L"): ");
        String line;
        const Sys::Line read = Sys::Fgets(line, stdin);
        if (read == Sys::Line::End) return Error::Fail(L"Error reading from standard input.");
        answer.text = line.Trim();
        answer.isProposal = answer.text.IsEmpty();
        if (answer.isProposal) answer.text = shownDefault;
        const bool isValid =
            read == Sys::Line::Whole ? ValidateAnswer(question, answer.text) : RefuseAnswer();
        if (isValid) return true;
    }
}

}  // namespace Zorvane::AgentInstaller
