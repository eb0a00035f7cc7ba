// The command -status: its options, and the configuration that it rehearses.
#include "app/StatusCommand.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "app/ChangingCommand.h"
#include "app/ConfigureCommand.h"
#include "app/PreviewedCommand.h"
#include "corekit/fs/Path.h"
#include "corekit/json/Json.h"
#include "corekit/os/Console.h"
#include "run/Messages.h"
#include "settings/PathMacros.h"
#include "status/Connection.h"
#include "status/Differences.h"
#include "status/Document.h"
#include "status/Facts.h"

namespace Zorvane::AgentInstaller {

using corekit::Json;
using corekit::String;

namespace {

constexpr const char* kOnlyRoot = "only root can rehearse a configuration";

/// A configuration that knows no XML file.
class SameConfiguration : public ConfigureCommand {
  public:
    std::unique_ptr<Settings> LoadXmlSettings() override { return nullptr; }
    bool RemoveXmlConfigFile() override { return true; }
};

/// The error that a configuration would end with, for a client.conf that cannot be read.
String UnreadableText(const Status::Facts& facts) {
    return String(Texts::kUnreadableConfiguration) + L"\n" + facts.clientConf + L": " + facts.unreadable;
}

Outcome<Json> RehearseSame(const Status::Facts& facts) {
    const auto run = [&] {
        Status::HideOtherSources(facts.clientConf);
        SameConfiguration command;
        return Status::WithWhatWasLeft(
            RunInCopy(command, {L"-noimode", L"-nosearch", L"-dir", facts.directory}));
    };
    return Status::FindDifferences(run, facts.directory);
}

}  // namespace

bool StatusCommand::WantsNoBanner(const std::vector<String>& commandLine) {
    if (commandLine.empty() || commandLine.front() != L"-status") return false;
    const auto options = ParseOptions({commandLine.begin() + 1, commandLine.end()});
    return options && options->json;
}

std::optional<StatusCommand::Options> StatusCommand::ParseOptions(const std::vector<String>& arguments) {
    Options options;
    for (const String& argument : arguments) {
        if (argument == L"-json") {
            options.json = true;
        } else if (argument == L"-connect") {
            options.connect = true;
        } else if (options.directory.IsEmpty() && !argument.IsEmpty() && !argument.StartsWith(L"-")) {
            options.directory = corekit::Path::WithoutTrailingSlashes(MakeAbsolutePath(argument));
        } else {
            return std::nullopt;
        }
    }
    return options;
}

unsigned StatusCommand::Run(const std::vector<String>& arguments) {
    const auto options = ParseOptions(arguments);
    if (!options) return kUsageError;
    const Status::Facts facts =
        Status::GatherFacts(options->directory.IsEmpty() ? Status::FindInstallDir() : options->directory);
    Status::Findings findings;
    findings.version = m_version.Utf8();
    if (options->connect && facts.server) findings.isReachable = Status::CanReach(*facts.server);
    Json found;
    if (facts.isInstalled && geteuid() != 0) {
        findings.notCompared = kOnlyRoot;
    } else if (!facts.unreadable.IsEmpty()) {
        found = {{"differences", Json::array()}, {"error", UnreadableText(facts).Utf8()}};
        findings.found = &found;
    } else if (facts.isInstalled) {
        const Outcome<Json> rehearsed = RehearseSame(facts);
        if (rehearsed) {
            found = *rehearsed;
            findings.found = &found;
        } else {
            findings.notCompared = rehearsed.error().text.Utf8();
        }
    }
    const Json document = Status::MakeDocument(facts, findings);
    if (options->json) {
        corekit::Console::Out(corekit::JsonDocument(document));
    } else {
        Messages::Tell(Status::TextReport(document));
    }
    return document["status"].get<unsigned>();
}

void StatusCommand::Usage(const String& prefix) const {
    Messages::Tell(prefix + L" [-json] [-connect] [<Agent-Base-Dir>]\n\n" + Description() +
                   L"\n\n"
                   L"Options:\n\n"
                   L"-json\n"
                   L"\t[optional] Write one JSON document instead of text.\n\n"
                   L"-connect\n"
                   L"\t[optional] Try to reach the Kell Server, too.\n\n"
                   L"<Agent-Base-Dir>\n"
                   L"\t[optional] Zorvane Agent for UNIX and Linux installation root folder.\n\n");
}

String StatusCommand::Description() const {
    return L"Tell what is installed and whether it is as configured; change nothing.";
}

}  // namespace Zorvane::AgentInstaller
