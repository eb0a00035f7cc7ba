// Native units: their text, made from the headers of service scripts, and the links that enable them.
#include "deploykit/SystemdUnit.h"

#include <cerrno>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/process/Program.h"
#include "deploykit/ServiceScript.h"

namespace deploykit::SystemdUnit {

using corekit::Dir;
using corekit::FileInfo;
using corekit::Result;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;
namespace Program = corekit::Program;

namespace {

constexpr const wchar_t* kUnitDir = L"/etc/systemd/system";
constexpr const wchar_t* kSystemctl = L"systemctl";

/// Targets that stand for run levels; the levels that end a session of the host have none.
struct LevelTarget {
    const wchar_t* levels;
    const wchar_t* target;
};
constexpr LevelTarget kLevelTargets[] = {
    {L"1", L"rescue.target"},
    {L"234", L"multi-user.target"},
    {L"5", L"graphical.target"},
};

String FileName(const String& name) {
    return name + L".service";
}

String UnitPath(const String& name) {
    return Path::Join(kUnitDir, FileName(name));
}

/// Fails with EPERM if the administrator has masked the unit, and with the failure of the lookup if that is
/// not known.
Result CheckUnmasked(const String& name) {
    const auto target = Path::Canonicalise(UnitPath(name));
    if (IsTransient(target.Outcome())) return target.error();
    return target && *target == L"/dev/null" ? Result(EPERM).About(UnitPath(name)) : Result();
}

/// Adds a directory's entries to a list. Fails when it cannot be read, for a reason that may pass.
Result FindEntries(const String& directory, const String& pattern, std::vector<FileInfo>& found) {
    const Result read = Dir::ReadEntries(directory, pattern, found);
    return IsTransient(read) ? read : Result();
}

/// Adds the unit's file, unless it is a mask. Fails when it is not known whether there is one.
Result FindUnit(const String& name, std::vector<FileInfo>& units) {
    if (const Result unmasked = CheckUnmasked(name); !unmasked) {
        return unmasked.Code() == EPERM ? Result() : unmasked;
    }
    return FindEntries(kUnitDir, FileName(name), units);
}

std::vector<String> TargetsOf(const String& levels) {
    std::vector<String> targets;
    for (const LevelTarget& row : kLevelTargets) {
        if (levels.FindOneOf(row.levels) != String::npos) targets.push_back(row.target);
    }
    return targets;
}

/// Links the unit as `systemctl enable` would.
Result Enable(const String& name, const std::vector<String>& targets) {
    Result result;
    for (const String& target : targets) {
        const String wants = Path::Join(kUnitDir, target + L".wants");
        Result made = Dir::CreateR(wants);
        if (made) made = File::SymLink(UnitPath(name), Path::Join(wants, FileName(name)));
        result = Worse(result, made);
    }
    return result;
}

/// Adds all links by which targets, or units that an administrator chose, pull the unit in. Fails when a
/// directory cannot be read, for a reason that may pass.
Result FindEnablingLinks(const String& name, std::vector<FileInfo>& links) {
    Result result;
    for (const wchar_t* pattern : {L"*.wants", L"*.requires"}) {
        std::vector<FileInfo> directories;
        result = Worse(result, FindEntries(kUnitDir, pattern, directories));
        for (const FileInfo& directory : directories)
            result = Worse(result, FindEntries(directory.path, FileName(name), links));
    }
    return result;
}

Result RemoveLinks(const std::vector<FileInfo>& links) {
    Result result;
    for (const FileInfo& link : links) {
        result = Worse(result, File::Remove(link.path, corekit::HostDirectory::Meant));
        // A directory that holds no link any more goes too, as with `systemctl disable`; any other stays.
        Forgive(Dir::RemoveIfEmpty(Path::GetDirectory(link.path)));
    }
    return result;
}

/// A facility that service scripts require, and the target that stands for it. All other facilities are
/// available before any service is started.
struct Facility {
    const wchar_t* name;
    const wchar_t* target;
};
constexpr Facility kFacilities[] = {
    {L"$remote_fs", L"remote-fs.target"}, {L"$network", L"network-online.target"},
    {L"$named", L"nss-lookup.target"},    {L"$portmap", L"rpcbind.target"},
    {L"$time", L"time-sync.target"},
};

constexpr const wchar_t* kRequirements[] = {L"Required-Start", L"Should-Start",
                                            L"X-UnitedLinux-Should-Start"};

/// Systemd reaches this target only if a unit wants it.
constexpr const wchar_t* kNetworkTarget = L"network-online.target";

/// The value, escaped so that systemd expands nothing in it.
String Literal(const String& value) {
    return String(value).Replace(L"%", L"%%");
}

bool HasWord(const String& list, const String& word) {
    return (L" " + list + L" ").Contains(L" " + word + L" ");
}

/// The targets, separated by blanks, after which the script has to be started.
String TargetsBefore(const String& script) {
    String facilities;
    for (const wchar_t* keyword : kRequirements) facilities += ServiceHeaderField(script, keyword) + L" ";
    facilities.Replace(L"\t", L" ");

    String targets;
    for (const Facility& facility : kFacilities) {
        if (HasWord(facilities, facility.name)) targets += String(facility.target) + L" ";
    }
    return targets.Trim();
}

String UnitSection(const String& name, const String& script) {
    const String description = ServiceHeaderField(script, L"Short-Description");
    const String targets = TargetsBefore(script);
    String section = L"[Unit]\nDescription=" + Literal(description.IsEmpty() ? name : description) + L"\n";
    section += L"SourcePath=" + ServiceScriptPath(name) + L"\n";
    if (HasWord(targets, kNetworkTarget)) section += String(L"Wants=") + kNetworkTarget + L"\n";
    if (!targets.IsEmpty()) section += L"After=" + targets + L"\n";
    return section;
}

/// As systemd itself runs a service script, except that the script is told who calls it.
String ServiceSection(const String& name, const String& script) {
    const String pidFile = ServiceHeaderField(script, L"pidfile");
    const String scriptPath = ServiceScriptPath(name);
    String section = L"[Service]\nType=forking\n";
    section += pidFile.IsEmpty() ? String(L"GuessMainPID=no\nRemainAfterExit=yes\n")
                                 : L"PIDFile=" + Literal(pidFile) + L"\n";
    section += L"Environment=SERVICE_SCRIPT_CALLER=systemd\n";
    section += L"ExecStart=" + scriptPath + L" start\n";
    section += L"ExecStop=" + scriptPath + L" stop\n";
    section += L"KillMode=process\nIgnoreSIGPIPE=no\nTimeoutSec=5min\n";
    return section;
}

String InstallSection(const std::vector<String>& wantedBy) {
    String targets;
    for (const String& target : wantedBy) targets += L" " + target;
    return L"[Install]\nWantedBy=" + (wantedBy.empty() ? String(L"multi-user.target") : targets.Trim()) +
           L"\n";
}

}  // namespace

bool IsSupported() {
    return !Program::Locate(kSystemctl).IsEmpty();
}

Result Install(const String& name, const String& script, const String& startLevels) {
    if (const Result unmasked = CheckUnmasked(name); !unmasked) {
        return unmasked.Code() == EPERM ? Result() : unmasked;
    }
    const std::vector<String> targets = TargetsOf(startLevels);
    std::vector<FileInfo> oldLinks;
    Result result = FindEnablingLinks(name, oldLinks);
    result = Worse(result, RemoveLinks(oldLinks));
    if (result) result = Dir::CreateR(kUnitDir);
    if (result) result = File::Write(UnitPath(name), UnitText(name, script, targets));
    if (result) result = Enable(name, targets);
    Reload();
    return result;
}

corekit::Expected<bool> IsEnabled(const String& name) {
    std::vector<FileInfo> units;
    std::vector<FileInfo> links;
    const Result found = Worse(FindUnit(name, units), FindEnablingLinks(name, links));
    if (!units.empty() && !links.empty()) return true;
    if (!found) return found;
    return false;
}

corekit::Expected<bool> Remove(const String& name) {
    std::vector<FileInfo> links;
    Result result = FindEnablingLinks(name, links);
    std::vector<FileInfo> units;
    result = Worse(result, FindUnit(name, units));
    result = Worse(result, RemoveLinks(links));
    for (const FileInfo& unit : units)
        result = Worse(result, File::Remove(unit.path, corekit::HostDirectory::Meant));
    if (!result) return result;
    return !links.empty() || !units.empty();
}

void Reload() {
    if (!File::IsDirectory(L"/run/systemd/system")) return;
    Program::RunSilently(Program::Locate(kSystemctl), L"daemon-reload");
}

String UnitText(const String& name, const String& script, const std::vector<String>& wantedBy) {
    return L"# Runs the service script; made and removed with it. Changes belong into a drop-in file.\n" +
           UnitSection(name, script) + L"\n" + ServiceSection(name, script) + L"\n" +
           InstallSection(wantedBy);
}

}  // namespace deploykit::SystemdUnit
