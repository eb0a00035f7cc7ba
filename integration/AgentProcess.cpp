// Looks through /proc for the agent's processes, and starts and stops them by the control script.
#include "integration/AgentProcess.h"

#include <algorithm>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/ParentDirectory.h"
#include "corekit/fs/Path.h"
#include "corekit/ini/IniFile.h"
#include "corekit/os/Sys.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "run/Args.h"
#include "run/Keys.h"
#include "run/Messages.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::Forgive;
using corekit::String;
namespace File = corekit::File;
namespace Path = corekit::Path;
namespace PosixLocaleProgram = corekit::PosixLocaleProgram;

namespace {

constexpr const wchar_t* kProgram = L"qdn-plug";  // how the name of the agent's own program begins
constexpr const wchar_t* kPidFileLine = L"# pidfile:";

/// The programs that a process may be running: the first two words of its command line, since a script is the
/// second one, and the file that the kernel runs, where this user may know it.
std::vector<String> ProgramsOf(const String& process) {
    std::vector<String> programs;
    const std::string commandLine = File::ReadBytes(process + L"/cmdline").value_or(std::string());
    for (std::size_t at = 0; at < commandLine.size() && programs.size() < 2;) {
        const std::string word = commandLine.c_str() + at;
        programs.push_back(String::FromUtf8(word));
        at += word.size() + 1;
    }
    if (const auto file = File::ReadLink(process + L"/exe")) programs.push_back(*file);
    return programs;
}

/// True where the process has this process's root directory, and where that cannot be told.
bool SharesOurRoot(const String& process) {
    struct stat theirs {};
    struct stat ours {};
    if (stat((process + L"/root/").Utf8().c_str(), &theirs) != 0 || stat("/", &ours) != 0) return true;
    return corekit::IsSameFile(theirs, ours);
}

bool IsOfAgent(const String& process, const String& installDir) {
    const auto name = File::Read(process + L"/comm");
    if (!name || !name->StartsWith(kProgram)) return false;
    const auto isProgram = [&](const String& program) {
        return program.StartsWith(L"/") && Path::GetFileName(program).StartsWith(kProgram) &&
               Path::IsMatch(Path::GetDirectory(program), installDir + L"/bin");
    };
    return std::ranges::any_of(ProgramsOf(process), isProgram) && SharesOurRoot(process);
}

/// The id in the pid file that the agent's control script names; 0 without one.
int RecordedId(const String& installDir) {
    corekit::StringTokenizer lines(File::Read(installDir + Names::kControlScript).value_or(String()), L"\n");
    for (String line; lines.GetToken(line);) {
        if (line.StartsWith(kPidFileLine))
            return File::Read(line.Mid(String(kPidFileLine).Length()).Trim())
                .value_or(String())
                .Trim()
                .ToInt();
    }
    return 0;
}

constexpr unsigned kSecondsToComeUp = 10;

void WarnOfStoppedAgent(const String& installDir) {
    const corekit::IniFile conf(installDir + Names::kClientConf);
    const String log = GetValue(conf, Key::kDebugOutput);
    const String shown = log.IsEmpty() ? String(L"its log") : Messages::Shown(log);
    Messages::Warn(String(L"WARNING! The agent does not run. See %1.\n").Arg(shown));
}

/// Calls the agent's control script. The caller checks whether that worked.
void Control(const String& installDir, const wchar_t* action) {
    const String script = corekit::Text::ShellWord(installDir + Names::kControlScript);
    corekit::StringToMapFilter filter;
    Forgive(PosixLocaleProgram::Run(script + L" " + action, filter));
}

}  // namespace

std::optional<pid_t> FindAgentProcess(const String& installDir) {
    std::vector<int> ids;
    for (const corekit::FileInfo& process : corekit::Dir::Entries(L"/proc", L"[1-9]*")) {
        if (IsOfAgent(process.path, installDir)) ids.push_back(Path::GetFileName(process.path).ToInt());
    }
    if (ids.empty()) return std::nullopt;
    const int recorded = RecordedId(installDir);
    return std::ranges::count(ids, recorded) > 0 ? recorded : std::ranges::min(ids);
}

void StartAgent(const Settings& settings) {
    if (settings.Exists(L"Start") && !settings.IsYes(L"Start")) {
        Messages::Say(
            L"Not starting the Zorvane Agent at this time, agent will start at next system restart.\n");
        return;
    }
    Messages::Say(L"Starting Zorvane Agent for UNIX and Linux.\n");
    RunMode::wouldStartAgent = RunMode::isRehearsal;
    if (RunMode::isRehearsal) return;
    const String installDir = settings.Get(L"InstallDir");
    Control(installDir, L"start");
    if (RunMode::isAttempt) return;
    corekit::Sys::Sleep(kSecondsToComeUp);
    const String control = corekit::Text::ShellWord(installDir + Names::kControlScript);
    corekit::StringToMapFilter filter;
    // The status itself comes on a line of its own, after whatever the script prints. Without one the agent
    // counts as stopped.
    Forgive(PosixLocaleProgram::Run(control + L" status; printf '\\n%s\\n' $?", filter));
    Messages::Say(Messages::Shown(filter.RawData(0)) + L"\n");
    if (filter.Count() == 0 || filter.RawData(filter.Count() - 1) != L"0") WarnOfStoppedAgent(installDir);
}

bool StopAgent(const String& installDir) {
    if (RunMode::isRehearsal) return true;
    Control(installDir, L"stop");
    constexpr unsigned kSecondsToEnd = 5;
    for (unsigned second = 0; FindAgentProcess(installDir); ++second) {
        if (second == kSecondsToEnd) return false;
        corekit::Sys::Sleep(1);
    }
    return true;
}

void StartAgentAgain(const String& installDir) {
    if (RunMode::isRehearsal) return;
    Control(installDir, L"start");
    if (!FindAgentProcess(installDir)) WarnOfStoppedAgent(installDir);
}

}  // namespace Zorvane::AgentInstaller
