// The dialogue of the interactive configuration: what is proposed, what is asked again, what is stored.
#include "settings/Questionnaire.h"

#include <algorithm>
#include <cstdio>

#include "config/PathMacros.h"
#include "config/SystemProbes.h"
#include "corekit/File.h"
#include "corekit/Sys.h"
#include "run/Error.h"
#include "run/Messages.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

constexpr const wchar_t* kIntroduction =
    L"Using interactive configuration, cancel with Ctrl-C.\n  Please answer the following questions.\n"
    L"  Defaults are in brackets. To accept a default just press enter.\n\n";
constexpr const wchar_t* kInvalid = L"  Invalid value entered. Please re-enter or Ctrl-C to cancel.\n";

/// With the old settings kept (and for the install directory in any case) the current value is proposed.
String ShownDefault(const Question& question, Settings& settings) {
    const bool current = settings.IsYes(L"Upgrade") || String(question.key) == L"InstallDir";
    const String shown = current && settings.IsSet(question.key) ? settings.Value(question.key)
                                                                 : String(question.defaultAnswer);
    return ExpandPathMacros(shown, settings.Value(L"InstallDir"));
}

/// The server as a URL. An answer that is just what was proposed keeps the scheme that the server has by now.
ServerUrl AnsweredServer(const String& answer, const String& shownDefault, Settings& settings) {
    const ServerUrl current(settings.Value(L"KSUrlFormat"));
    const bool kept = answer == shownDefault && !answer.Contains(L"://") && settings.IsSet(L"KSUrlFormat");
    return ServerUrl(kept ? current.GetProtocol() + L"://" + answer : answer);
}

/// A machine that moves to another server gets a new identifier.
void StoreServer(const ServerUrl& server, Settings& settings) {
    const String old = settings.Value(L"KSName");
    server.Compose(settings);
    if (old.IsEmpty() || ServerNamesDiffer(old, settings.Value(L"KSName"))) {
        settings.Value(L"KSNameChanged") = L"true";
        settings.Value(L"Guid") = String();
    }
}

bool IsAllowed(const Question& question, const String& answer) {
    if (String(question.key) == L"KSName") return ServerUrl(answer).IsValid();
    const String allowed(question.allowed);
    return allowed.IsEmpty() || allowed.Lower().Contains(L":" + answer.Lower() + L":");
}

bool IsDirectory(String& answer) {
    answer = MakeAbsolutePath(answer);
    const bool exists = corekit::File::IsDirectory(answer);
    if (!exists) Messages::Tell(L"  Directory does not exist.\n");
    return exists;
}

bool IsYesOrNo(String& answer) {
    const String initial = answer.Lower().Left(1);
    if (initial != L"y" && initial != L"n") return false;
    answer = initial == L"y" ? L"yes" : L"no";
    return true;
}

bool IsNumber(const String& answer) {
    return std::all_of(answer.begin(), answer.end(),
                       [](wchar_t digit) { return digit >= L'0' && digit <= L'9'; });
}

bool IsOfKind(const Question& question, String& answer) {
    switch (question.kind) {
        case AnswerKind::Text:
            return IsAllowed(question, answer);
        case AnswerKind::Directory:
            return IsDirectory(answer);
        case AnswerKind::NonEmpty:
            return true;
        case AnswerKind::YesNo:
            return IsYesOrNo(answer);
        case AnswerKind::Digits:
            return IsNumber(answer);
    }
    return false;
}

}  // namespace

bool RunQuestionnaire(Settings& settings) {
    const bool offerKeep = settings.IsYes(L"Upgrade");
    Messages::Tell(kIntroduction);
    for (const Question& question : Questions()) {
        const String key(question.key);
        if (key == L"Upgrade" && !offerKeep) continue;
        const String shownDefault = ShownDefault(question, settings);
        String answer;
        if (!AskQuestion(question, shownDefault, answer)) return false;
        if (key == L"KSName") {
            StoreServer(AnsweredServer(answer, shownDefault, settings), settings);
        } else {
            settings.Value(key) = answer;
        }
    }
    settings.Value(L"IsInteractive") = L"yes";
    return true;
}

bool AskQuestion(const Question& question, const String& shownDefault, String& answer) {
    for (;;) {
        Messages::Tell(Messages::Ascii(question.prompt) + L" (" + Messages::Shown(shownDefault) + L"): ");
        String line;
        const corekit::Sys::Line read = corekit::Sys::Fgets(line, stdin);
        if (read == corekit::Sys::Line::End) return Error::Fail(L"Error reading from standard input.");
        if (read == corekit::Sys::Line::TooLong) {
            Messages::Tell(kInvalid);
            continue;
        }
        answer = line.Trim();
        if (answer.IsEmpty()) answer = shownDefault;
        if (ValidateAnswer(question, answer)) return true;
    }
}

bool ValidateAnswer(const Question& question, String& answer) {
    const bool ok = !answer.IsEmpty();
    if (IsOfKind(question, answer) && ok) return true;
    Messages::Tell(kInvalid);
    return false;
}

}  // namespace Zorvane::AgentInstaller
