// The command -preview: its options, and how what was found is shown.
#include "app/PreviewCommand.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "app/ChangingCommand.h"
#include "corekit/fs/File.h"
#include "corekit/json/Json.h"
#include "corekit/os/Console.h"
#include "preview/Document.h"
#include "preview/FileState.h"
#include "preview/TextReport.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::Json;
using corekit::String;

namespace {

/// Writes the file, for its owner alone; returns why that was not possible, or nothing. A device such as
/// /dev/null is not replaced by a file, nor is a link.
String Keep(const String& path, const std::string& document) {
    const auto present = Preview::ReadState(path.Utf8());
    if (present && (present->type == Preview::FileType::Other || present->type == Preview::FileType::Link))
        return L"It is not a regular file.";
    const corekit::Result written =
        corekit::File::WriteBytes(path, document,
                                  {.mode = 0600,
                                   .attributes = corekit::File::Attributes::New,
                                   .hostDirectory = corekit::HostDirectory::Meant});
    return written ? String() : Messages::Shown(path) + L": " + GetErrorMsg(written);
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
        } else if (arguments[at] == L"-out" && at + 1 < arguments.size() && !arguments[at + 1].IsEmpty()) {
            m_options.outFile = arguments[++at];
        } else {
            break;
        }
    }
    return at;
}

unsigned PreviewCommand::Run(const std::vector<String>& arguments) {
    const std::size_t word = ParseOptions(arguments);
    if (word == arguments.size() || !m_command.Choose(arguments[word])) return kUsageError;
    const std::vector<String> rest(arguments.begin() + static_cast<std::ptrdiff_t>(word) + 1,
                                   arguments.end());
    const auto document = Rehearsed(rest);
    if ((*document)["status"] == kUsageError) {
        TellErrors(*document);
        m_isWrongUse = true;
        return kUsageError;
    }
    return Report(*document, m_command.MayAsk(rest));
}

std::shared_ptr<const Json> PreviewCommand::Rehearsed(const std::vector<String>& arguments) {
    Preview::Request request = m_command.RequestFor(arguments, m_version);
    if (const String refusal = m_command->Refusal(arguments); !refusal.IsEmpty())
        request.refused = refusal.Trim().Utf8();
    request.withHashes = m_options.json || !m_options.outFile.IsEmpty();
    const int shownOn = m_options.json ? STDERR_FILENO : STDOUT_FILENO;
    return m_command.Rehearse(arguments, request, {m_command.MayAsk(arguments) ? shownOn : -1}).document;
}

unsigned PreviewCommand::Report(const Json& document, bool wasSeen) const {
    const bool isPossible = document["possible"].get<bool>();
    if (m_options.json) {
        corekit::Console::Out(corekit::JsonDocument(Preview::Printed(document)));
    } else if (isPossible) {
        Messages::Tell(Preview::TextReport(document, ColoursOn(STDOUT_FILENO),
                                           wasSeen ? Preview::Output::SeenAlready : Preview::Output::Shown));
    }
    TellErrors(document);
    if (!isPossible) return kFailure;
    if (!m_options.outFile.IsEmpty()) {
        const std::string kept = corekit::JsonDocument(Preview::Kept(document));
        if (const String why = Keep(m_options.outFile, kept); !why.IsEmpty()) {
            Messages::Warn(L"ERROR: Unable to write to file: " + Messages::ShownAscii(m_options.outFile) +
                           L"\n  " + why + L"\n");
            return kFailure;
        }
    }
    constexpr unsigned kWouldChange = 2;
    const unsigned status = document["status"].get<unsigned>();
    const bool tellsChange = m_options.exitCode && status == kSuccess && document["changed"].get<bool>();
    return tellsChange ? kWouldChange : status;
}

void PreviewCommand::Usage(const String& prefix) const {
    if (m_options.json) Messages::Tell(kBanner);  // there is no document that it would disturb
    if (m_isWrongUse) return m_command->Usage(prefix + L" " + m_command.Word());
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
