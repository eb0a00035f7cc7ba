// Compares the changes of two documents by path.
#include "apply/Plan.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "corekit/fs/File.h"
#include "corekit/json/Json.h"
#include "preview/Document.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::Json;
using corekit::String;

namespace {

bool IsText(const Json& object, const char* field) {
    const auto found = object.find(field);
    return found != object.end() && found->is_string();
}

bool IsChange(const Json& change) {
    return change.is_object() && IsText(change, "path") && IsText(change, "action") &&
           (!change.contains("path_base64") || IsText(change, "path_base64"));
}

/// Anybody may have edited the file: only what is used of it is looked at.
bool IsPlan(const Json& plan) {
    return plan.is_object() && IsText(plan, "format") && plan["format"] == Preview::kFormat &&
           plan.contains("command") && plan.contains("changes") && plan["changes"].is_array() &&
           std::ranges::all_of(plan["changes"], IsChange) && plan.contains("agent") &&
           plan["agent"].is_object();
}

using ChangesByPath = std::map<std::string, Json>;

/// The changes by path, without what follows from the rest. One that a plan has twice is told by the last.
ChangesByPath ChangesOf(const Json& document) {
    ChangesByPath changes;
    for (Json change : document["changes"]) {
        change.erase("diff");
        const std::string path = change.value("path_base64", change.value("path", ""));
        changes[path] = std::move(change);
    }
    return changes;
}

/// Null for a path that does not change.
Json ChangeAt(const ChangesByPath& changes, const std::string& path) {
    const auto found = changes.find(path);
    return found == changes.end() ? Json() : found->second;
}

std::string ActionOf(const Json& change) {
    return change.is_null() ? "none" : change["action"].get<std::string>();
}

std::string StartOf(const Json& document) {
    return document["agent"].value("start", Json()) == true ? "started" : "not started";
}

String Difference(const std::string& what, const std::string& planned, const std::string& now) {
    return L"\n  " + Messages::Shown(String::FromUtf8(what)) +
           String::FromUtf8(" (planned: " + planned + ", now: " + now + ")");
}

}  // namespace

Outcome<> CheckPlan(const String& planFile, const Json& document) {
    const auto bytes = corekit::File::ReadBytes(planFile);
    if (!bytes) return FailAt(L"Unable to read the plan: ", planFile, bytes.error());
    const Json plan = corekit::ParseJson(*bytes);
    if (!IsPlan(plan)) return Fail(L"This is no document of -preview -out: ", planFile);
    if (plan["command"] != document["command"]) return Fail(L"The plan is of another command: ", planFile);
    const ChangesByPath planned = ChangesOf(plan);
    const ChangesByPath found = ChangesOf(Preview::Kept(document));
    ChangesByPath all = found;
    all.insert(planned.begin(), planned.end());
    String differences;
    for (const auto& [path, change] : all) {
        const Json before = ChangeAt(planned, path);
        const Json now = ChangeAt(found, path);
        if (before != now) differences += Difference(change["path"], ActionOf(before), ActionOf(now));
    }
    if (StartOf(plan) != StartOf(document))
        differences += Difference("the agent", StartOf(plan), StartOf(document));
    if (!differences.IsEmpty())
        return Failure{L"The host has changed since the plan was made:" + differences, {}};
    return {};
}

}  // namespace Zorvane::AgentInstaller::Apply
