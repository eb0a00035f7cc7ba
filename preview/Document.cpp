// Puts the document together from what the command said and what it left in the copy.
#include "preview/Document.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "corekit/text/Encoding.h"
#include "preview/Diff.h"
#include "preview/Secrets.h"
#include "preview/Touched.h"
#include "preview/UpperLayer.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Json;
using corekit::String;

namespace {

constexpr const char* kActions[] = {"create", "replace", "change", "remove", "move"};
constexpr const char* kTypes[] = {"file", "directory", "link", "other"};
constexpr const char* kSecret = "secret";  // marks a file with masked values, until the document leaves

std::string Base64(const std::string& bytes) {
    constexpr const char* kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        unsigned group = 0;
        for (std::size_t i = 0; i < 3; ++i)
            group = group << 8U | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0U);
        for (std::size_t i = 0; i < 4; ++i)
            text += at + i > bytes.size() ? '=' : kDigits[group >> (18 - 6 * i) & 63U];
    }
    return text;
}

/// A path goes in as text; its bytes too, where they are none.
void PutPath(Json& object, const char* name, const std::string& path) {
    object[name] = path;
    if (!IsText(path)) object[std::string(name) + "_base64"] = Base64(path);
}

bool IsInStore(const Change& change, const std::vector<std::string>& stores) {
    return std::ranges::any_of(stores,
                               [&](const std::string& store) { return IsAtOrBelow(change.path, store); });
}

Json ChangeAsJson(const Change& change, const HostCopy& copy, const std::vector<std::string>& stores,
                  bool withHashes, std::set<std::string>& secrets) {
    const FileState& shown = change.after ? *change.after : *change.before;
    Json json;
    PutPath(json, "path", change.path);
    json["action"] = kActions[static_cast<int>(change.action)];
    json["type"] = kTypes[static_cast<int>(shown.type)];
    if (change.action == Action::Move) PutPath(json, "to", change.to);
    if (shown.type == FileType::Directory &&
        (change.action == Action::Move || change.action == Action::Remove))
        json["entries"] = change.entries;
    // The bytes of what moves stay, whatever they are.
    const bool withHash = withHashes && change.action != Action::Move;
    json["before"] = StateAsJson(change.before, change.beforeAt, withHash);
    const bool areBytesTheSame = change.action == Action::Change;
    json["after"] = StateAsJson(change.after, change.afterAt, withHash && !areBytesTheSame);
    if (areBytesTheSame) json["after"]["sha256"] = json["before"]["sha256"];
    if (!change.attributes.empty()) json["attributes"] = change.attributes;
    json["diff"] = nullptr;
    if (change.action == Action::Move) return json;
    const Difference difference = DifferenceOf(change, copy.NotesDir(), secrets);
    if (difference.text && !IsInStore(change, stores)) json["diff"] = *difference.text;
    if (difference.hasSecrets) json[kSecret] = true;
    return json;
}

corekit::Expected<std::vector<Change>> ChangesOf(const HostCopy& copy) {
    std::vector<Change> all;
    for (const Layer& layer : copy.Layers()) {
        auto changes = ReadChanges(layer);
        if (!changes) return changes;
        std::ranges::move(*changes, std::back_inserter(all));
    }
    std::erase_if(all, [](const Change& change) { return IsNoEffect(change.path); });
    std::ranges::stable_sort(all, {}, &Change::path);
    return all;
}

/// What is written in the local character set, as text.
std::string Decoded(const std::string& output) {
    return corekit::LocalEncoding().Decode(output).Utf8();
}

/// Standard error is told apart into the error, if any, and warnings; a line that begins with a blank, or
/// with neither of their words, belongs to the one before it.
void PutErrors(Json& document, const std::string& errors) {
    constexpr std::string_view kError = "ERROR";
    constexpr std::string_view kWarning = "WARNING";
    document["error"] = nullptr;
    document["warnings"] = Json::array();
    bool inError = false;
    for (std::size_t at = 0; at < errors.size();) {
        const std::size_t end = std::min(errors.find('\n', at), errors.size());
        const std::string line = errors.substr(at, end - at);
        at = end + 1;
        Json& warnings = document["warnings"];
        if (line.starts_with(kError)) {
            inError = true;
            document["error"] = line.substr(std::min(kError.size() + 2, line.size()));
        } else if (inError && !line.starts_with(kWarning)) {
            document["error"] = document["error"].get<std::string>() + "\n" + line;
        } else if (line.starts_with(kWarning) || warnings.empty()) {
            inError = false;
            warnings.push_back(line);
        } else {
            warnings.back() = warnings.back().get<std::string>() + "\n" + line;
        }
    }
}

/// The frame of every document, in the order of its fields.
Json Frame(const Request& request, const std::string& output, const std::string& errors) {
    Json document = {{"format", kFormat}, {"version", request.version}, {"command", request.command}};
    document["possible"] = true;
    document["status"] = 1;
    document["error"] = nullptr;
    document["refused"] = nullptr;
    if (request.refused) document["refused"] = *request.refused;
    document["changed"] = false;
    document["output"] = request.banner + output;
    PutErrors(document, errors);
    document["settings"] = Json::array();
    document["client_conf"] = nullptr;
    document["changes"] = Json::array();
    document["agent"] = {{"stop", request.stopsAgent}, {"start", false}};
    return document;
}

/// The command may have read or changed what the mount hides on the host.
Failure HiddenMount(const Mount& mount) {
    return Fail(String(kNotPossible) +
                String::FromUtf8(mount.point + " (" + mount.type + ") cannot be mounted a second time."));
}

std::vector<std::string> StringsOf(const Json& list) {
    return list.is_array() ? list.get<std::vector<std::string>>() : std::vector<std::string>();
}

}  // namespace

Json StateAsJson(const std::optional<FileState>& state, const std::string& at, bool withHash) {
    if (!state) return nullptr;
    const bool isFile = state->type == FileType::File;
    char mode[8];
    std::snprintf(mode, sizeof mode, "%04o", state->mode);
    Json json = {
        {"mode", mode}, {"uid", state->uid}, {"gid", state->gid}, {"size", nullptr}, {"sha256", nullptr}};
    if (isFile) json["size"] = state->size;
    if (const auto hash = isFile && withHash ? Sha256Of(at) : std::nullopt) json["sha256"] = *hash;
    json["target"] = nullptr;
    if (state->type == FileType::Link) PutPath(json, "target", state->target);
    json["type"] = kTypes[static_cast<int>(state->type)];
    if (isFile && state->links > 1) json["links"] = state->links;
    return json;
}

Outcome<Json> MakeDocument(const Request& request, const HostCopy& copy, const Rehearsal& rehearsal) {
    Json record = corekit::ParseCbor(rehearsal.record);
    if (!record.is_object()) return Fail(L"The preview failed: the command has not said how it ended.");
    if (const std::string why = record.value("failure", ""); !why.empty())
        return Failure{String::FromUtf8(why), {}};
    for (const std::string& place : StringsOf(record["places"])) {
        if (const Mount* mount = copy.Uncopied(place))
            return Fail(String(kNotPossible) +
                        String::FromUtf8(place + " is on a file system (" + mount->type + " at " +
                                         mount->point +
                                         ") that cannot be copied; choose a directory on another one."));
        if (const Mount* mount = copy.HiddenAt(place)) return HiddenMount(*mount);
    }
    std::set<std::string> secrets;
    Json changes = Json::array();
    const std::vector<std::string> stores = StringsOf(record["stores"]);
    const auto found = ChangesOf(copy);
    if (!found) return FailToPreview(found.error());
    for (const Change& change : *found) {
        if (const Mount* mount = copy.HiddenAt(change.path)) return HiddenMount(*mount);
        changes.push_back(ChangeAsJson(change, copy, stores, request.withHashes, secrets));
    }

    const auto clear = [&](const std::string& text) { return WithoutValues(Masked(Decoded(text)), secrets); };
    Json document = Frame(request, clear(rehearsal.output), clear(rehearsal.errors));
    document["status"] = record["status"];
    document["changed"] = !changes.empty();
    document["settings"] = record["settings"];
    document["client_conf"] = record["client_conf"];
    document["changes"] = std::move(changes);
    document["agent"]["start"] = record["start"];
    return document;
}

Json MakeFailedDocument(const Request& request, const std::string& error) {
    Json document = Frame(request, "", "");
    document["possible"] = false;
    document["error"] = error;
    return document;
}

Json Printed(Json document) {
    for (Json& change : document["changes"]) {
        if (change.erase(kSecret) == 0) continue;
        for (const char* side : {"before", "after"}) {
            if (!change[side].is_null()) change[side]["sha256"] = nullptr;
        }
    }
    return document;
}

Json Kept(Json document) {
    for (Json& change : document["changes"]) change.erase(kSecret);
    return document;
}

}  // namespace Zorvane::AgentInstaller::Preview
