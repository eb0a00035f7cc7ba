// Which tool or which links register the service on each platform.
#include "agents/removal/ServiceRegistration.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

#include "config/SystemProbes.h"
#include "corekit/fs/Dir.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"
#include "run/Names.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

constexpr const wchar_t* kEtc = L"/etc";
constexpr const wchar_t* kServiceDir = L"/etc/init.d";

/// A call of a host's tool that takes the service out of the start of the system.
struct ToolCall {
    std::wstring_view platform;  // empty: every platform
    const wchar_t* program;
    const wchar_t* arguments;
};

constexpr ToolCall kCalls56[] = {
    {L"", L"chkconfig", L" --del zorvane >/dev/null 2>&1"},
    {L"suse", L"insserv", L" -r /etc/init.d/zorvane >/dev/null 2>&1"},
    {L"united", L"insserv", L" -r /etc/init.d/zorvane >/dev/null 2>&1"},
};

// "insserv -r" is looked up as one name, option included.
constexpr ToolCall kCalls60[] = {
    {L"linux", L"chkconfig", L" --del zorvane 1>/dev/null 2>&1"},
    {L"suse", L"insserv -r", L" /etc/init.d/zorvane 1>/dev/null 2>&1"},
    {L"united", L"insserv -r", L" /etc/init.d/zorvane 1>/dev/null 2>&1"},
    {L"aix", L"rmitab", L" zorvane 1>/dev/null 2>&1"},
};

// Where the service is registered by links alone.
constexpr std::array<std::wstring_view, 2> kPlatformsWithLinks = {L"hpux", L"solaris"};
constexpr int kHighestLevel = 6;

void CallTools(std::span<const ToolCall> calls, const String& platform) {
    for (const ToolCall& call : calls) {
        if (!call.platform.empty() && call.platform != platform.View()) continue;
        const String program = corekit::Program::Locate(call.program);
        if (program.IsEmpty()) continue;
        // Two shells read the path: the one that is called and, before it, the one that calls.
        const String word = corekit::Text::InShellQuotes(corekit::Text::ShellWord(program));
        RunShellCommand(L"/bin/sh -c '" + word + call.arguments + L"'");
    }
}

/// The levels' directories are looked for below the current directory.
void RemoveLevelLinks(RemovalOutcome& left) {
    for (int level = 0; level <= kHighestLevel; ++level) {
        const String directory = L"etc/rc" + String::FromInt(level) + L".d";
        for (const wchar_t* link : {L"/S99zorvane", L"/K99zorvane"})
            RemoveFromHostDirectory(directory + link, left);
    }
}

void RemoveServiceScript(RemovalOutcome& left) {
    RemoveFromHostDirectory(Names::kServiceScript, left);
}

}  // namespace

RemovalOutcome RemoveServiceRegistration56(const String& platform) {
    CallTools(kCalls56, platform);
    RemovalOutcome left;
    RemoveServiceScript(left);
    return left;
}

RemovalOutcome RemoveServiceRegistration60(const String& platform) {
    CallTools(kCalls60, platform);
    RemovalOutcome left;
    if (std::ranges::find(kPlatformsWithLinks, platform.View()) == kPlatformsWithLinks.end()) return left;
    RemoveLevelLinks(left);
    RemoveServiceScript(left);
    return left;
}

void FlushRemovals(const String& linkDir) {
    // The run levels' directories need no flush: their links were removed before the script, and a journal
    // keeps the order. If a flush fails the entries are gone all the same.
    for (const String& directory : {String(kServiceDir), String(kEtc), linkDir}) {
        if (!directory.IsEmpty()) Forgive(corekit::Dir::FlushEntries(directory));
    }
}

}  // namespace Zorvane::AgentInstaller
