// Reading and replacing the records of older stores so that nothing they held is lost.
#include "agents/carry/StoreRecords.h"

#include <string>
#include <sys/stat.h>

#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/TreeComparison.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Text.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;

namespace {

constexpr mode_t kPermissions = 0777;

/// The records of a package or job are small; a larger file is none.
constexpr std::size_t kLargestRecord = std::size_t(16) << 20;

/// The entry itself, even a link that leads nowhere.
corekit::Expected<struct stat> Find(const String& path) {
    const auto place = corekit::ParentDirectory::Of(path);
    return place ? corekit::StatOf(place->Fd(), place->name) : place.error();
}

/// If the lookup fails, the path counts as existing.
bool IsThere(const String& path) {
    const auto found = Find(path);
    return found || !IsNotFound(found.error());
}

bool IsCopy(const String& path, const String& original) {
    const auto place = corekit::ParentDirectory::Of(path);
    const auto originalPlace = corekit::ParentDirectory::Of(original);
    return place && originalPlace && corekit::ContainsCopyOf(place->At(), originalPlace->At());
}

}  // namespace

String FieldName(const String& key) {
    String name;
    corekit::StringTokenizer words(key, L"_");
    for (String word; words.GetToken(word);) name += word.Left(1).Upper() + word.Mid(1);
    return name;
}

Outcome<> AddField(Fields& fields, const String& name, const String& text) {
    const auto [field, isNew] = fields.emplace(name, text);
    if (isNew || field->second == text) return {};
    return Fail(L"it has two values for ", name);
}

Outcome<Fields> ReadFields(const String& path, const String& section) {
    const IniFile record(path, IniFile::KeyCase::Exact, kLargestRecord);
    if (!record.ReadResult()) return Fail(GetErrorMsg(record.ReadResult()));
    IniFile::Entries entries;
    record.GetEntries(section, entries);
    if (entries.empty() && !record.Values().empty()) return Fail(L"it has no section ", section);
    Fields fields;
    for (const auto& [key, value] : entries) {
        if (const auto added = AddField(fields, FieldName(key), value); !added) return added.error();
    }
    return fields;
}

Outcome<String> ReadXmlRecord(const String& path) {
    if (!IsThere(path)) return String();
    const auto bytes = File::ReadBytes(path, kLargestRecord);
    if (!bytes) return Fail(path + L": " + GetErrorMsg(bytes.error()));
    return String::FromUtf8(*bytes);
}

Outcome<> WriteRecord(const String& path, const String& text, const String& oldPath) {
    if (text.IsEmpty()) return Fail(L"XML cannot hold its text");
    const std::string bytes = text.Utf8();
    if (IsThere(path)) {
        if (File::ReadBytes(path).value_or(std::string()) == bytes) return {};
        return Fail(L"there is another record: ", path);
    }
    const auto old = Find(oldPath);
    if (!old) return Fail(GetErrorMsg(old.error()));
    const Result written = File::WriteBytes(path, bytes, {.mode = old->st_mode & kPermissions});
    if (!written) return Fail(path + L": " + GetErrorMsg(written));
    return {};
}

Outcome<> MoveIfPresent(const String& from, const String& to) {
    if (!IsThere(from)) return {};
    const auto found = Find(to);
    if (found) {
        // The copy is what counts from now on.
        if (IsCopy(to, from)) corekit::Forgive(File::Remove(from));
        return {};
    }
    const Result moved = IsNotFound(found.error()) ? File::Rename(from, to) : found.error();
    if (!moved) return Fail(from + L": " + GetErrorMsg(moved));
    return {};
}

void WarnUnlessConverted(const String& path, const Outcome<>& converted) {
    if (!converted)
        Messages::Warn(L"WARNING! " + Messages::Shown(path) + L" is not converted: " +
                       Messages::Shown(converted.error().text) + L".\n");
}

void WarnUnlessRead(const String& store, const Result& read) {
    if (!read && !IsNotFound(read)) WarnUnlessConverted(store, Fail(GetErrorMsg(read)));
}

}  // namespace Zorvane::AgentInstaller
