// The commands that can be rehearsed: what they note in the copy of the host, and what comes back from it.
#include "app/PreviewedCommand.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "app/ChangingCommand.h"
#include "app/CleanCommand.h"
#include "app/ConfigureCommand.h"
#include "corekit/ini/IniFile.h"
#include "corekit/json/Json.h"
#include "corekit/os/Sys.h"
#include "preview/ClientConfKeys.h"
#include "preview/Rehearse.h"
#include "preview/SettingsList.h"
#include "run/Args.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::Json;
using corekit::String;

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

bool Holds(const std::vector<String>& arguments, const wchar_t* option) {
    return std::ranges::find(arguments, String(option)) != arguments.end();
}

/// What goes from the process that saw the copy to the one that asked for it: CBOR, which takes any path.
/// The document goes as text: a plan that was read from a file is compared with it.
std::string Packed(const Json& document, const Preview::TouchedNames& names, const std::string& record) {
    Json packed = {
        {"document", corekit::JsonLine(document)}, {"names", Json::array()}, {"moves", Json::array()}};
    for (const Preview::Touched& name : names.names)
        packed["names"].push_back(Json::array({name.path, static_cast<int>(name.touch)}));
    for (const Preview::MovedDirectory& move : names.moves)
        packed["moves"].push_back(Json::array({move.from, move.to}));
    const Json fields = corekit::ParseCbor(record);
    for (const char* list : {"places", "identifiers", "answers"})
        packed[list] = fields.value(list, Json::array());
    packed["install_dir"] = fields.value("install_dir", "");
    return corekit::Cbor(packed);
}

RehearsedRun Unpacked(const std::string& bytes) {
    const Json packed = corekit::ParseCbor(bytes);
    RehearsedRun run;
    run.document =
        std::make_shared<Json>(corekit::ParseJson(packed["document"].get_ref<const std::string&>()));
    for (const Json& name : packed["names"])
        run.names.names.push_back({name[0], static_cast<Preview::Touch>(name[1].get<int>())});
    for (const Json& move : packed["moves"]) run.names.moves.push_back({move[0], move[1]});
    for (const Json& place : packed["places"]) run.places.push_back(place);
    for (const Json& identifier : packed["identifiers"]) run.identifiers.push_back(identifier);
    for (const Json& answer : packed["answers"])
        run.answers.push_back(String::FromUtf8(answer.get<std::string>()));
    run.installDir = String::FromUtf8(packed["install_dir"].get<std::string>());
    return run;
}

/// A line of the rehearsed command's.
void TellLine(const std::string& text) {
    Messages::Warn(String::FromUtf8(text) + L"\n");
}

constexpr SettingName kInstallDir = L"InstallDir";

/// The settings that name a directory in which files are made.
constexpr SettingName kDirectories[] = {kInstallDir,      L"BinDir",      L"TempDir",  L"GuidDir", L"LogDir",
                                        L"EventQueueDir", L"PackagesDir", L"TasksDir", L"SWDDir"};

void AddStores(const String& installDir, Json& stores) {
    const corekit::IniFile conf(installDir + Names::kClientConf);
    for (const ConfKey& key : Key::kStores) {
        const String store = GetValue(conf, key);
        if (!store.IsEmpty()) stores.push_back(store.Utf8());
    }
}

/// The file of the identifier that a client.conf names.
void AddIdentifier(const String& installDir, Json& identifiers) {
    const corekit::IniFile conf(installDir + Names::kClientConf);
    const String path = GetValue(conf, Key::kGuidFile);
    if (!path.IsEmpty()) identifiers.push_back(path.Utf8());
}

/// Adds the keys of the client.conf that was made of these settings, unless it is not in its place; or why
/// they cannot be told.
void AddConfiguration(const Settings& settings, Json& record) {
    const String path = settings.Get(kInstallDir) + Names::kClientConf;
    const corekit::IniFile conf(path);
    const corekit::IniFile packageTemplate(settings.Get(kInstallDir) + Names::kClientProto);
    for (const corekit::Result& read : {conf.ReadResult(), packageTemplate.ReadResult()})
        if (!read && !IsNotFound(read)) record["failure"] = Preview::FailToPreview(read).text.Utf8();
    if (!conf.ReadResult()) return;
    record["client_conf"] = {{"path", path.Utf8()},
                             {"keys", Preview::KeysOf(conf, packageTemplate, settings.Keys())}};
}

void AddPlaces(const Settings& settings, Json& places) {
    for (const SettingName name : kDirectories) {
        const String directory = ExpandPathMacros(settings.Get(name), settings.Get(kInstallDir));
        if (!directory.IsEmpty()) places.push_back(MakeAbsolutePath(directory).Utf8());
    }
}

}  // namespace

bool PreviewedCommand::Choose(const String& word) {
    const auto* const row = std::ranges::find(kPreviewed, word, &Previewed::word);
    if (row == std::end(kPreviewed)) return false;
    m_word = word;
    m_command = row->make();
    return true;
}

bool PreviewedCommand::MayAsk(const std::vector<String>& arguments) const {
    if (isatty(STDIN_FILENO) == 0) return false;
    return m_word == L"-iconfigure" ||
           (m_word == L"-configure" && !Holds(arguments, L"-noimode") && !Holds(arguments, L"-quiet"));
}

Preview::Request PreviewedCommand::RequestFor(const std::vector<String>& arguments,
                                              const String& version) const {
    Preview::Request request;
    request.version = version.Utf8();
    request.banner = String(kBanner).Utf8();
    request.command.push_back(m_word.Utf8());
    for (const String& argument : arguments) request.command.push_back(argument.Utf8());
    return request;
}

RehearsedRun PreviewedCommand::Rehearse(const std::vector<String>& arguments, const Preview::Request& request,
                                        Preview::Audience audience) const {
    const auto run = [&] { return RunInCopy(*m_command, arguments); };
    const auto tell = [&](const Preview::HostCopy& copy,
                          const Preview::Rehearsal& rehearsal) -> Outcome<std::string> {
        const auto document = Preview::MakeDocument(request, copy, rehearsal);
        if (!document) return document.error();
        const auto names = Preview::ReadTouched(copy);
        if (!names) return Preview::FailToPreview(names.error());
        return Packed(*document, *names, rehearsal.record);
    };
    const auto told = Preview::Rehearse(run, tell, audience);
    if (told) return Unpacked(*told);
    RehearsedRun failed;
    failed.wasPossible = !told.error().text.StartsWith(Preview::kNotPossible);
    failed.document = std::make_shared<Json>(Preview::MakeFailedDocument(request, told.error().text.Utf8()));
    return failed;
}

void TellWarnings(const Json& document) {
    for (const Json& warning : document["warnings"]) TellLine(warning.get<std::string>());
}

void TellErrors(const Json& document) {
    TellWarnings(document);
    const Json& error = document["error"];
    if (error.is_string()) TellLine("ERROR: " + error.get<std::string>());
}

Preview::Colours ColoursOn(int descriptor) {
    const bool areWanted = isatty(descriptor) != 0 && !corekit::Env::Get(L"NO_COLOR") &&
                           corekit::Env::Get(L"TERM") != String(L"dumb");
    return areWanted ? Preview::Colours::Terminal : Preview::Colours::None;
}

std::string RunInCopy(ChangingCommand& command, const std::vector<String>& arguments) {
    RunMode::isRehearsal = true;
    Json record = {{"settings", Json::array()}, {"client_conf", nullptr}, {"stores", Json::array()}};
    record["places"] = Json::array();
    record["identifiers"] = Json::array();
    // The directory that -clean is given; its stores can be told before it goes only.
    if (!arguments.empty() && arguments.front().StartsWith(L"/")) {
        AddStores(arguments.front(), record["stores"]);
        AddIdentifier(arguments.front(), record["identifiers"]);
        record["places"].push_back(arguments.front().Utf8());
    }
    record["status"] = command.Run(arguments);
    record["start"] = RunMode::wouldStartAgent;
    record["answers"] = Json::array();
    for (const String& answer : RunMode::answers) record["answers"].push_back(answer.Utf8());
    if (const Settings* settings = command.LastSettings()) {
        const String installDir = settings->Get(kInstallDir);
        record["settings"] = Preview::SettingsList(*settings);
        record["install_dir"] = installDir.Utf8();
        AddStores(installDir, record["stores"]);
        AddPlaces(*settings, record["places"]);
        AddIdentifier(installDir, record["identifiers"]);
        if (settings->IsSet(L"Guid"))
            record["identifiers"].push_back(settings->Record(L"Guid").used.source.name.Utf8());
        if (record["status"] == kSuccess) AddConfiguration(*settings, record);
    }
    return corekit::Cbor(record);
}

}  // namespace Zorvane::AgentInstaller
