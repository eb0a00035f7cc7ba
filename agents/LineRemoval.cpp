// The edit in a private directory that also keeps the old file until the new one is known to be good.
#include "agents/LineRemoval.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <linux/fs.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "config/SystemProbes.h"
#include "corekit/Descriptor.h"
#include "corekit/Dir.h"
#include "corekit/File.h"
#include "corekit/Interruption.h"
#include "corekit/Path.h"
#include "corekit/Text.h"

namespace Zorvane::AgentInstaller {

using corekit::Descriptor;
using corekit::String;
namespace File = corekit::File;

namespace {

constexpr const wchar_t* kPrivateDirectory = L".qdn-configure.XXXXXX";
constexpr const wchar_t* kAllPrivateDirectories = L".qdn-configure.??????";
constexpr const wchar_t* kEdited = L"/stuff";
constexpr const wchar_t* kKept = L"kept.";  // and the file's name

/// Returns to the directory that was current before, even when that has no path any more.
class CurrentDirectory {
  public:
    explicit CurrentDirectory(const String& path)
        : m_before(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC)),
          m_entered(m_before && corekit::Dir::SetCurrent(path)) {}
    ~CurrentDirectory() {
        if (m_entered && fchdir(m_before.Get()) != 0) Forgive(corekit::Dir::SetCurrent(L"/"));
    }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

    bool IsEntered() const { return m_entered; }

  private:
    Descriptor m_before;
    bool m_entered;
};

/// A directory that nobody else can enter, with all in it removed in the end.
class PrivateDirectory {
  public:
    explicit PrivateDirectory(const String& parent) {
        std::string pattern = corekit::Path::Join(parent, kPrivateDirectory).Utf8();
        if (mkdtemp(pattern.data()) != nullptr) m_path = String::FromUtf8(pattern);
    }
    ~PrivateDirectory() { Forgive(corekit::Dir::Remove(m_path)); }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;

    const String& Path() const { return m_path; }  // empty when it could not be made

  private:
    String m_path;
};

/// Where a private directory has the file under a second name.
String KeptIn(const String& directory, const String& file) {
    return corekit::Path::Join(directory, kKept + corekit::Path::GetFileName(file));
}

/// Gives the file that name. A link needs no space, so that a full disk cannot prevent putting it back.
bool Keep(const String& path, const String& kept) {
    return link(path.Utf8().c_str(), kept.Utf8().c_str()) == 0;
}

/// An empty file with the other's mode and owner, which the shell's redirection leaves as they are.
bool MakeLike(const String& path, const String& model) {
    struct stat info {};
    return stat(model.Utf8().c_str(), &info) == 0 && File::WriteBytes(path, "", 0600) &&
           File::Chowngrp(path, info.st_uid, info.st_gid) && File::Chmod(path, info.st_mode & 07777);
}

enum class Writes { Waiting, Usual };

/// Where the file system can do that, every write to the file waits until the disk has it: the command
/// renames what it has written without flushing it, and after a power cut the file could be empty.
void SetWrites(const String& path, Writes writes) {
    const Descriptor file(open(path.Utf8().c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    int flags = 0;
    const bool isKnown = file && ioctl(file.Get(), FS_IOC_GETFLAGS, &flags) == 0;
    flags = writes == Writes::Waiting ? flags | FS_SYNC_FL : flags & ~FS_SYNC_FL;
    if (isKnown) corekit::Forgive(ioctl(file.Get(), FS_IOC_SETFLAGS, &flags) == 0);
}

bool Holds(const String& path, const std::string& expected) {
    std::string content;
    return File::ReadBytes(path, content) && content == expected;
}

bool FlushToDisk(const String& path) {
    const Descriptor file(open(path.Utf8().c_str(), O_RDONLY | O_CLOEXEC));
    return file && fsync(file.Get()) == 0;
}

/// The first line of `rest`, its line end included, which is taken off it.
std::string_view TakeLine(std::string_view& rest) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const std::size_t length = std::min(line.size() + 1, rest.size());
    const std::string_view whole = rest.substr(0, length);
    rest.remove_prefix(length);
    return whole;
}

bool Contains(std::string_view line, std::string_view text) {
    return line.find(text) != std::string_view::npos;
}

/// Is the file what is left of an edit that broke off while it was written?
bool IsCutOff(const String& file, const String& kept, std::span<const DeletedLines> deleted) {
    std::string content;
    std::string old;
    if (!File::ReadBytes(file, content) || !File::ReadBytes(kept, old)) return false;
    const std::string remaining = WithoutLines(old, deleted);
    return content.size() < remaining.size() && remaining.starts_with(content);
}

/// Does a private directory keep another file than this one?
bool KeepsAnother(const String& directory, const String& file) {
    bool found = false;
    Forgive(corekit::Dir::Scan(directory, kKept + String(L"*"), [&](const corekit::FileInfo& entry) {
        found = entry.path != KeptIn(directory, file);
        return !found;
    }));
    return found;
}

/// Removes what killed runs left beside a file; one that such a run left cut off gets its old content back.
void ClearUpAfterKilledRuns(const String& file, std::span<const DeletedLines> deleted) {
    const String parent = corekit::Path::GetDirectory(file);
    Forgive(corekit::Dir::Scan(parent, kAllPrivateDirectories, [&](const corekit::FileInfo& entry) {
        if (KeepsAnother(entry.path, file)) return true;
        const String kept = KeptIn(entry.path, file);
        if (IsCutOff(file, kept, deleted)) Forgive(File::Rename(kept, file));
        SetWrites(file, Writes::Usual);
        Forgive(corekit::Dir::Remove(entry.path));
        return true;
    }));
}

}  // namespace

std::string WithoutLines(std::string_view content, std::span<const DeletedLines> deleted) {
    std::string remaining;
    std::string_view blockEnd;  // of the block that the line stands in; empty outside of one
    while (!content.empty()) {
        const std::string_view line = TakeLine(content);
        if (!blockEnd.empty()) {
            if (Contains(line, blockEnd)) blockEnd = {};
            continue;
        }
        const auto startsHere = [&](const DeletedLines& rule) { return Contains(line, rule.first); };
        const auto rule = std::ranges::find_if(deleted, startsHere);
        if (rule == deleted.end())
            remaining += line;
        else
            blockEnd = rule->last;
    }
    return remaining;
}

void DeleteLines(const String& path, const String& command, std::span<const DeletedLines> deleted) {
    String file;
    std::string old;
    if (!corekit::Path::Canonicalise(path, file)) return;
    ClearUpAfterKilledRuns(file, deleted);
    if (!File::ReadBytes(file, old)) return;
    const std::string remaining = WithoutLines(old, deleted);
    if (remaining == old) return;

    const corekit::Interruption::Delay untilTheFileIsWhole;
    const PrivateDirectory place(corekit::Path::GetDirectory(file));
    if (place.Path().IsEmpty()) return;
    const String kept = KeptIn(place.Path(), file);
    const String edited = place.Path() + kEdited;
    if (!Keep(file, kept) || !MakeLike(edited, file)) return;
    SetWrites(edited, Writes::Waiting);
    {
        const CurrentDirectory inside(place.Path());
        if (!inside.IsEntered()) return;
        RunShellCommand(command.Arg(corekit::Text::ShellWord(file), corekit::Text::ShellWord(file)));
    }
    const bool isWhole = Holds(file, remaining);
    if (isWhole) SetWrites(file, Writes::Usual);
    if (!isWhole || !FlushToDisk(file)) Forgive(File::Rename(kept, file));
}

}  // namespace Zorvane::AgentInstaller
