// Deletes lines as sed does, and replaces the file whole.
#include "agents/removal/LineRemoval.h"

#include <algorithm>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"

namespace Zorvane::AgentInstaller {

using corekit::Result;
using corekit::String;
<<<<<<< HEAD
namespace File = corekit::File;

namespace {

constexpr const wchar_t* kPrivateDirectory = L".qdn-configure.XXXXXX";
constexpr const wchar_t* kAllPrivateDirectories = L".qdn-configure.??????";
constexpr int kFurtherAttempts = 10;
constexpr const wchar_t* kEdited = L"/stuff";
constexpr const wchar_t* kKept = L"kept.";  // and the file's name
constexpr const wchar_t* kAllKept = L"kept.*";

/// Returns to the directory that was current before, even when that has no path any more.
class CurrentDirectory {
  public:
    explicit CurrentDirectory(const String& path)
        : m_before(corekit::OpenAt(AT_FDCWD, ".", O_PATH | O_DIRECTORY)),
          m_entered(m_before ? corekit::Dir::SetCurrent(path) : m_before.error()) {}
    ~CurrentDirectory() {
        if (m_entered && fchdir(m_before->Get()) != 0) Forgive(corekit::Dir::SetCurrent(L"/"));
    }
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;

    const Result& Entered() const { return m_entered; }

  private:
    corekit::Expected<Descriptor> m_before;
    Result m_entered;
};

/// A directory that nobody else can enter, with all in it removed in the end.
class PrivateDirectory {
  public:
    explicit PrivateDirectory(const String& parent) {
        const std::string pattern = corekit::Path::Join(parent, kPrivateDirectory).Utf8();
        std::string name;
        m_made = corekit::MakeFromPattern(pattern, name, [](const std::string& candidate) {
            return corekit::Outcome(mkdir(candidate.c_str(), 0700));
        });
        if (m_made) m_path = String::FromUtf8(name);
    }
    ~PrivateDirectory() {
        if (m_stays) return;
        static_cast<void>(TryTwice([&](RemovalOutcome& left) { left.Add(corekit::Dir::Remove(m_path)); }));
    }
    PrivateDirectory(const PrivateDirectory&) = delete;
    PrivateDirectory& operator=(const PrivateDirectory&) = delete;

    const String& Path() const { return m_path; }  // empty when it could not be made

    const Result& Made() const { return m_made; }

    /// Leaves it to the next run.
    void Leave() { m_stays = true; }

  private:
    String m_path;
    Result m_made;
    bool m_stays = false;
};

/// The file under a second name. A link needs no space, so that a full disk cannot prevent putting it back.
Result Keep(const String& path, const String& kept) {
    return corekit::Outcome(link(path.Utf8().c_str(), kept.Utf8().c_str()));
}

/// An empty file with the other's mode and owner, which the shell's redirection leaves as they are.
Result MakeLike(const String& path, const String& model) {
    struct stat info {};
    Result result = corekit::Outcome(stat(model.Utf8().c_str(), &info));
    if (result) result = File::WriteBytes(path, "", 0600);
    if (result) result = File::Chowngrp(path, info.st_uid, info.st_gid);
    return result ? File::Chmod(path, info.st_mode & 07777) : result;
}

enum class Writes { Waiting, Usual };

/// Where the file system can do that, every write to the file waits until the disk has it: the command
/// renames what it has written without flushing it, and after a power cut the file could be empty.
void SetWrites(const String& path, Writes writes) {
    const auto file = corekit::OpenAt(AT_FDCWD, path.Utf8(), O_RDONLY | O_NONBLOCK);
    int flags = 0;
    const bool isKnown = file && ioctl(file->Get(), FS_IOC_GETFLAGS, &flags) == 0;
    flags = writes == Writes::Waiting ? flags | FS_SYNC_FL : flags & ~FS_SYNC_FL;
    if (isKnown) corekit::Forgive(ioctl(file->Get(), FS_IOC_SETFLAGS, &flags) == 0);
}

/// Fails with EPERM when the file holds anything else.
Result CheckContent(const String& path, const std::string& expected) {
    const auto content = File::ReadBytes(path);
    return content && *content != expected ? Result(EPERM) : content.Outcome();
}

Result FlushToDisk(const String& path) {
    const auto file = corekit::OpenAt(AT_FDCWD, path.Utf8(), O_RDONLY);
    return file ? corekit::Flush(file->Get()) : file.error();
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

/// Gives a file that an edit left cut off its old content back.
Result PutBackIfCutOff(const String& file, const String& kept, std::span<const DeletedLines> deleted) {
    const auto old = File::ReadBytes(kept);
    if (!old) return IsTransient(old.error()) ? old.error() : Result();
    const auto content = File::ReadBytes(file);
    if (!content) return IsTransient(content.error()) ? content.error() : Result();
    const std::string remaining = WithoutLines(*old, deleted);
    const bool isCutOff = content->size() < remaining.size() && remaining.starts_with(*content);
    return isCutOff ? File::Rename(kept, file) : Result();
}

String KeptIn(const String& directory, const String& file) {
    return corekit::Path::Join(directory, kKept + corekit::Path::GetFileName(file));
}

/// Is there the old content of another file, which is cleared up itself?
Result RefuseOthersDirectory(const String& directory, const String& file) {
    bool isOthers = false;
    const Result read = corekit::Dir::Scan(directory, kAllKept, [&](const corekit::FileInfo& entry) {
        isOthers = entry.path != KeptIn(directory, file);
        return !isOthers;
    });
    return isOthers ? Result(EPERM) : read;
}

/// Removes what a run left in its private directory; a file that it left cut off gets its old content back.
/// What could not be put back stays for the next run.
Result ClearUp(const String& directory, const String& file, std::span<const DeletedLines> deleted) {
    if (const Result ours = RefuseOthersDirectory(directory, file); !ours) return ours;
    const Result putBack = PutBackIfCutOff(file, KeptIn(directory, file), deleted);
    if (!putBack) return putBack;
    SetWrites(file, Writes::Usual);
    Forgive(corekit::Dir::Remove(directory));
    return Result();
}

/// Clears up what runs that were killed or failed left beside a file. Fails when that is still cut off.
Result ClearUpBeside(const String& file, std::span<const DeletedLines> deleted) {
    Result result;
    const String parent = corekit::Path::GetDirectory(file);
    Forgive(corekit::Dir::Scan(parent, kAllPrivateDirectories, [&](const corekit::FileInfo& entry) {
        const Result cleared = ClearUp(entry.path, file, deleted);
        if (IsTransient(cleared)) result = Worse(result, cleared);
        return true;
    }));
    return result;
}

/// A file of the host, and what is to remain of it.
struct Edit {
    String file;
    std::string old;
    std::string remaining;

    bool IsDone() const { return remaining == old; }
};

/// The file that a path leads to. A link that cannot be followed is not replaced by a file.
Result FollowLinks(const String& path, String& file) {
    const auto found = corekit::Path::Canonicalise(path);
    file = found.value_or(path);
    return IsTransient(found.Outcome()) ? File::RefuseLink(path) : found.Outcome();
}

Result Plan(const String& path, std::span<const DeletedLines> deleted, Edit& edit) {
    if (const Result found = FollowLinks(path, edit.file); !found) return found;
    if (const Result cleared = ClearUpBeside(edit.file, deleted); !cleared) return cleared;
    auto old = File::ReadBytes(edit.file);
    if (!old) return old.error();
    edit.old = std::move(*old);
    edit.remaining = WithoutLines(edit.old, deleted);
    return Result();
}

Result RunIn(const String& directory, const String& commandLine) {
    const CurrentDirectory inside(directory);
    corekit::StringToMapFilter output;
    return inside.Entered() ? corekit::PosixLocaleProgram::Run(commandLine, output) : inside.Entered();
}

/// Fails with EPERM when the host's tools made something else of the file, which is then as it was.
Result EditByCommand(const Edit& edit, const String& command) {
    const corekit::SignalBlock untilTheFileIsWhole;
    PrivateDirectory place(corekit::Path::GetDirectory(edit.file));
    const String kept = KeptIn(place.Path(), edit.file);
    Result result = place.Made();
    if (result) result = Keep(edit.file, kept);
    if (result) result = MakeLike(place.Path() + kEdited, edit.file);
    if (!result) return result;
    SetWrites(place.Path() + kEdited, Writes::Waiting);
    const String word = corekit::Text::ShellWord(edit.file);
    result = RunIn(place.Path(), command.Arg(word, word));
    if (result) result = CheckContent(edit.file, edit.remaining);
    if (result) SetWrites(edit.file, Writes::Usual);
    if (result) result = FlushToDisk(edit.file);
    if (!result && !File::Rename(kept, edit.file)) place.Leave();
    return result;
}

}  // namespace
=======
>>>>>>> f8c252e (Edit the host's files without sed, and leave what fails to the next run)

std::string WithoutLines(std::string_view content, std::span<const DeletedLines> deleted) {
    std::string remaining;
    std::string_view blockEnd;  // of the block that the line stands in; empty outside of one
    while (!content.empty()) {
        const std::string_view line = content.substr(0, content.find('\n'));
        const std::string_view withEnd = content.substr(0, line.size() + 1);
        content.remove_prefix(withEnd.size());
        if (!blockEnd.empty()) {
            if (line.find(blockEnd) != line.npos) blockEnd = {};
            continue;
        }
        const auto startsHere = [&](const DeletedLines& rule) { return line.find(rule.first) != line.npos; };
        const auto rule = std::ranges::find_if(deleted, startsHere);
        if (rule == deleted.end())
            remaining += withEnd;
        else
            blockEnd = rule->last;
    }
    return remaining;
}

<<<<<<< HEAD
void ClearUpAfterDeleteLines(const String& path, std::span<const DeletedLines> deleted) {
    if (const auto file = corekit::Path::Canonicalise(path)) Forgive(ClearUpBeside(*file, deleted));
}

Result DeleteLines(const String& path, const String& command, std::span<const DeletedLines> deleted) {
    Edit edit;
    Result result = Plan(path, deleted, edit);
    if (result && !edit.IsDone()) result = EditByCommand(edit, command);
    // Lines that stay now would stay for good: nothing looks for them when the new agent is in place.
    for (int attempt = 0; IsTransient(result) && attempt < kFurtherAttempts; ++attempt) {
        result = Plan(path, deleted, edit);
        if (result && !edit.IsDone()) result = File::WriteBytes(edit.file, edit.remaining);
    }
    return result;
=======
Result DeleteLines(const String& path, std::span<const DeletedLines> deleted) {
    String file;
    if (const Result found = corekit::Path::Canonicalise(path, file); !found) return found;
    std::string content;
    if (const Result read = corekit::File::ReadBytes(file, content); !read) return read;
    const std::string remaining = WithoutLines(content, deleted);
    return remaining == content ? Result() : corekit::File::WriteBytes(file, remaining);
>>>>>>> f8c252e (Edit the host's files without sed, and leave what fails to the next run)
}

}  // namespace Zorvane::AgentInstaller
