// Service scripts in /etc/init.d, and what starts and stops them at boot.
#include "deploykit/RCScriptBackend.h"

#include <algorithm>
#include <cerrno>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/process/Program.h"
#include "corekit/text/Character.h"
#include "corekit/text/Text.h"
#include "deploykit/ServiceScript.h"
#include "deploykit/SystemdUnit.h"

namespace deploykit::ItemInstallers::RCScriptBackend {

using corekit::Dir;
using corekit::Result;
using corekit::String;

namespace File = corekit::File;
namespace Path = corekit::Path;
namespace Program = corekit::Program;

namespace {

constexpr const wchar_t* kLevels = L"0123456";

/// A tool that makes and removes the links of run levels by what the script's header says. %1 is the service.
struct LinkTool {
    const wchar_t* program;
    const wchar_t* add;
    const wchar_t* remove;
};
constexpr LinkTool kLinkTools[] = {
    {L"chkconfig", L"--add %1", L"--del %1"},
    {L"insserv", L"%1", L"-r %1"},
    {L"update-rc.d", L"%1 defaults", L"-f %1 remove"},
};

bool IsNameCharacter(wchar_t c) {
    return corekit::IsLetter(c) || corekit::IsDigit(c) || c == L'_' || c == L'.' || c == L'-';
}

/// One that is a plain file name and means nothing to a shell, a wildcard, an option list or a unit file.
bool IsServiceName(const String& name) {
    return !name.IsEmpty() && !name.StartsWith(L".") && !name.StartsWith(L"-") &&
           std::ranges::all_of(name, IsNameCharacter);
}

/// The supported levels of a list such as "2 3 5", as digits alone.
String SupportedLevels(const String& list) {
    String digits;
    String level;
    corekit::StringTokenizer levels(list, L" ");
    while (levels.GetToken(level)) {
        if (IsRunLevelSupported(level)) digits += level;
    }
    return digits;
}

/// Runs the first link tool that this host has, if any.
void RunLinkTool(const wchar_t* LinkTool::*action, const String& name) {
    for (const LinkTool& tool : kLinkTools) {
        const String program = Program::Locate(tool.program);
        if (!program.IsEmpty()) return Program::RunSilently(program, String(tool.*action).Arg(name));
    }
}

/// A tool's status proves nothing: the levels for which it made no link get one here. Directories of levels
/// that the host does not have are only made where systemd does not start the service.
Result RegisterLinks(const String& name, const ServiceLevels& levels, bool hasSystemd) {
    if (levels.start.IsEmpty() && levels.stop.IsEmpty()) return Result();
    RunLinkTool(&LinkTool::add, name);
    if (!hasSystemd) RunLevelLinks::MakeDirectories(levels);
    const Result made = RunLevelLinks::Make(name, levels);
    if (RunLevelLinks::AreStartedIn(name, levels.start)) return Result();
    return Worse(made, Result(ENOENT).About(L"/etc/rc" + levels.start.Left(1) + L".d"));
}

}  // namespace

bool IsRunLevelSupported(const String& level) {
    return level.Length() == 1 && String(kLevels).Contains(level);
}

Result Install(const String& name, const String& templatePath, const String& installDir,
               const String& startLevels, const String& stopLevels) {
    if (!IsServiceName(name)) return Result(EINVAL);
    const auto text = File::Read(templatePath);
    if (!text) return text.error();
    if (text->IsEmpty()) return Result(ENODATA).About(templatePath);

    const String path = GetLocation(name);
    const ServiceLevels levels = {SupportedLevels(startLevels), SupportedLevels(stopLevels)};
    const String script = ExpandServiceTemplate(*text, installDir, levels);
    // Links of other levels, from an earlier installation, would count as well.
    Result result = RunLevelLinks::Remove(name).Outcome();
    if (result) result = Dir::CreateR(Path::GetDirectory(path));
    if (result) result = File::WriteScript(path, script);
    if (!result) return result;

    const bool hasSystemd = SystemdUnit::IsSupported();
    const Result byLinks = RegisterLinks(name, levels, hasSystemd);
    const bool isStartedByUnit = hasSystemd && SystemdUnit::Install(name, script, levels.start).Ok();
    return levels.start.IsEmpty() || isStartedByUnit ? Result() : byLinks;
}

Result Uninstall(const String& name) {
    if (!IsServiceName(name)) return Result(EINVAL);
    const String script = GetLocation(name);
    const bool hasScript = File::Exists(script);
    const auto units = SystemdUnit::Remove(name);
    // The tools know a service only as long as its script exists.
    if (hasScript) RunLinkTool(&LinkTool::remove, name);
    const auto links = RunLevelLinks::Remove(name);
    const Result result = Worse(units.Outcome(), links.Outcome());
    const Result removal = File::Remove(script, corekit::HostDirectory::Meant);
    // Systemd makes a unit of its own from a service script, and keeps it until it reads its units again.
    if (hasScript || units.value_or(true) || links.value_or(true)) SystemdUnit::Reload();
    return removal.Code() == ENOENT ? result : Worse(result, removal);
}

String GetLocation(const String& name) {
    return ServiceScriptPath(name);
}

}  // namespace deploykit::ItemInstallers::RCScriptBackend
