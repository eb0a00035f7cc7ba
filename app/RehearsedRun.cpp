// Writes down how the command ended, with which settings, and which directories these name.
#include "app/RehearsedRun.h"

#include <nlohmann/json.hpp>

#include "app/Refusals.h"
#include "corekit/ini/IniFile.h"
#include "preview/ClientConfKeys.h"
#include "preview/SettingsList.h"
#include "run/Args.h"
#include "run/Keys.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using Json = nlohmann::ordered_json;

namespace {

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

/// The keys of the client.conf that was made of these settings; null where it is not in its place.
Json ConfigurationOf(const Settings& settings) {
    const String path = settings.Get(kInstallDir) + Names::kClientConf;
    const corekit::IniFile conf(path);
    if (!conf.ReadResult()) return nullptr;
    return {{"path", path.Utf8()}, {"keys", Preview::KeysOf(conf, settings.Keys())}};
}

void AddPlaces(const Settings& settings, Json& places) {
    for (const SettingName name : kDirectories) {
        const String directory = ExpandPathMacros(settings.Get(name), settings.Get(kInstallDir));
        if (!directory.IsEmpty()) places.push_back(MakeAbsolutePath(directory).Utf8());
    }
}

}  // namespace

std::string RunInCopy(ChangingCommand& command, const std::vector<String>& arguments) {
    Rehearsal::bIsOn = true;
    Json record = {{"settings", Json::array()}, {"client_conf", nullptr}, {"stores", Json::array()}};
    record["places"] = Json::array();
    // The directory that -clean is given; its stores can be told before it goes only.
    if (!arguments.empty() && arguments.front().StartsWith(L"/")) {
        AddStores(arguments.front(), record["stores"]);
        record["places"].push_back(arguments.front().Utf8());
    }
    record["status"] = command.Run(arguments);
    record["start"] = Rehearsal::bStartsAgent;
    record["answers"] = Json::array();
    for (const String& answer : Rehearsal::answers) record["answers"].push_back(answer.Utf8());
    if (const Settings* settings = command.LastSettings()) {
        const String installDir = settings->Get(kInstallDir);
        record["settings"] = Preview::SettingsList(*settings);
        AddStores(installDir, record["stores"]);
        AddPlaces(*settings, record["places"]);
        if (record["status"] == kSuccess) record["client_conf"] = ConfigurationOf(*settings);
    }
    return record.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Zorvane::AgentInstaller
