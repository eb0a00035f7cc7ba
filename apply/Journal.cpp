// The journal's files. Each is written whole and flushed; CBOR takes paths as the bytes that they are.
#include "apply/Journal.h"

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>

#include "apply/FailedFiles.h"
#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/json/Json.h"

namespace Zorvane::AgentInstaller::Apply {

using corekit::Json;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;
namespace Keeping = corekit::Keeping;

namespace {

constexpr const wchar_t* kStores = L"/var/lib/qdn-configure/stores";
constexpr const wchar_t* kJournal = L"/var/lib/qdn-configure/journal";
constexpr const wchar_t* kOver = L"/var/lib/qdn-configure/over";

/// Goes up with every change of what is written here: the run that reads a journal may be a newer program's.
constexpr int kFormat = 1;

Outcome<> WriteNote(const wchar_t* path, const Json& note) {
    if (const Result written = File::WriteBytes(path, corekit::Cbor(note), {.mode = 0600}); !written)
        return FailToSave(path, written);
    return {};
}

Outcome<Json> ReadNote(const wchar_t* path) {
    constexpr const wchar_t* kUnreadable = L"The journal of a former -apply cannot be read.";
    const auto bytes = File::ReadBytes(path);
    if (!bytes) return FailBecause(kUnreadable, path, bytes.error());
    Json note = corekit::ParseCbor(*bytes);
    if (note.is_discarded()) return FailBecause(kUnreadable, path, Result(EINVAL));
    return note;
}

Json ToJson(const SavedEntry& entry) {
    const Preview::FileState& state = entry.state;
    return {static_cast<int>(entry.kind),
            entry.path,
            entry.saved,
            static_cast<int>(state.type),
            state.mode,
            state.uid,
            state.gid,
            state.attributes,
            entry.names};
}

SavedEntry EntryFrom(const Json& json) {
    SavedEntry entry;
    entry.kind = static_cast<SavedEntry::Kind>(json.at(0).get<int>());
    entry.path = json.at(1);
    entry.saved = json.at(2);
    entry.state.type = static_cast<Preview::FileType>(json.at(3).get<int>());
    entry.state.mode = json.at(4);
    entry.state.uid = json.at(5);
    entry.state.gid = json.at(6);
    entry.state.attributes = json.at(7).get<std::map<std::string, std::string>>();
    entry.names = json.at(8).get<std::vector<std::string>>();
    return entry;
}

Json ToJson(const SavedMove& move) {
    return {move.from, move.to, move.held, move.identity.first, move.identity.second};
}

SavedMove MoveFrom(const Json& json) {
    return {json.at(0), json.at(1), json.at(2), {json.at(3), json.at(4)}};
}

/// Whether one of the notes is there; fails when the system does not tell.
Outcome<bool> Has(const wchar_t* path) {
    const Result found = File::Probe(path);
    if (!found && !IsNotFound(found))
        return FailBecause(L"Whether a former -apply was cut off cannot be told.", path, found);
    return found.Ok();
}

}  // namespace

Failure FailToSave(const String& path, const Result& cause) {
    return FailBecause(L"What the run would touch cannot be saved.", path, cause);
}

Outcome<Phase> FindPhase() {
    constexpr struct {
        const wchar_t* note;
        Phase phase;
    } kNotes[] = {{kOver, Phase::Over}, {kJournal, Phase::Running}, {kStores, Phase::Saving}};
    for (const auto& row : kNotes) {
        const Outcome<bool> has = Has(row.note);
        if (!has) return has.error();
        if (*has) return row.phase;
    }
    return Phase::None;
}

Outcome<> BeginJournal(const Journal& journal) {
    Result made = corekit::Dir::CreateR(L"/var/lib");
    if (made) made = Keeping::MakePrivateDirectory(kStateDir);
    if (!made && made.Code() != EEXIST) return FailToSave(kStateDir, made);
    return WriteNote(kStores, {{"format", kFormat},
                               {"stores", journal.stores},
                               {"agent-dirs", journal.agentDirs},
                               {"running-agent", journal.runningAgent}});
}

Outcome<> WriteJournal(const Journal& journal) {
    Json note = {{"entries", Json::array()}, {"moves", Json::array()}};
    for (const SavedEntry& entry : journal.entries) note["entries"].push_back(ToJson(entry));
    for (const SavedMove& move : journal.moves) note["moves"].push_back(ToJson(move));
    return WriteNote(kJournal, note);
}

Outcome<Journal> ReadJournal() {
    Journal journal;
    const auto begun = ReadNote(kStores);
    if (!begun) return begun.error();
    if (!begun->is_object() || begun->value("format", 0) != kFormat)
        return Fail(L"The journal of a former -apply is of another version of qdn-configure.");
    journal.stores = begun->at("stores").get<std::vector<std::string>>();
    journal.agentDirs = begun->at("agent-dirs").get<std::vector<std::string>>();
    journal.runningAgent = begun->at("running-agent");
    const Outcome<bool> hasSaved = Has(kJournal);
    if (!hasSaved) return hasSaved.error();
    if (!*hasSaved) return journal;
    const auto note = ReadNote(kJournal);
    if (!note) return note.error();
    for (const Json& entry : note->at("entries")) journal.entries.push_back(EntryFrom(entry));
    for (const Json& move : note->at("moves")) journal.moves.push_back(MoveFrom(move));
    return journal;
}

Outcome<> MarkOver() {
    return WriteNote(kOver, true);
}

Outcome<> Discard() {
    std::vector<std::string> stores;
    const Outcome<bool> has = Has(kStores);
    if (!has) return has.error();
    if (*has) {
        const auto read = ReadJournal();
        if (!read) return read.error();
        stores = read->stores;
    }
    std::vector<String> left(stores.size());
    std::ranges::transform(stores, left.begin(), String::FromUtf8);
    // The list of the stores goes after them, and what says that all is over goes last.
    for (const wchar_t* note : {kJournal, kStores, kOver}) left.emplace_back(note);
    for (const String& path : left) {
        if (const Result removed = Keeping::RemoveIfThere(path); !removed)
            return FailBecause(L"What -apply had saved cannot be removed.", path, removed);
    }
    // What is left now are notes that were not written to their end, and in nobody's way.
    for (const corekit::FileInfo& entry : corekit::Dir::Entries(kStateDir, String())) {
        if (entry.path != kFailedDir) Forgive(Keeping::RemoveIfThere(entry.path));
    }
    // It stays where the files of an attempt that failed are in it.
    Forgive(corekit::Dir::RemoveIfEmpty(kStateDir));
    return {};
}

}  // namespace Zorvane::AgentInstaller::Apply
