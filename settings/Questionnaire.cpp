// The dialogue of the interactive configuration: what is proposed, what is asked again, what is stored.
#include "settings/Questionnaire.h"

#include <cstdio>

#include "corekit/os/Sys.h"
#include "run/Args.h"
#include "run/Messages.h"
#include "settings/PathMacros.h"
#include "settings/ServerUrl.h"
#include "settings/XmlConfig.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
namespace Sys = corekit::Sys;

namespace {

constexpr const wchar_t* kIntroduction =
    L"Using interactive configuration, cancel with Ctrl-C.\n  Please answer the following questions.\n"
    L"  Defaults are in brackets. To accept a default just press enter.\n\n";

const Source kAnswer = {Source::Kind::Answer};

/// The settings that stay when the operator does not want to keep the old ones: the answers given before that
/// question, and the host's identity.
constexpr SettingName kNotReset[] = {L"KSName", L"KSProtocol", L"KSUrlFormat", L"KSNameChanged",
                                     L"Guid",   L"InstallDir", L"Upgrade"};

/// The value that an empty answer stands for; of a server with its scheme, unless that is http.
String CurrentValue(const Question& question, const Settings& settings) {
    if (question.key == L"KSName") {
        const ServerUrl server = CurrentServer(settings);
        const String name = settings.Get(L"KSName");
        const bool isWhole = name.Contains(L"://") || server.Scheme() == ServerUrl::Http;
        return isWhole ? name : server.GetProtocol() + L"://" + name;
    }
    String value = settings.Get(question.key);
    if (question.key != L"InstallDir") {
        RebasePath(value, InstalledDirectory(settings), settings.Get(L"InstallDir"));
    }
    return value;
}

/// With the old settings kept (and for the install directory in any case) the current value is proposed.
String ShownDefault(const Question& question, const Settings& settings) {
    const bool current = settings.IsYes(L"Upgrade") || question.key == L"InstallDir";
    const String shown = current && settings.IsSet(question.key) ? CurrentValue(question, settings)
                                                                 : String(question.defaultAnswer);
    return ExpandPathMacros(shown, settings.Get(L"InstallDir"));
}

/// A URL format of the administrator's own stays while the server does. A host that moves to another server
/// gets a new identifier.
void StoreServer(const String& answer, Settings& settings) {
    const ServerUrl server(answer);
    const String old = settings.Get(L"KSName");
    const String format = settings.Get(L"KSUrlFormat");
    const ServerUrl current = CurrentServer(settings);
    const bool keepsFormat =
        !old.IsEmpty() && server.IsSameAs(current) && format.StartsWith(server.GetProtocol() + L"://");
    server.Compose(settings, kAnswer, answer);
    if (keepsFormat) settings.Set(L"KSUrlFormat", format, kAnswer);
    const String installed = settings.Get(L"InstalledKSName");
    const String before = installed.IsEmpty() ? current.ServerName() : ServerUrl(installed).ServerName();
    if (before.IsEmpty() || ServerNamesDiffer(before, server.ServerName())) {
        settings.Set(L"KSNameChanged", L"true", {Source::Kind::Program});
        settings.Set(L"Guid", L"", {Source::Kind::Program});
    }
}

void Store(const String& answer, const Question& question, Settings& settings) {
    if (question.key == L"KSName") {
        StoreServer(answer, settings);
        return;
    }
    settings.Set(question.key, answer, kAnswer);
    if (question.key == L"Upgrade" && answer == L"no") settings.Reset(*DefaultSettings(), kNotReset);
}

/// Shows a part of the dialogue, unless the rehearsal, whose answers are taken, has shown it.
void Show(const String& text) {
    if (RunMode::replayed.empty()) Messages::Tell(text);
}

/// Reads a line from standard input, or takes the next one that the rehearsal accepted.
Sys::Line ReadAnswer(String& line) {
    if (RunMode::replayed.empty()) return Sys::Fgets(line, stdin);
    line = RunMode::replayed.front();
    RunMode::replayed.pop_front();
    return Sys::Line::Whole;
}

}  // namespace

Outcome<> RunQuestionnaire(Settings& settings, const TakeUp& takeUp) {
    Settings unanswered = settings;
    String server;
    Show(kIntroduction);
    for (const Question& question : Questions()) {
        if (question.key == L"Upgrade" && !settings.IsYes(L"Upgrade")) continue;
        const auto answer = AskQuestion(question, ShownDefault(question, settings));
        if (!answer) return answer.error();
        if (question.key == L"KSName") server = *answer;
        if (question.key == L"InstallDir" && takeUp) {
            const auto taken = takeUp(*answer, unanswered);
            if (!taken) return taken.error();
            if (*taken) settings = unanswered;
            if (*taken) StoreServer(server, settings);
        }
        Store(*answer, question, settings);
    }
    settings.Set(L"IsInteractive", L"yes", {Source::Kind::Program});
    return {};
}

Outcome<String> AskQuestion(const Question& question, const String& shownDefault) {
    for (;;) {
        Show(Messages::Ascii(question.prompt) + L" (" + Messages::Shown(shownDefault) + L"): ");
        String line;
        const Sys::Line read = ReadAnswer(line);
        if (read == Sys::Line::End) {
            // Nobody has pressed Enter: the error begins on a line of its own.
            Messages::Tell(L"\n");
            return Fail(L"Error reading from standard input.");
        }
        if (read != Sys::Line::Whole) {
            RefuseAnswer();
            continue;
        }
        const String typed = line.Trim();
        if (const auto answer = ValidateAnswer(question, typed.IsEmpty() ? shownDefault : typed)) {
            if (RunMode::isRehearsal) RunMode::answers.push_back(line);
            return *answer;
        }
    }
}

}  // namespace Zorvane::AgentInstaller
