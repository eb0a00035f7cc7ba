// Which rotated logs an agent of version 6.2 leaves, and where.
#include "agents/Agent62.h"

#include <algorithm>
#include <array>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "run/Keys.h"
#include "run/Names.h"
#include "settings/PathMacros.h"

namespace Zorvane::AgentInstaller {

using corekit::String;
using corekit::File::HostDirectory;
namespace Path = corekit::Path;

namespace {

// The host's directories in which an administrator may well keep a log: those of data. In one of programs,
// libraries or configuration the names of the host's own files end in numbers, too.
constexpr std::array kLogDirectories = {
    L"/home",      L"/opt",     L"/root",      L"/run",     L"/srv",     L"/tmp",       L"/var",
    L"/var/cache", L"/var/lib", L"/var/local", L"/var/log", L"/var/opt", L"/var/spool", L"/var/tmp",
};

HostDirectory LogDirectoryOf(const String& log) {
    const String directory = Path::GetDirectory(log);
    const auto holdsLogs = [&](const wchar_t* known) { return Path::IsMatch(directory, known); };
    return std::ranges::any_of(kLogDirectories, holdsLogs) ? HostDirectory::Meant : HostDirectory::Refused;
}

/// The path as a wildcard that matches nothing else: the name of a log may hold any character.
String Literal(const String& path) {
    String name;
    for (const wchar_t character : Path::GetFileName(path)) {
        const bool isSpecial = character == L'*' || character == L'?' || character == L'[';
        name +=
            isSpecial ? L"[" + String(std::wstring(1, character)) + L"]" : String(std::wstring(1, character));
    }
    return path.Left(path.Length() - Path::GetFileName(path).Length()) + name;
}

/// Removes the numbered rotations of a log; the log itself stays.
RemovalOutcome RemoveRotations(const String& log, HostDirectory hostDirectory) {
    RemovalOutcome left;
    const String pattern = Literal(log) + L".[0-9]*";
    if (!Path::GetFileName(log).IsEmpty())
        left.Add(pattern, corekit::File::RemoveEx(pattern, hostDirectory), hostDirectory);
    return left;
}

}  // namespace

bool Agent62::RemoveRotatedDebugLogs(const corekit::IniFile& oldConf) {
    const String log = GetValue(oldConf, Key::kDebugOutput).Replace(L"//", L"/");
    m_left.Add(RemoveRotations(log, LogDirectoryOf(log)));
    return true;
}

bool Agent62::RemoveRotatedClientLogs(const corekit::IniFile& oldConf, const String& newInstallDir) {
    String oldInstallDir = GetValue(oldConf, Key::kInstallDir);
    if (oldInstallDir.IsEmpty() || newInstallDir.IsEmpty()) return true;
    if (Path::IsMatch(oldInstallDir, newInstallDir)) return true;
    EnsureTrailingChar(oldInstallDir, L'/');
    m_left.Add(RemoveRotations(oldInstallDir + L"var/qdn-client.log", HostDirectory::Refused));
    return true;
}

}  // namespace Zorvane::AgentInstaller
