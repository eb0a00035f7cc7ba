// Puts the document together, in the order of its fields, and judges the state.
#include "status/Document.h"

#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"

namespace Zorvane::AgentInstaller::Status {

using corekit::Json;
using corekit::String;

namespace {

Json TextOrNull(const String& text) {
    return text.IsEmpty() ? Json(nullptr) : Json(text.Utf8());
}

unsigned StatusOf(const Facts& facts, const Json& differences, const Json& error) {
    if (!facts.isInstalled) return kNotConfigured;
    if (facts.isUnfinished || !error.is_null() || (!differences.is_null() && !differences.empty()))
        return kOutOfOrder;
    return facts.process ? kInOrder : kNotRunning;
}

Json Installed(const Facts& facts) {
    if (!facts.isInstalled) return nullptr;
    Json installed = {{"version", TextOrNull(facts.version)},
                      {"label", TextOrNull(facts.label)},
                      {"directory", facts.directory.Utf8()},
                      {"client_conf", facts.clientConf.Utf8()},
                      {"unfinished", facts.isUnfinished}};
    if (!facts.unreadable.IsEmpty()) installed["unreadable"] = facts.unreadable.Utf8();
    return installed;
}

}  // namespace

Json MakeDocument(const Facts& facts, const Findings& findings) {
    const Json differences = findings.found == nullptr ? Json(nullptr) : (*findings.found)["differences"];
    const Json error = findings.found == nullptr ? Json(nullptr) : (*findings.found)["error"];
    Json document = {{"format", kFormat}, {"version", findings.version}};
    document["status"] = StatusOf(facts, differences, error);
    document["installed"] = Installed(facts);
    document["server"] = {{"url", facts.server ? TextOrNull(facts.server->Text()) : nullptr},
                          {"reachable", nullptr}};
    if (findings.isReachable) document["server"]["reachable"] = *findings.isReachable;
    document["identifier"] = {{"file", TextOrNull(facts.identifierFile)}, {"present", facts.hasIdentifier}};
    document["boot"] = {
        {"by", Json::array()}, {"enabled", !facts.boot.by.empty()}, {"levels", facts.boot.levels}};
    for (const String& by : facts.boot.by) document["boot"]["by"].push_back(by.Utf8());
    if (!facts.boot.unreadable.IsEmpty()) document["boot"]["unreadable"] = facts.boot.unreadable.Utf8();
    document["agent"] = {{"running", facts.process.has_value()}, {"pid", nullptr}};
    if (facts.process) document["agent"]["pid"] = *facts.process;
    document["differences"] = differences;
    document["error"] = error;
    document["not_compared"] = findings.notCompared.empty() ? Json(nullptr) : Json(findings.notCompared);
    return document;
}

}  // namespace Zorvane::AgentInstaller::Status
