// The command -apply: rehearse, show, ask, save, do, watch, and put back.
#include "app/ApplyCommand.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "agents/AgentDetection.h"
#include "app/ChangingCommand.h"
#include "apply/AgentWatch.h"
#include "apply/FailedFiles.h"
#include "apply/Plan.h"
#include "apply/Recovery.h"
#include "config/SystemProbes.h"
#include "corekit/fs/File.h"
#include "corekit/json/Json.h"
#include "corekit/os/Sys.h"
#include "integration/AgentProcess.h"
#include "run/Args.h"
#include "run/Messages.h"
#include "run/RunRecord.h"
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::Json;
using corekit::String;

namespace {

constexpr unsigned kShortestWait = 2;
constexpr unsigned kLongestWait = 3600;

bool HasTerminal() {
    return isatty(STDIN_FILENO) != 0;
}

std::optional<unsigned> ParseSeconds(const String& text) {
    const std::string digits = text.Utf8();
    unsigned seconds = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), seconds);
    const bool isNumber = read.ec == std::errc() && read.ptr == digits.data() + digits.size();
    return isNumber && seconds >= kShortestWait && seconds <= kLongestWait ? std::optional(seconds)
                                                                           : std::nullopt;
}

/// The install directory of the agent that runs now; empty when none runs that its control script could stop.
String FindRunningAgent(const String& word, const std::vector<String>& arguments) {
    if (!IsPluginProcessRunning()) return String();
    const bool isClean = word == L"-clean" && !arguments.empty();
    const auto agent = isClean ? AgentFromBaseDir(arguments.front()) : FindInstalledAgent();
    return agent && FindAgentProcess(agent->InstallDir()) ? agent->InstallDir() : String();
}

}  // namespace

bool ApplyCommand::WantsNoBanner(const std::vector<String>& commandLine) {
    if (commandLine.empty() || commandLine.front() != L"-apply") return false;
    ApplyCommand parser((String()));
    static_cast<void>(parser.ParseOptions({commandLine.begin() + 1, commandLine.end()}));
    return parser.m_options.json;
}

std::optional<std::size_t> ApplyCommand::ParseOptions(const std::vector<String>& arguments) {
    std::size_t at = 0;
    for (; at < arguments.size(); ++at) {
        const bool hasValue = at + 1 < arguments.size() && !arguments[at + 1].IsEmpty();
        if (arguments[at] == L"-json") {
            m_options.json = true;
        } else if (arguments[at] == L"-yes") {
            m_options.yes = true;
        } else if (arguments[at] == L"-or-plainly") {
            m_options.orPlainly = true;
        } else if (arguments[at] == L"-plan" && hasValue) {
            m_options.planFile = arguments[++at];
        } else if (arguments[at] == L"-wait" && hasValue) {
            const auto seconds = ParseSeconds(arguments[++at]);
            if (!seconds) return std::nullopt;
            m_options.wait = *seconds;
        } else {
            break;
        }
    }
    // What a command does by itself makes no document.
    return m_options.json && m_options.orPlainly ? std::nullopt : std::optional(at);
}

unsigned ApplyCommand::Run(const std::vector<String>& arguments) {
    RunRecord record(L"-apply");
    const auto word = ParseOptions(arguments);
    if (!word || *word == arguments.size() || !m_command.Choose(arguments[*word]))
        return record.End(kUsageError);
    if (!m_options.yes && !HasTerminal()) {
        Messages::Warn(L"Without a terminal to ask on, -apply needs -yes.\n");
        return record.End(kUsageError);
    }
    const unsigned status =
        Apply({arguments.begin() + static_cast<std::ptrdiff_t>(*word) + 1, arguments.end()});
    if (!m_xmlFile.IsEmpty() && !corekit::File::Exists(m_xmlFile)) RunRecord::SetXmlFileRemoved();
    return record.End(status);
}

unsigned ApplyCommand::Apply(const std::vector<String>& arguments) {
    if (geteuid() != 0) return EndFailed(Failure{L"qdn-configure has to be run as root.", {}});
    std::optional<RunLock> lock(std::in_place);
    if (lock->IsTaken()) return EndFailed({String(kAnotherRun).Trim(), {}});
    if (const auto finished = Apply::FinishFormerApply(); !finished) return EndFailed(finished.error());
    m_runningAgent = FindRunningAgent(m_command.Word(), arguments);
    Rehearse(arguments);
    if (m_options.orPlainly && !m_rehearsed.wasPossible) {
        lock.reset();  // the command takes it itself
        return RunPlainly(arguments);
    }
    if ((*m_rehearsed.document)["status"] == kUsageError) {
        TellErrors(*m_rehearsed.document);
        m_isWrongUse = true;
        return kUsageError;
    }
    if (const auto checked = CheckRehearsal(); !checked) {
        TellWarnings(*m_rehearsed.document);
        return EndFailed(checked.error());
    }
    Args::bQuiet = std::ranges::count(arguments, String(L"-quiet")) > 0;
    const bool isShown = !m_options.yes || (!m_options.json && !Args::bQuiet);
    const Preview::Colours colours = ColoursOn(m_options.json ? STDERR_FILENO : STDOUT_FILENO);
    const String report = Preview::TextReport(*m_rehearsed.document, colours, Preview::Output::SeenAlready);
    if (isShown) m_options.json ? Messages::Warn(report) : Messages::Tell(report);
    if (!m_options.yes && !IsAgreed()) return EndFailed(Failure{L"Nothing has been changed.", {}});
    return Attempt(arguments);
}

/// Where nothing can be rehearsed, nothing is known that could be saved: the command does what it does alone.
unsigned ApplyCommand::RunPlainly(const std::vector<String>& arguments) {
    const String why = String::FromUtf8(m_rehearsed.document->at("error").get<std::string>());
    Messages::Warn(L"WARNING! " + why +
                   L"\n  The command runs all the same; what fails half-way is not put back.\n");
    m_isWrongUse = true;  // its usage is the command's
    return m_command->Run(arguments);
}

void ApplyCommand::Rehearse(const std::vector<String>& arguments) {
    Preview::Request request = m_command.RequestFor(arguments, m_version);
    request.stopsAgent = !m_runningAgent.IsEmpty();
    request.withHashes = m_options.json || !m_options.planFile.IsEmpty();
    // The lock that a run would find held is this one's own.
    const bool isInTheWay = m_runningAgent.IsEmpty() && IsPluginProcessRunning();
    const String refusal = isInTheWay ? m_command->Refusal(arguments) : m_command->LastingRefusal(arguments);
    if (!refusal.IsEmpty()) request.refused = refusal.Trim().Utf8();
    const int shownOn = m_options.json ? STDERR_FILENO : STDOUT_FILENO;
    m_rehearsed = m_command.Rehearse(arguments, request, {m_command.MayAsk(arguments) ? shownOn : -1});
    TellRecord(arguments);
}

/// What the record of the run says of the command, which runs in another process.
void ApplyCommand::TellRecord(const std::vector<String>& arguments) {
    Settings server;
    for (const Json& setting : (*m_rehearsed.document)["settings"]) {
        const String value = String::FromUtf8(setting["value"].get<std::string>());
        if (setting["name"] == "KSName") server.Value(L"KSName") = value;
        if (setting["name"] == "KSUrlFormat") server.Value(L"KSUrlFormat") = value;
        if (setting["source"]["kind"] == "xml")
            m_xmlFile = String::FromUtf8(setting["source"].value("file", ""));
    }
    if (server.IsSet(L"KSName")) RunRecord::SetServer(CurrentServer(server).Text());
    const bool isClean = m_command.Word() == L"-clean" && !arguments.empty();
    RunRecord::SetInstallDir(isClean ? arguments.front() : m_rehearsed.installDir);
    RunRecord::SetXmlFile(m_xmlFile);
}

/// What ends the run before anything has been changed.
Outcome<> ApplyCommand::CheckRehearsal() const {
    const Json& document = *m_rehearsed.document;
    const auto textOf = [&](const char* field) {
        return document[field].is_string() ? String::FromUtf8(document[field].get<std::string>()) : String();
    };
    const String refusal = textOf("refused");
    if (!refusal.IsEmpty()) return Failure{refusal, {}};
    const String error = textOf("error");
    if (document["status"] != kSuccess) return Failure{error, {}};
    if (!m_options.planFile.IsEmpty()) return Apply::CheckPlan(m_options.planFile, document);
    return {};
}

bool ApplyCommand::IsAgreed() const {
    const auto tell = [&](const wchar_t* text) {
        m_options.json ? Messages::Warn(text) : Messages::Tell(text);
    };
    tell(L"Apply these changes? (no): ");
    String line;
    const corekit::Sys::Line read = corekit::Sys::Fgets(line, stdin);
    if (read == corekit::Sys::Line::End) tell(L"\n");
    if (read != corekit::Sys::Line::Whole) return false;
    const String answer = line.Trim().Lower();
    return answer == L"yes" || answer == L"y";
}

unsigned ApplyCommand::Attempt(const std::vector<String>& arguments) {
    Apply::Interruptions interruptions;
    if (const auto saved = Apply::Save(WhatToSave()); !saved) return EndFailed(saved.error());
    if (const auto done = Perform(arguments, interruptions); !done) {
        PutBack();
        return EndFailed(done.error());
    }
    return End();
}

/// From the first change to the point from which on it stays.
Outcome<> ApplyCommand::Perform(const std::vector<String>& arguments, Apply::Interruptions& interruptions) {
    const auto interrupted = [] { return Failure{L"The run was interrupted.", {}}; };
    if (interruptions.HasCome()) return interrupted();
    const auto command = [&] {
        RunMode::isAttempt = true;
        RunMode::replayed.assign(m_rehearsed.answers.begin(), m_rehearsed.answers.end());
        return m_command->Run(arguments);
    };
    const auto output = m_options.json ? Apply::StandardOutput::Dropped : Apply::StandardOutput::Shown;
    const Apply::Ending ending = Apply::Attempt(command, output, interruptions);
    if (ending.wasInterrupted) return interrupted();
    if (!ending.hasSucceeded) return Failure{String::FromUtf8(ending.error), {}};
    if ((*m_rehearsed.document)["agent"]["start"] == true) {
        if (auto stands = WatchAgent(interruptions); !stands) return stands;
    }
    if (interruptions.HasCome()) return interrupted();
    return Apply::Commit();
}

Outcome<> ApplyCommand::WatchAgent(Apply::Interruptions& interruptions) {
    const auto pause = [&](unsigned milliseconds) {
        interruptions.Wait(milliseconds);
        return !interruptions.HasCome();
    };
    m_result.agent = Apply::WatchAgent(m_rehearsed.installDir, m_options.wait, pause);
    if (!m_result.agent) return Failure{L"The agent does not stay up.", {}};
    if (!m_options.json)
        Messages::Say(L"Zorvane Agent is running (pid " + String::FromInt(*m_result.agent) + L").\n");
    return {};
}

void ApplyCommand::PutBack() {
    if (const auto restored = Apply::UndoAttempt(); !restored) {
        static_cast<void>(Report(restored.error()));
        Messages::Warn(L"  The next run of qdn-configure tries again.\n");
        return;
    }
    m_result.wasRestored = true;
    m_result.hasFailedFiles = Apply::HasFailedFiles();
}

Apply::ToSave ApplyCommand::WhatToSave() const {
    Apply::ToSave what;
    what.names = m_rehearsed.names;
    what.ownDirs = m_rehearsed.places;
    what.withOneName = m_rehearsed.identifiers;
    what.runningAgent = m_runningAgent.Utf8();
    for (const String& directory : {m_rehearsed.installDir, m_runningAgent}) {
        if (!directory.IsEmpty()) what.agentDirs.push_back(directory.Utf8());
    }
    return what;
}

}  // namespace Zorvane::AgentInstaller
