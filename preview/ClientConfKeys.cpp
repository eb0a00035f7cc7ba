// Lists the keys of a client.conf and their sources.
#include "preview/ClientConfKeys.h"

#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "config/ClientConfDraft.h"
#include "corekit/json/Json.h"
#include "preview/Secrets.h"
#include "preview/SettingsList.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::String;

corekit::Json KeysOf(const corekit::IniFile& clientConf, const corekit::IniFile& packageTemplate,
                     const KeySources& sources) {
    KeySources all = sources;
    all.merge(SourcesOfTemplate(packageTemplate));
    auto keys = corekit::Json::array();
    std::set<std::pair<String, String>> seen;
    for (const auto& entry : clientConf.AllEntries()) {
        const auto name = std::pair(entry.section, entry.key);
        if (!seen.insert(name).second) continue;
        const std::string value = entry.value.Utf8();
        const bool isSecret = IsSecretName(entry.key.Utf8()) && !value.empty();
        const bool isUsual = packageTemplate.GetValue(entry.section, entry.key) == entry.value;
        const auto source = all.find(name);
        keys.push_back({{"section", entry.section.Utf8()},
                        {"key", entry.key.Utf8()},
                        {"value", isSecret ? std::string(kMask) : value},
                        {"usual", isUsual},
                        {"source", SourceAsJson(source == all.end() ? Source() : source->second)}});
    }
    return keys;
}

}  // namespace Zorvane::AgentInstaller::Preview
