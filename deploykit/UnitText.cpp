// Native units made from the headers of service scripts.
#include "deploykit/ServiceScript.h"
#include "deploykit/SystemdUnit.h"

namespace deploykit::SystemdUnit {

using corekit::String;

namespace {

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

String UnitText(const String& name, const String& script, const std::vector<String>& wantedBy) {
    return L"# Runs the service script; made and removed with it. Changes belong into a drop-in file.\n" +
           UnitSection(name, script) + L"\n" + ServiceSection(name, script) + L"\n" +
           InstallSection(wantedBy);
}

}  // namespace deploykit::SystemdUnit
