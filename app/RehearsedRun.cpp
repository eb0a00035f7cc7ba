// Writes down how the command ended, with which settings, and which directories these name.
#include "app/RehearsedRun.h"

#include <nlohmann/json.hpp>

#include "corekit/fs/File.h"
#include "corekit/ini/IniFile.h"
#include "preview/ClientConfKeys.h"
#include "preview/SettingsList.h"
#include "run/Keys.h"
#include "run/Names.h"
#include "run/Rehearsal.h"
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

/// The keys of the new client.conf; null without one.
Json ConfigurationAt(const String& path) {
    const auto bytes = corekit::File::ReadBytes(path);
    if (!bytes) return nullptr;
    return {{"path", path.Utf8()}, {"keys", Preview::KeysOf(*bytes)}};
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
    if (const Settings* settings = command.LastSettings()) {
        const String installDir = settings->Get(kInstallDir);
        record["settings"] = Preview::SettingsList(*settings);
        AddStores(installDir, record["stores"]);
        AddPlaces(*settings, record["places"]);
        record["client_conf"] = ConfigurationAt(installDir + Names::kClientConf);
    }
    return record.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Zorvane::AgentInstaller
