// Native units on disk: writing them, and the links that enable them.
#include "deploykit/SystemdUnit.h"

#include <unistd.h>
#include <vector>

#include "corekit/File.h"
#include "corekit/Path.h"
#include "corekit/Program.h"
#include "deploykit/DirectoryEntries.h"
#include "deploykit/HostTool.h"
#include "deploykit/UnitText.h"

namespace deploykit::SystemdUnit {

using corekit::Dir;
using corekit::FileInfo;
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

bool IsMasked(const String& name) {
    String target;
    return Path::Canonicalise(UnitPath(name), target).Ok() && target == L"/dev/null";
}

void TellSystemd() {
    if (File::IsDirectory(L"/run/systemd/system")) RunHostTool(Program::Locate(kSystemctl), L"daemon-reload");
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
std::vector<FileInfo> EnablingLinks(const String& name) {
    std::vector<FileInfo> links;
    for (const wchar_t* pattern : {L"*.wants", L"*.requires"}) {
        for (const FileInfo& directory : DirectoryEntries(kUnitDir, pattern)) {
            const std::vector<FileInfo> found = DirectoryEntries(directory.path, FileName(name));
            links.insert(links.end(), found.begin(), found.end());
        }
    }
    return links;
}

bool RemoveLink(const FileInfo& link) {
    if (!File::Remove(link.path)) return false;
    // A directory that holds no link any more goes too, as with `systemctl disable`; any other stays.
    rmdir(Path::GetDirectory(link.path).Utf8().c_str());
    return true;
}

/// True when all were removed.
bool RemoveLinks(const std::vector<FileInfo>& links) {
    bool areGone = true;
    for (const FileInfo& link : links) areGone = RemoveLink(link) && areGone;
    return areGone;
}

}  // namespace

bool IsSupported() {
    return !Program::Locate(kSystemctl).IsEmpty();
}

bool Install(const String& name, const String& script, const String& startLevels) {
    if (IsMasked(name)) return true;
    const std::vector<String> targets = TargetsOf(startLevels);
    const bool isReady = RemoveLinks(EnablingLinks(name)) && Dir::CreateR(kUnitDir).Ok() &&
                         File::Write(UnitPath(name), UnitText(name, script, targets)).Ok() &&
                         Enable(name, targets);
    TellSystemd();
    return isReady;
}

bool Remove(const String& name) {
    const std::vector<FileInfo> links = EnablingLinks(name);
    const bool hasUnit = !IsMasked(name) && !DirectoryEntries(kUnitDir, FileName(name)).empty();
    if (links.empty() && !hasUnit) return true;

    const bool areLinksGone = RemoveLinks(links);
    const bool isUnitGone = !hasUnit || File::Remove(UnitPath(name)).Ok();
    TellSystemd();
    return areLinksGone && isUnitGone;
}

}  // namespace deploykit::SystemdUnit
