// Reading and replacing the records of older stores so that nothing they held is lost.
#include "agents/carry/StoreRecords.h"

#include <filesystem>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/TreeComparison.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/SystemCall.h"
#include "corekit/text/Text.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;

namespace {

/// Is there an entry before the section, or another section?
bool HoldsMoreThan(const String& section, const String& text) {
    const String header = L"[" + section + L"]";
    bool isWithin = false;
    corekit::StringTokenizer lines(text, L"\r\n");
    for (String line; lines.GetToken(line);) {
        line = line.Trim();
        isWithin = isWithin || line == header;
        const bool isHeader = line.StartsWith(L"[");
        if (isHeader ? line != header : !isWithin && line.Contains(L"=")) return true;
    }
    return false;
}

std::optional<unsigned> ModeOf(const String& path) {
    constexpr unsigned kPermissions = 0777;
    std::error_code error;
    const auto status = std::filesystem::status(path.Utf8(), error);
    if (error) return std::nullopt;
    return static_cast<unsigned>(status.permissions()) & kPermissions;
}

/// Success when there is something of that name, if only a link that leads nowhere.
Result Find(const String& path) {
    struct stat info {};
    return corekit::Outcome(lstat(corekit::NativePath(path).c_str(), &info));
}

/// What the system does not tell may well be there.
bool IsThere(const String& path) {
    return !IsNotFound(Find(path));
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

bool AddField(Fields& fields, const String& name, const String& text) {
    const auto [field, isNew] = fields.emplace(name, text);
    return isNew || field->second == text;
}

bool ReadFields(const String& path, const String& section, Fields& fields) {
    auto bytes = File::ReadBytes(path);
    if (!bytes || HoldsMoreThan(section, String::FromUtf8(*bytes))) return false;
    IniFile::Entries entries;
    IniFile(path, std::move(*bytes), IniFile::KeyCase::Exact).GetEntries(section, entries);
    for (const auto& [key, value] : entries) {
        if (!AddField(fields, FieldName(key), value)) return false;
    }
    return true;
}

bool ReadXmlRecord(const String& path, String& text) {
    if (!IsThere(path)) return true;
    const auto read = File::Read(path);
    if (read) text = *read;
    return read.has_value();
}

bool WriteRecord(const String& path, const String& text, const String& oldPath) {
    if (text.IsEmpty()) return false;
    const std::string bytes = text.Utf8();
    if (IsThere(path)) return File::ReadBytes(path).value_or(std::string()) == bytes;
    const auto mode = ModeOf(oldPath);
    return mode && File::WriteBytes(path, bytes, *mode).Ok();
}

bool MoveIfPresent(const String& from, const String& to) {
    if (!IsThere(from)) return true;
    const Result found = Find(to);
    if (IsNotFound(found)) return File::Rename(from, to).Ok();
    if (found && IsCopy(to, from)) corekit::Forgive(File::Remove(from));
    return found.Ok();
}

}  // namespace Zorvane::AgentInstaller
