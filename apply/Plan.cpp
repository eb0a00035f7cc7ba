// Compares the changes of two documents by path.
#include "apply/Plan.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "corekit/fs/File.h"
#include "preview/Document.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::String;
using Json = nlohmann::ordered_json;

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

/// What two documents say of a path: null for nothing.
struct Pair {
    Json planned;
    Json now;
};

/// The changes by path, without what follows from the rest. One that a plan has twice is told by the last.
std::map<std::string, Pair> PairsOf(const Json& plan, const Json& document) {
    std::map<std::string, Pair> pairs;
    const auto collect = [&pairs](const Json& changes, Json Pair::*side) {
        for (Json change : changes) {
            change.erase("diff");
            const std::string path = change.value("path_base64", change.value("path", ""));
            pairs[path].*side = std::move(change);
        }
    };
    collect(plan["changes"], &Pair::planned);
    collect(document["changes"], &Pair::now);
    return pairs;
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
    const Json plan = Preview::Parsed(*bytes);
    if (!IsPlan(plan)) return Fail(L"This is no document of -preview -out: ", planFile);
    if (plan["command"] != document["command"]) return Fail(L"The plan is of another command: ", planFile);
    String differences;
    for (const auto& [path, pair] : PairsOf(plan, Preview::Parsed(Preview::Kept(document)))) {
        if (pair.planned == pair.now) continue;
        const Json& either = pair.now.is_null() ? pair.planned : pair.now;
        differences += Difference(either["path"], ActionOf(pair.planned), ActionOf(pair.now));
    }
    if (StartOf(plan) != StartOf(document))
        differences += Difference("the agent", StartOf(plan), StartOf(document));
    if (!differences.IsEmpty())
        return Failure{L"The host has changed since the plan was made:" + differences, {}};
    return {};
}

}  // namespace Zorvane::AgentInstaller::Apply
