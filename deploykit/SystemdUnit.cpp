// Native units on disk: writing them, and the links that enable them.
#include "deploykit/SystemdUnit.h"

#include <cerrno>
#include <unistd.h>
#include <vector>

#include "corekit/fs/Dir.h"
#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/process/Program.h"
#include "deploykit/UnitText.h"

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

/// Refuses (EPERM) a unit that the administrator masked; where the system does not tell, the result is why.
Result RefuseMask(const String& name) {
    const auto target = Path::Canonicalise(UnitPath(name));
    if (IsTransient(target.Outcome())) return target.error();
    return target && *target == L"/dev/null" ? Result(EPERM) : Result();
}

void TellSystemd() {
    if (File::IsDirectory(L"/run/systemd/system"))
        Program::RunSilently(Program::Locate(kSystemctl), L"daemon-reload");
}

std::vector<String> TargetsOf(const String& levels) {
    std::vector<String> targets;
    for (const LevelTarget& row : kLevelTargets) {
        if (levels.FindOneOf(row.levels) != String::npos) targets.push_back(row.target);
    }
    return targets;
}

/// Links the unit as `systemctl enable` would.
bool Enable(const String& name, const std::vector<String>& targets) {
    bool isEnabled = true;
    for (const String& target : targets) {
        const String wants = Path::Join(kUnitDir, target + L".wants");
        isEnabled = Dir::CreateR(wants).Ok() &&
                    File::SymLink(UnitPath(name), Path::Join(wants, FileName(name))).Ok() && isEnabled;
    }
    return isEnabled;
}

/// All links by which targets, or units that an administrator chose, pull the unit in.
Result EnablingLinks(const String& name, std::vector<FileInfo>& links) {
    Result result;
    const auto read = [&result](const String& directory, const String& pattern,
                                std::vector<FileInfo>& found) {
        const Result reading = Dir::ReadEntries(directory, pattern, found);
        if (IsTransient(reading)) result = Worse(result, reading);
    };
    for (const wchar_t* pattern : {L"*.wants", L"*.requires"}) {
        std::vector<FileInfo> directories;
        read(kUnitDir, pattern, directories);
        for (const FileInfo& directory : directories) read(directory.path, FileName(name), links);
    }
    return result;
}

Result RemoveLink(const FileInfo& link) {
    if (const Result result = File::Remove(link.path); !result) return result;
    // A directory that holds no link any more goes too, as with `systemctl disable`; any other stays.
    rmdir(Path::GetDirectory(link.path).Utf8().c_str());
    return Result();
}

Result RemoveLinks(const std::vector<FileInfo>& links) {
    Result result;
    for (const FileInfo& link : links) result = Worse(result, RemoveLink(link));
    return result;
}

Result RemoveEnablingLinks(const String& name) {
    std::vector<FileInfo> links;
    const Result result = EnablingLinks(name, links);
    return Worse(result, RemoveLinks(links));
}

}  // namespace

bool IsSupported() {
    return !Program::Locate(kSystemctl).IsEmpty();
}

bool Install(const String& name, const String& script, const String& startLevels) {
    if (const Result mask = RefuseMask(name); !mask) return mask.Code() == EPERM;
    const std::vector<String> targets = TargetsOf(startLevels);
    const bool isReady = RemoveEnablingLinks(name) && Dir::CreateR(kUnitDir).Ok() &&
                         File::Write(UnitPath(name), UnitText(name, script, targets)).Ok() &&
                         Enable(name, targets);
    TellSystemd();
    return isReady;
}

Result Remove(const String& name) {
    std::vector<FileInfo> links;
    Result result = EnablingLinks(name, links);
    const Result mask = RefuseMask(name);
    if (IsTransient(mask)) result = Worse(result, mask);
    const bool hasUnit = mask && !Dir::Entries(kUnitDir, FileName(name)).empty();
    if (links.empty() && !hasUnit) return result;

    result = Worse(result, RemoveLinks(links));
    if (hasUnit) result = Worse(result, File::Remove(UnitPath(name)));
    TellSystemd();
    return result;
}

}  // namespace deploykit::SystemdUnit
