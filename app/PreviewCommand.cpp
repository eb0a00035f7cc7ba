// The command -preview: its options, and how what was found is shown.
#include "app/PreviewCommand.h"

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "app/CleanCommand.h"
#include "app/ConfigureCommand.h"
#include "app/Refusals.h"
#include "app/RehearsedRun.h"
#include "corekit/fs/File.h"
#include "corekit/os/Console.h"
#include "corekit/os/Env.h"
#include "preview/Document.h"
#include "preview/TextReport.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using Json = nlohmann::ordered_json;

namespace {

template <typename Command>
std::unique_ptr<ChangingCommand> Make() {
    return std::make_unique<Command>();
}

struct Previewed {
    const wchar_t* word;
    std::unique_ptr<ChangingCommand> (*make)();
};
constexpr Previewed kPreviewed[] = {
    {L"-configure", Make<ConfigureCommand>},
    {L"-iconfigure", Make<InteractiveConfigureCommand>},
    {L"-clean", Make<CleanCommand>},
};

/// Tells again what the command said on standard error.
void TellErrors(const Json& document) {
    const auto tell = [](const std::string& text) { Messages::Warn(String::FromUtf8(text) + L"\n"); };
    for (const Json& warning : document["warnings"]) tell(warning.get<std::string>());
    if (document["error"].is_string())
        tell(std::string("ERROR") + ": " + document["error"].get<std::string>());
}

bool Holds(const std::vector<String>& arguments, const wchar_t* option) {
    return std::ranges::find(arguments, String(option)) != arguments.end();
}

/// True when the command may ask its questions on this terminal.
bool MayAsk(const String& word, const std::vector<String>& arguments) {
    if (isatty(STDIN_FILENO) == 0) return false;
    return word == L"-iconfigure" ||
           (word == L"-configure" && !Holds(arguments, L"-noimode") && !Holds(arguments, L"-quiet"));
}

Preview::Colours ColoursOfOutput() {
    const bool areWanted = isatty(STDOUT_FILENO) != 0 && !corekit::Env::Get(L"NO_COLOR");
    return areWanted ? Preview::Colours::Terminal : Preview::Colours::None;
}

}  // namespace

bool PreviewCommand::WantsNoBanner(const std::vector<String>& commandLine) {
    if (commandLine.empty() || commandLine.front() != L"-preview") return false;
    PreviewCommand parser((String()));
    parser.ParseOptions({commandLine.begin() + 1, commandLine.end()});
    return parser.m_options.json;
}

std::size_t PreviewCommand::ParseOptions(const std::vector<String>& arguments) {
    std::size_t at = 0;
    for (; at < arguments.size(); ++at) {
        if (arguments[at] == L"-json") {
            m_options.json = true;
        } else if (arguments[at] == L"-exit-code") {
            m_options.exitCode = true;
        } else if (arguments[at] == L"-out" && at + 1 < arguments.size()) {
            m_options.outFile = arguments[++at];
        } else {
            break;
        }
    }
    return at;
}

bool PreviewCommand::ChooseCommand(const String& word) {
    const auto* const row = std::ranges::find(kPreviewed, word, &Previewed::word);
    if (row == std::end(kPreviewed)) return false;
    m_word = word;
    m_command = row->make();
    return true;
}

unsigned PreviewCommand::Run(const std::vector<String>& arguments) {
    const std::size_t word = ParseOptions(arguments);
    if (word == arguments.size() || !ChooseCommand(arguments[word])) return kUsageError;
    const std::vector<String> rest(arguments.begin() + static_cast<std::ptrdiff_t>(word) + 1,
                                   arguments.end());
    const std::string document = Rehearsed(rest);
    if (Preview::Parsed(document)["status"] == kUsageError) return ShowWrongUse(document);
    return Report(document, MayAsk(m_word, rest));
}

std::string PreviewCommand::Rehearsed(const std::vector<String>& arguments) const {
    Preview::Request request;
    request.version = m_version.Utf8();
    request.banner = String(kBanner).Utf8();
    request.command.push_back(m_word.Utf8());
    for (const String& argument : arguments) request.command.push_back(argument.Utf8());
    if (const String refusal = m_command->Refusal(arguments); !refusal.IsEmpty())
        request.refused = refusal.Trim().Utf8();

    const int shownOn = m_options.json ? STDERR_FILENO : STDOUT_FILENO;
    const Preview::Audience audience{MayAsk(m_word, arguments) ? shownOn : -1};
    const auto run = [&] { return RunInCopy(*m_command, arguments); };
    const auto tell = [&](const Preview::HostCopy& copy, const Preview::Rehearsal& rehearsal) {
        return Preview::MakeDocument(request, copy, rehearsal);
    };
    const auto document = Preview::Rehearse(run, tell, audience);
    return document ? *document : Preview::MakeFailedDocument(request, document.error().text.Utf8());
}

unsigned PreviewCommand::Report(const std::string& text, bool wasSeen) const {
    const Json document = Preview::Parsed(text);
    const bool isPossible = document["possible"].get<bool>();
    if (m_options.json) {
        corekit::Console::Out(Preview::Printed(document));
    } else if (isPossible) {
        Messages::Tell(Preview::TextReport(document, ColoursOfOutput(),
                                           wasSeen ? Preview::Output::SeenAlready : Preview::Output::Shown));
    }
    TellErrors(document);
    if (!isPossible) return kFailure;
    if (!m_options.outFile.IsEmpty()) {
        const corekit::Result written =
            corekit::File::WriteBytes(m_options.outFile, Preview::Kept(document), {.mode = 0600});
        if (!written) {
            Messages::Warn(L"ERROR: Unable to write to file: " + Messages::ShownAscii(m_options.outFile) +
                           L"\n  " + GetErrorMsg(written) + L"\n");
            return kFailure;
        }
    }
    constexpr unsigned kWouldChange = 2;
    const unsigned status = document["status"].get<unsigned>();
    const bool tellsChange = m_options.exitCode && status == kSuccess && document["changed"].get<bool>();
    return tellsChange ? kWouldChange : status;
}

unsigned PreviewCommand::ShowWrongUse(const std::string& text) {
    TellErrors(Preview::Parsed(text));
    m_isWrongUse = true;
    return kUsageError;
}

void PreviewCommand::Usage(const String& prefix) const {
    if (m_isWrongUse) return m_command->Usage(prefix + L" " + m_word);
    Messages::Tell(prefix + L" [-json] [-exit-code] [-out <file>] <command> [options of the command]\n\n" +
                   Description() +
                   L"\n\n"
                   L"Options:\n\n"
                   L"-json\n"
                   L"\t[optional] Write one JSON document instead of text.\n\n"
                   L"-exit-code\n"
                   L"\t[optional] Return 2 instead of 0 if something would change.\n\n"
                   L"-out <file>\n"
                   L"\t[optional] Keep the document in a file that only its owner can read.\n\n"
                   L"<command>\n"
                   L"\t-configure, -iconfigure or -clean, with its options.\n\n");
}

String PreviewCommand::Description() const {
    return L"Show what a command would do, and change nothing.";
}

}  // namespace Zorvane::AgentInstaller
