// Copies regular files, symbolic links and special files with their attributes.
#include "corekit/fs/detail/FileCopy.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "corekit/fs/detail/FileMode.h"
#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

Result FillCopy(int source, int copy, const struct stat& model) {
    if (const Result result = TakeOwnerAndMode(copy, model, IfRefused::GoOn); !result) return result;
    if (const Result result = CopyContent(source, copy); !result) return result;
    if (const Result result = TakeTimes(copy, model); !result) return result;
    return Flush(copy);
}

Result CopyRegular(const EntryRef& from, const EntryRef& to) {
    const auto source = OpenRegular(from.directory, from.name, Links::Refused);
    if (!source) return source.error();
    if (const Result only = CheckOnlyName(from.directory, source->info); !only) return only;
    const auto copy = OpenAt(to.directory, to.name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
    if (!copy) return copy.error();
    const Result result = FillCopy(source->file.Get(), copy->Get(), source->info);
    if (!result) unlinkat(to.directory, to.name.c_str(), 0);
    return result;
}

Result CopyLink(const EntryRef& from, const EntryRef& to, const struct stat& info) {
    const auto target = ReadLink(from.directory, from.name);
    if (!target) return target.error();
    if (symlinkat(target->c_str(), to.directory, to.name.c_str()) != 0) return Result::FromErrno();
    // Nothing depends on the owner and the times of a link.
    const std::array times = {info.st_atim, info.st_mtim};
    Forgive(Outcome(fchownat(to.directory, to.name.c_str(), info.st_uid, info.st_gid, AT_SYMLINK_NOFOLLOW)));
    Forgive(Outcome(utimensat(to.directory, to.name.c_str(), times.data(), AT_SYMLINK_NOFOLLOW)));
    return Result();
}

Result CopySpecial(const EntryRef& to, const struct stat& info) {
    if (mknodat(to.directory, to.name.c_str(), (info.st_mode & S_IFMT) | 0600, info.st_rdev) != 0)
        return Result::FromErrno();
    // What another owner may not do with it he could not do with the old one either.
    Forgive(SetOwner(to, info.st_uid, info.st_gid));
    const Result result = SetMode(to, info.st_mode & 0777);
    if (!result) unlinkat(to.directory, to.name.c_str(), 0);
    return result;
}

}  // namespace

Result CopyContent(int from, int to) {
    std::array<char, 65536> chunk;
    for (;;) {
        const auto count = ReadSome(from, chunk);
        if (!count) return count.error();
        if (*count == 0) return Result();
        if (const Result result = WriteAll(to, {chunk.data(), *count}); !result) return result;
    }
}

Result CopyFileEntry(const EntryRef& from, const EntryRef& to) {
    const auto info = StatOf(from.directory, from.name);
    if (!info) return info.error();
    if (S_ISREG(info->st_mode)) return CopyRegular(from, to);
    if (S_ISLNK(info->st_mode)) return CopyLink(from, to, *info);
    return S_ISDIR(info->st_mode) ? Result(EISDIR) : CopySpecial(to, *info);
}

}  // namespace corekit
