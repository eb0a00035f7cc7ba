// The file that holds the machine's identifier: its form, and when it goes.
#include "config/GuidFile.h"

#include <cerrno>
#include <sys/stat.h>

#include "corekit/fs/File.h"
#include "corekit/fs/HostDirectories.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/os/SystemCall.h"
#include "run/Failure.h"
#include "run/Keys.h"
#include "run/Messages.h"

namespace Zorvane::AgentInstaller {

using corekit::IniFile;
using corekit::String;
namespace File = corekit::File;

namespace {

String PathIn(const IniFile& conf) {
    return GetValue(conf, Key::kGuidFile);
}

constexpr std::size_t kLargestFile = 4096;

/// True if the first line is an identifier in braces.
bool HoldsIdentifier(const std::string& bytes) {
    const String line = String::FromUtf8(bytes.substr(0, bytes.find('\n'))).Trim();
    return line.StartsWith(L"{") && line.EndsWith(L"}");
}

/// The reason why no identifier may be written or removed at the path; empty when it may be. The path must be
/// free or a regular file without a second name, and in a directory of the host it must hold an identifier
/// already. Fails when that cannot be told.
corekit::Expected<String> WhyNotOurs(const String& path) {
    const auto place = corekit::ParentDirectory::Of(path);
    const auto info = place ? corekit::StatOf(place->Fd(), place->name) : place.error();
    if (!info && IsNotFound(info.error())) return String();
    if (!info) return info.error();
    if (!S_ISREG(info->st_mode)) return String(L"it is not a regular file");
    if (info->st_nlink != 1) return String(L"it has other names");
    if (corekit::CheckRemovable(corekit::Path::GetDirectory(path))) return String();
    const auto bytes = File::ReadBytes(path, kLargestFile);
    if (!bytes && IsTransient(bytes.error())) return bytes.error();
    if (!bytes) return GetErrorMsg(bytes.error());
    return String(HoldsIdentifier(*bytes) ? L"" : L"it holds no identifier");
}

/// Writes the text, unless the file holds it already, and reads it back: EIO if the file does not hold it
/// then.
corekit::Result WriteAndReadBack(const String& path, const String& text) {
    const std::string bytes = text.Utf8();
    const auto read = [&] { return File::ReadBytes(path, bytes.size()); };
    if (const auto present = read(); present && *present == bytes) return corekit::Result();
    if (const auto written = File::WriteBytes(path, bytes); !written) return written;
    const auto found = read();
    if (!found) return found.error();
    return *found == bytes ? corekit::Result() : corekit::Result(EIO);
}

}  // namespace

String GuidFileText(const String& guid) {
    return guid + L"\nnull";
}

corekit::Expected<String> ReadGuidFile(const String& path) {
    const auto bytes = File::ReadBytes(path, kLargestFile);
    if (!bytes) return bytes.error();
    return String::FromUtf8(*bytes);
}

Outcome<> WriteGuidFile(const IniFile& conf, const Settings& settings) {
    if (!settings.IsSet(L"Guid")) return {};
    const String path = PathIn(conf);
    if (path.IsEmpty()) return {};
    const SourcedValue& guid = settings.Record(L"Guid").used;
    const bool isInstalled = guid.source.kind == Source::Kind::Installed;
    const auto whyNot = WhyNotOurs(path);
    String why = whyNot ? *whyNot : GetErrorMsg(whyNot.error());
    if (why.IsEmpty()) {
        const auto written = WriteAndReadBack(path, isInstalled ? guid.given : GuidFileText(guid.value));
        if (written) return {};
        why = GetErrorMsg(written);
    }
    const bool wouldBeLost = isInstalled && !corekit::Path::IsMatch(guid.source.name, path);
    const String shown = Messages::Shown(path);
    if (wouldBeLost) return Failure{Texts::kUnwritableFile + shown, shown + L": " + why};
    Messages::Warn(L"WARNING! " + shown + L" is not written: " + why + L".\n");
    return {};
}

corekit::Result RemoveGuidFile(const IniFile& conf) {
    const String path = PathIn(conf);
    if (const auto read = ReadGuidFile(path).Outcome(); IsTransient(read)) return read;
    const auto whyNot = WhyNotOurs(path);
    if (!whyNot) return whyNot.error();
    return whyNot->IsEmpty() ? File::Remove(path) : corekit::Result();
}

void RemoveUnwantedGuidFile(const IniFile& conf, const Settings& settings) {
    if (settings.IsSet(L"Guid")) return;
    // An identifier that was not read, as that of version 5.6, remains valid while the server stays.
    if (settings.IsYes(L"Upgrade") && !settings.IsSet(L"KSNameChanged")) return;
    const corekit::Result removed = RemoveGuidFile(conf);
    if (!removed && !IsNotFound(removed)) Messages::WarnKept(PathIn(conf), GetErrorMsg(removed));
}

}  // namespace Zorvane::AgentInstaller
