// Lists the keys of an INI file.
#include "preview/ClientConfKeys.h"

#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "corekit/text/String.h"
#include "corekit/text/Text.h"
#include "preview/Secrets.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::String;

nlohmann::ordered_json KeysOf(const std::string& clientConf) {
    auto keys = nlohmann::ordered_json::array();
    std::set<std::pair<String, String>> seen;
    String section;
    String line;
    corekit::StringTokenizer lines(String::FromUtf8(clientConf), L"\n");
    while (lines.GetToken(line)) {
        line = line.Trim();
        if (line.StartsWith(L"[") && line.Contains(L"]")) section = line.Mid(1).Before(L"]");
        const std::size_t equals = line.Find(L"=");
        if (line.IsEmpty() || line.FindOneOf(L"[#;") == 0 || equals == String::npos) continue;
        const String key = line.Left(equals).TrimRight();
        if (!seen.emplace(section, key).second) continue;
        const std::string value = line.Mid(equals + 1).TrimLeft().Utf8();
        const bool isSecret = IsSecretName(key.Utf8()) && !value.empty();
        keys.push_back({{"section", section.Utf8()},
                        {"key", key.Utf8()},
                        {"value", isSecret ? std::string(kMask) : value}});
    }
    return keys;
}

}  // namespace Zorvane::AgentInstaller::Preview
