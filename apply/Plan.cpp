// Compares the changes of two documents by path.
#include "apply/Plan.h"

#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "corekit/fs/File.h"
#include "preview/Document.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::String;
using Json = nlohmann::ordered_json;

namespace {

/// The changes by path, without what follows from the rest.
std::map<std::string, Json> ChangesOf(const Json& document) {
    std::map<std::string, Json> changes;
    for (Json change : document["changes"]) {
        change.erase("diff");
        const std::string path = change.value("path_base64", change.value("path", ""));
        changes[path] = std::move(change);
    }
    return changes;
}

std::string ActionOf(const std::map<std::string, Json>& changes, const std::string& path) {
    const auto found = changes.find(path);
    return found == changes.end() ? "none" : found->second.value("action", "?");
}

}  // namespace

Outcome<> CheckPlan(const String& planFile, const Json& document) {
    const auto bytes = corekit::File::ReadBytes(planFile);
    if (!bytes) return FailAt(L"Unable to read the plan: ", planFile, bytes.error());
    const Json plan = Preview::Parsed(*bytes);
    if (!plan.is_object() || plan.value("format", "") != Preview::kFormat || !plan.contains("command") ||
        !plan.contains("changes") || !plan["changes"].is_array())
        return Fail(L"This is no document of -preview -out: ", planFile);
    if (plan["command"] != document["command"]) return Fail(L"The plan is of another command: ", planFile);
    const Json now = Preview::Parsed(Preview::Kept(document));
    const auto planned = ChangesOf(plan);
    const auto found = ChangesOf(now);
    std::set<std::string> paths;
    for (const auto& [path, change] : planned) paths.insert(path);
    for (const auto& [path, change] : found) paths.insert(path);
    String differences;
    for (const std::string& path : paths) {
        const auto before = planned.find(path);
        const auto after = found.find(path);
        if (before != planned.end() && after != found.end() && before->second == after->second) continue;
        const std::string what =
            " (planned: " + ActionOf(planned, path) + ", now: " + ActionOf(found, path) + ")";
        differences += L"\n  " + Messages::Shown(String::FromUtf8(path)) + String::FromUtf8(what);
    }
    if (!differences.IsEmpty())
        return Failure{L"The host has changed since the plan was made:" + differences, {}};
    return {};
}

}  // namespace Zorvane::AgentInstaller::Apply
