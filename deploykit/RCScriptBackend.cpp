// Service scripts in /etc/init.d, and what starts and stops them at boot.
#include "deploykit/RCScriptBackend.h"

#include <algorithm>
#include <cerrno>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/process/Program.h"
#include "corekit/text/Ascii.h"
#include "corekit/text/Text.h"
#include "deploykit/RunLevelLinks.h"
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

bool WriteScript(const String& path, const String& script) {
    return Dir::CreateR(Path::GetDirectory(path)).Ok() && File::WriteBytes(path, script.Utf8(), 0755).Ok() &&
           File::Chmod(path, 0755).Ok();
}

/// A tool's status says nothing: what counts is the start links, and those that it did not make are made
/// here. Where systemd starts the service, directories of levels that the host does not have are not missed.
bool RegisterLinks(const String& name, const ServiceLevels& levels) {
    if (levels.start.IsEmpty() && levels.stop.IsEmpty()) return true;
    RunLinkTool(&LinkTool::add, name);
    if (RunLevelLinks::AreStartedIn(name, levels.start)) return true;

    if (!SystemdUnit::IsSupported()) RunLevelLinks::MakeDirectories(levels);
    RunLevelLinks::Make(name, levels);
    return RunLevelLinks::AreStartedIn(name, levels.start);
}

}  // namespace

bool IsRunLevelSupported(const String& level) {
    return level.Length() == 1 && String(kLevels).Contains(level);
}

bool Install(const String& name, const String& templatePath, const String& installDir,
             const String& startLevels, const String& stopLevels) {
    const auto text = File::Read(templatePath);
    if (!IsServiceName(name) || !text || text->IsEmpty()) return false;

    const ServiceLevels levels = {SupportedLevels(startLevels), SupportedLevels(stopLevels)};
    const String script = ExpandServiceTemplate(*text, installDir, levels);
    // Links of other levels, from an earlier installation, would count as well.
    if (!RunLevelLinks::Remove(name) || !WriteScript(GetLocation(name), script)) return false;

    const bool isStartedByLinks = RegisterLinks(name, levels);
    const bool isStartedByUnit =
        SystemdUnit::IsSupported() && SystemdUnit::Install(name, script, levels.start);
    return levels.start.IsEmpty() || isStartedByLinks || isStartedByUnit;
}

Result Uninstall(const String& name) {
    if (!IsServiceName(name)) return Result(EINVAL);
    const String script = GetLocation(name);
    Result result = SystemdUnit::Remove(name);
    // The tools know a service only as long as its script is there.
    if (File::Exists(script)) RunLinkTool(&LinkTool::remove, name);
    result = Worse(result, RunLevelLinks::Remove(name));
    const Result removal = File::Remove(script);
    return removal.Code() == ENOENT ? result : Worse(result, removal);
}

String GetLocation(const String& name) {
    return ServiceScriptPath(name);
}

}  // namespace deploykit::ItemInstallers::RCScriptBackend
