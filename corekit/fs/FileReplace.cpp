// Writes, copies, renames and links files; other processes see each as one step.
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/File.h"
#include "corekit/fs/Path.h"
#include "corekit/fs/detail/AtomicFile.h"
#include "corekit/fs/detail/CopyEntry.h"
#include "corekit/fs/detail/FileAttributes.h"
#include "corekit/fs/detail/MoveEntry.h"
#include "corekit/fs/detail/TempName.h"
#include "corekit/os/Interruption.h"
#include "corekit/os/SystemCall.h"

namespace corekit::File {

namespace {

/// A new file gets the mode that is asked for; one in the place of a regular file takes over what is to be
/// kept.
Result SetUpAttributes(const AtomicFile& file, const EntryRef& target, const WriteAs& as) {
    const auto& old = file.Replaced();
    if (old && S_ISREG(old->st_mode)) {
        if (const Result only = CheckOnlyName(target.directory, *old); !only) return only;
        const bool isKept = as.attributes != Attributes::New;
        const Result taken = isKept ? TakeAttributes(file.Fd(), target, IfRefused::Fail) : Result();
        if (!taken || as.attributes == Attributes::Kept) return taken;
    }
    return Outcome(fchmod(file.Fd(), as.mode));
}

Result ReplaceByLink(const std::string& target, const EntryRef& link) {
    const SignalBlock untilItStandsOrIsGone;
    const auto made = MakeBeside(link, [&](const std::string& name) {
        return Outcome(symlinkat(target.c_str(), link.directory, name.c_str()));
    });
    if (!made) return made.error();
    const Result renamed =
        Outcome(renameat(link.directory, made->c_str(), link.directory, link.name.c_str()));
    if (!renamed) unlinkat(link.directory, made->c_str(), 0);
    return renamed;
}

/// Small pieces are collected; large ones are written from where they lie.
Result WriteTogether(int fd, std::span<const std::string_view> pieces) {
    constexpr std::size_t kMost = 65536;
    std::string collected;
    for (const std::string_view piece : pieces) {
        if (collected.size() + piece.size() > kMost) {
            if (const Result result = WriteAll(fd, collected); !result) return result;
            collected.clear();
        }
        if (piece.size() <= kMost) {
            collected += piece;
        } else if (const Result result = WriteAll(fd, piece); !result) {
            return result;
        }
    }
    return WriteAll(fd, collected);
}

}  // namespace

Result Write(const String& path, const String& text, const WriteAs& as) {
    return WriteBytes(path, text.Utf8(), as);
}

Result WriteBytes(const String& path, std::string_view bytes, const WriteAs& as) {
    return WritePieces(path, {&bytes, 1}, as);
}

Result WritePieces(const String& path, std::span<const std::string_view> pieces, const WriteAs& as) {
    const auto place = ParentDirectory::Of(path);
    if (!place) return place.error().About(path);
    if (const Result allowed = CheckReplaceable(place->At(), as.hostDirectory); !allowed)
        return allowed.About(path);
    AtomicFile replacement(place->At());
    Result result = replacement.Begin();
    // Mode and owner come before the content, which others must never be able to read.
    if (result) result = SetUpAttributes(replacement, place->At(), as);
    if (result) result = WriteTogether(replacement.Fd(), pieces);
    return (result ? replacement.Commit() : result).About(path);
}

Result WriteScript(const String& path, const String& text) {
    return WriteBytes(path, text.Utf8(), {.mode = 0755, .attributes = Attributes::KeptButMode});
}

Result Copy(const String& from, const String& to) {
    const auto place = ParentDirectory::Of(to);
    if (!place) return place.error().About(to);
    if (const Result allowed = CheckReplaceable(place->At()); !allowed) return allowed.About(to);
    const auto origin = ParentDirectory::OfTarget(from);
    if (!origin) return origin.error().About(from);
    const auto source = OpenRegular(origin->Fd(), origin->name, Links::Refused);
    if (!source) return source.error().About(from);
    if (const Result only = CheckOnlyName(origin->Fd(), source->info); !only) return only.About(from);
    AtomicFile replacement(place->At());
    Result result = replacement.Begin();
    if (result) result = TakeOwnerAndMode(replacement.Fd(), source->info, IfRefused::GoOn);
    if (result) result = CopyContent(source->file.Get(), replacement.Fd());
    return (result ? replacement.Commit() : result).About(to);
}

Result Rename(const String& from, const String& to) {
    const auto source = ParentDirectory::Of(from);
    if (!source) return source.error().About(from);
    const auto target = ParentDirectory::Of(to);
    if (!target) return target.error().About(to);
    if (const Result allowed = CheckReplaceable(source->At()); !allowed) return allowed.About(from);
    if (const Result allowed = CheckReplaceable(target->At()); !allowed) return allowed.About(to);
    Result result = Outcome(renameat(source->Fd(), source->name.c_str(), target->Fd(), target->name.c_str()));
    if (result.Code() == EXDEV) {
        result = MoveEntry(source->At(), target->At(), Existing::Replaced);
    } else if (result) {
        result = Flush(target->Fd());
    }
    return result.About(IsNotFound(result) ? from : to);
}

Result SymLink(const String& target, const String& link, IfPresent ifPresent) {
    const auto place = ParentDirectory::Of(link);
    if (!place) return place.error().About(link);
    const std::string content = NativePath(target);
    const Result result = Outcome(symlinkat(content.c_str(), place->Fd(), place->name.c_str()));
    const bool replace = result.Code() == EEXIST && ifPresent == IfPresent::Replace;
    if (const Result allowed = replace ? CheckReplaceable(place->At()) : Result(); !allowed)
        return allowed.About(link);
    return (replace ? ReplaceByLink(content, place->At()) : result).About(link);
}

Expected<String> MakeTemp(const String& pattern) {
    const auto place = ParentDirectory::Of(pattern);
    if (!place) return place.error().About(pattern);
    const auto made = MakeFromPattern(place->name, [&](const std::string& name) {
        return OpenAt(place->Fd(), name, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0600).Outcome();
    });
    if (!made) return made.error().About(pattern);
    return Path::Join(Path::GetDirectory(pattern), String::FromUtf8(*made));
}

}  // namespace corekit::File
