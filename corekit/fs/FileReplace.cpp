// Writes, copies, renames and links files, each in one step for whoever looks.
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/fs/TempName.h"
#include "corekit/fs/detail/AtomicFile.h"
#include "corekit/fs/detail/FileCopy.h"
#include "corekit/fs/detail/FileMode.h"
#include "corekit/fs/detail/MoveEntry.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"

namespace corekit::File {

namespace {

/// A new file gets the mode that is asked for, one in the place of a regular file takes over mode and owner.
Result SetUpAttributes(int fd, const EntryRef& target, unsigned mode) {
    struct stat present {};
    const Result found =
        Outcome(fstatat(target.directory, target.name.c_str(), &present, AT_SYMLINK_NOFOLLOW));
    if (!found && found.Code() != ENOENT) return found;
    if (found && S_ISREG(present.st_mode)) return TakeOwnerAndMode(fd, present, IfRefused::Fail);
    return Outcome(fchmod(fd, mode));
}

Result ReplaceByLink(const std::string& target, const EntryRef& link) {
    const SignalBlock untilItStandsOrIsGone;
    std::string name;
    const Result result = MakeBeside(link, name, [&](const std::string& candidate) {
        return Outcome(symlinkat(target.c_str(), link.directory, candidate.c_str()));
    });
    if (!result) return result;
    if (renameat(link.directory, name.c_str(), link.directory, link.name.c_str()) == 0) return Result();
    const Result failure = Result::FromErrno();
    unlinkat(link.directory, name.c_str(), 0);
    return failure;
}

/// Small pieces are collected; large ones are written from where they lie.
Result WriteTogether(int fd, std::span<const std::string_view> pieces) {
    constexpr std::size_t most = 65536;
    std::string collected;
    for (const std::string_view piece : pieces) {
        if (collected.size() + piece.size() > most) {
            if (const Result result = WriteAll(fd, collected); !result) return result;
            collected.clear();
        }
        if (piece.size() <= most) {
            collected += piece;
        } else if (const Result result = WriteAll(fd, piece); !result) {
            return result;
        }
    }
    return WriteAll(fd, collected);
}

}  // namespace

Result Write(const String& path, const String& text, const Encoding& encoding) {
    return WriteBytes(path, encoding.Encode(text));
}

Result WriteBytes(const String& path, std::string_view bytes, unsigned mode) {
    return WritePieces(path, {&bytes, 1}, mode);
}

Result WritePieces(const String& path, std::span<const std::string_view> pieces, unsigned mode) {
    ParentDirectory place;
    if (const Result result = ParentDirectory::Of(path, place); !result) return result;
    AtomicFile replacement(place.At());
    if (const Result result = replacement.Begin(); !result) return result;
    // Mode and owner come first: a content that others must not read is never theirs to read.
    if (const Result result = SetUpAttributes(replacement.Fd(), place.At(), mode); !result) return result;
    if (const Result result = WriteTogether(replacement.Fd(), pieces); !result) return result;
    return replacement.Commit();
}

Result Copy(const String& from, const String& to) {
    ParentDirectory place;
    if (const Result result = ParentDirectory::Of(to, place); !result) return result;
    Descriptor source;
    struct stat info {};
    if (const Result result = OpenRegular(AT_FDCWD, NativePath(from), Links::Followed, source, info); !result)
        return result;
    AtomicFile replacement(place.At());
    if (const Result result = replacement.Begin(); !result) return result;
    if (const Result result = TakeOwnerAndMode(replacement.Fd(), info, IfRefused::GoOn); !result)
        return result;
    if (const Result result = CopyContent(source.Get(), replacement.Fd()); !result) return result;
    return replacement.Commit();
}

Result Rename(const String& from, const String& to) {
    ParentDirectory source;
    ParentDirectory target;
    if (const Result result = ParentDirectory::Of(from, source); !result) return result;
    if (const Result result = ParentDirectory::Of(to, target); !result) return result;
    const Result result =
        Outcome(renameat(source.Fd(), source.name.c_str(), target.Fd(), target.name.c_str()));
    if (result.Code() == EXDEV) return MoveEntry(source.At(), target.At(), Existing::Replaced);
    return result ? Flush(target.Fd()) : result;
}

Result SymLink(const String& target, const String& link, IfPresent ifPresent) {
    ParentDirectory place;
    if (const Result result = ParentDirectory::Of(link, place); !result) return result;
    const std::string content = NativePath(target);
    const Result result = Outcome(symlinkat(content.c_str(), place.Fd(), place.name.c_str()));
    const bool replace = result.Code() == EEXIST && ifPresent == IfPresent::Replace;
    return replace ? ReplaceByLink(content, place.At()) : result;
}

Result MakeTemp(const String& pattern, String& path) {
    std::string name;
    const Result result = MakeFromPattern(NativePath(pattern), name, [](const std::string& candidate) {
        const Descriptor file = OpenAt(AT_FDCWD, candidate, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
        return file ? Result() : Result::FromErrno();
    });
    if (result) path = String::FromUtf8(name);
    return result;
}

}  // namespace corekit::File
