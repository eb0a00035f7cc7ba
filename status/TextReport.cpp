// Lays the document of -status out in two columns.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "corekit/json/Json.h"
#include "corekit/text/Text.h"
#include "preview/Layout.h"
#include "status/Document.h"

namespace Zorvane::AgentInstaller::Status {

using corekit::Json;
using corekit::String;

namespace {

constexpr std::size_t kMostDifferences = 12;
constexpr std::size_t kWidestName = 12;

std::string Shown(const Json& text) {
    if (!text.is_string()) return {};
    return Preview::Shown(text.get<std::string>());
}

std::string Line(std::string name, const std::string& value) {
    name.resize(kWidestName, ' ');
    return "  " + name + value + "\n";
}

/// "a, b and c".
std::string Listed(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t i = 0; i < words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + words[i];
    return text;
}

std::string AgentText(const Json& installed) {
    const std::string label = Shown(installed["label"]);
    const std::string version = Shown(installed["version"]);
    return (version.empty() ? "unknown version" : version) + (label.empty() ? "" : " (" + label + ")") +
           " in " + Shown(installed["directory"]);
}

std::string ServerText(const Json& server, const std::string& none) {
    if (server["url"].is_null()) return none;
    const Json& reachable = server["reachable"];
    return Shown(server["url"]) + (reachable.is_null()     ? ""
                                   : reachable.get<bool>() ? " (can be reached)"
                                                           : " (cannot be reached)");
}

std::string IdentifierText(const Json& identifier, const std::string& none) {
    if (identifier["file"].is_null()) return none;
    return Shown(identifier["file"]) + (identifier["present"].get<bool>() ? "" : " (not there yet)");
}

std::string BootText(const Json& boot) {
    if (boot.contains("unreadable")) return "not known: " + Shown(boot["unreadable"]);
    if (!boot["enabled"].get<bool>()) return "not started";
    std::vector<std::string> levels;
    for (const Json& level : boot["levels"]) levels.push_back(std::to_string(level.get<int>()));
    const std::string where =
        levels.empty() ? "" : " in run level" + std::string(levels.size() == 1 ? " " : "s ") + Listed(levels);
    return "started" + where + ", by " + Listed(boot["by"].get<std::vector<std::string>>());
}

std::string ProcessText(const Json& agent) {
    if (!agent["running"].get<bool>()) return "not running";
    return "running (pid " + std::to_string(agent["pid"].get<long>()) + ")";
}

std::string OwnerText(const Json& state) {
    return std::to_string(state["uid"].get<unsigned>()) + ":" + std::to_string(state["gid"].get<unsigned>());
}

/// A difference in the words of somebody who looks at the host.
std::string WhatIsWrong(const Json& difference) {
    const std::string action = difference["action"].get<std::string>();
    const Json& before = difference["before"];
    const Json& after = difference["after"];
    if (action == "create") return "is missing";
    if (action == "remove") return "should not be there";
    if (action == "move") return "should be " + Shown(difference["to"]);
    if (action == "replace") {
        if (before["type"] == "other") return "is not a " + Shown(after["type"]);
        if (before["type"] != after["type"])
            return "is a " + Shown(before["type"]) + ", not a " + Shown(after["type"]);
        return after["target"].is_null() ? "has other contents"
                                         : "does not lead to " + Shown(after["target"]);
    }
    if (OwnerText(before) != OwnerText(after))
        return "belongs to " + OwnerText(before) + ", not to " + OwnerText(after);
    if (before["mode"] != after["mode"])
        return "has mode " + Shown(before["mode"]) + ", not " + Shown(after["mode"]);
    return "has other extended attributes";
}

std::string DifferencesText(const Json& differences) {
    std::string text;
    for (std::size_t i = 0; i < std::min(differences.size(), kMostDifferences); ++i)
        text += "    " + Shown(differences[i]["path"]) + " " + WhatIsWrong(differences[i]) + "\n";
    if (differences.size() > kMostDifferences)
        text +=
            "    and " + std::to_string(differences.size() - kMostDifferences) + " more; -json lists all\n";
    return text;
}

/// The error, whose further lines stand below it like differences.
std::string FailureText(const Json& error) {
    std::string text = "a configuration would fail:";
    corekit::StringTokenizer lines(String::FromUtf8(error.get<std::string>()), L"\n");
    const char* before = " ";
    for (String line; lines.GetToken(line);) {
        if (line.IsEmpty()) continue;
        text += before + Shown(Json(line.Utf8()));
        before = "\n    ";
    }
    return text;
}

std::string CountText(const Json& document) {
    if (!document["not_compared"].is_null()) return "not looked for: " + Shown(document["not_compared"]);
    if (!document["error"].is_null()) return FailureText(document["error"]);
    const std::size_t count = document["differences"].size();
    return count == 0 ? "none" : std::to_string(count) + " from what a configuration would make now:";
}

const char* Closing(unsigned status, bool isCompared) {
    switch (status) {
        case kOutOfOrder:
            return "Not in order";
        case kNotRunning:
            return isCompared ? "In order, but not running" : "Not running";
        case kNotConfigured:
            return "No agent is configured";
        default:
            return isCompared ? "In order" : "Running";
    }
}

}  // namespace

String TextReport(const Json& document) {
    std::string text = "\n";
    const Json& installed = document["installed"];
    if (!installed.is_null()) {
        text += Line("Agent", AgentText(installed));
        if (installed["unfinished"].get<bool>())
            text += Line("", "a run that configured it has not come to its end: run the command again");
        if (installed.contains("unreadable"))
            text += Line("", "its client.conf cannot be read: " + Shown(installed["unreadable"]));
        const std::string none = installed.contains("unreadable") ? "not known" : "none";
        text += Line("Server", ServerText(document["server"], none)) +
                Line("Identifier", IdentifierText(document["identifier"], none)) +
                Line("At boot", BootText(document["boot"])) +
                Line("Process", ProcessText(document["agent"])) + Line("Differences", CountText(document));
        if (document["differences"].is_array()) text += DifferencesText(document["differences"]);
        text += "\n";
    }
    const auto status = document["status"].get<unsigned>();
    text += std::string(Closing(status, document["not_compared"].is_null())) + " (status " +
            std::to_string(status) + ").\n";
    return String::FromUtf8(text);
}

}  // namespace Zorvane::AgentInstaller::Status
