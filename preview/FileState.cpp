// Asks the system what an entry of a directory is.
#include "preview/FileState.h"

#include <cerrno>
#include <fcntl.h>
#include <sha2.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "corekit/os/SystemCall.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Descriptor;
using corekit::ReadSome;
using corekit::Result;

namespace {

constexpr std::size_t kChunk = 65536;

/// The bytes that a call fills a buffer with.
template <typename Call>
corekit::Expected<std::string> Filled(Call&& call) {
    constexpr std::size_t kLongest = 65536;  // of a value, and of the list of names
    std::string buffer(kLongest, '\0');
    const ssize_t got = call(buffer.data(), buffer.size());
    if (got < 0) return Result::FromErrno();
    buffer.resize(static_cast<std::size_t>(got));
    return buffer;
}

corekit::Expected<std::map<std::string, std::string>> ReadAttributes(const std::string& path) {
    std::map<std::string, std::string> attributes;
    const ssize_t length = llistxattr(path.c_str(), nullptr, 0);
    if (length < 0 && errno != ENOTSUP) return Result::FromErrno();
    if (length <= 0) return attributes;
    const auto names =
        Filled([&](char* buffer, std::size_t size) { return llistxattr(path.c_str(), buffer, size); });
    if (!names) return names.error();
    for (std::size_t at = 0; at < names->size(); at += std::string(names->c_str() + at).size() + 1) {
        const std::string name = names->c_str() + at;
        if (name.starts_with("trusted.overlay.") || name.starts_with("user.overlay.")) continue;
        const auto value = ReadAttribute(path, name);
        // Of a value that is only refused, the name is known.
        if (!value && value.error().Code() != EACCES && value.error().Code() != EPERM) return value.error();
        attributes[name] = value ? *value : std::string();
    }
    return attributes;
}

corekit::Expected<Descriptor> OpenToRead(const std::string& path) {
    return corekit::OpenAt(AT_FDCWD, path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
}

corekit::Expected<bool> HasSameBytes(const std::string& left, const std::string& right) {
    const auto leftFile = OpenToRead(left);
    if (!leftFile) return leftFile.error();
    const auto rightFile = OpenToRead(right);
    if (!rightFile) return rightFile.error();
    std::string leftChunk(kChunk, '\0');
    std::string rightChunk(kChunk, '\0');
    for (;;) {
        const auto leftCount = ReadSome(leftFile->Get(), leftChunk);
        const auto rightCount = ReadSome(rightFile->Get(), rightChunk);
        if (!leftCount) return leftCount.error();
        if (!rightCount) return rightCount.error();
        if (leftChunk.compare(0, *leftCount, rightChunk, 0, *rightCount) != 0) return false;
        if (*leftCount == 0) return true;
    }
}

FileType TypeOf(mode_t mode) {
    if (S_ISREG(mode)) return FileType::File;
    if (S_ISDIR(mode)) return FileType::Directory;
    return S_ISLNK(mode) ? FileType::Link : FileType::Other;
}

}  // namespace

corekit::Expected<FileState> ReadState(const std::string& path) {
    struct stat info {};
    if (lstat(path.c_str(), &info) != 0) return Result::FromErrno();
    auto attributes = ReadAttributes(path);
    if (!attributes) return attributes.error();
    FileState state{TypeOf(info.st_mode),  info.st_mode & 07777, info.st_uid,  info.st_gid,
                    info.st_size,          info.st_nlink,        info.st_rdev, {},
                    std::move(*attributes)};
    if (state.type == FileType::Other) state.device ^= static_cast<dev_t>(info.st_mode & S_IFMT) << 40U;
    if (state.type != FileType::Link) return state;
    const auto target =
        Filled([&](char* buffer, std::size_t size) { return readlink(path.c_str(), buffer, size); });
    if (!target) return target.error();
    state.target = *target;
    return state;
}

corekit::Expected<std::string> ReadAttribute(const std::string& path, const std::string& name) {
    // Most entries have none: what they have is asked for only then.
    if (lgetxattr(path.c_str(), name.c_str(), nullptr, 0) < 0) return Result::FromErrno();
    return Filled(
        [&](char* buffer, std::size_t size) { return lgetxattr(path.c_str(), name.c_str(), buffer, size); });
}

corekit::Expected<bool> IsSameContent(const FileState& left, const std::string& leftPath,
                                      const FileState& right, const std::string& rightPath) {
    if (left.type != right.type) return false;
    switch (left.type) {
        case FileType::Directory:
            return true;
        case FileType::Link:
            return left.target == right.target;
        case FileType::Other:
            return left.device == right.device;
        case FileType::File:
            break;
    }
    if (left.size != right.size) return false;
    return HasSameBytes(leftPath, rightPath);
}

bool IsSameAccess(const FileState& left, const FileState& right) {
    return left.mode == right.mode && left.uid == right.uid && left.gid == right.gid;
}

Result TakeAttributes(const std::string& model, const std::string& directory) {
    const auto state = ReadState(model);
    if (!state) return state.error();
    if (chown(directory.c_str(), state->uid, state->gid) != 0) return Result::FromErrno();
    for (const auto& [name, value] : state->attributes) {
        // One that the file system in memory cannot keep matters to nobody who runs in the copy.
        Forgive(corekit::Outcome(lsetxattr(directory.c_str(), name.c_str(), value.data(), value.size(), 0)));
    }
    return corekit::Outcome(chmod(directory.c_str(), state->mode));
}

std::optional<std::string> Sha256Of(const std::string& path) {
    const auto file = OpenToRead(path);
    if (!file) return std::nullopt;
    SHA2_CTX context;
    SHA256Init(&context);
    std::string chunk(kChunk, '\0');
    for (;;) {
        const auto count = ReadSome(file->Get(), chunk);
        if (!count) return std::nullopt;
        if (*count == 0) break;
        SHA256Update(&context, reinterpret_cast<const std::uint8_t*>(chunk.data()), *count);
    }
    char digits[SHA256_DIGEST_STRING_LENGTH];
    return std::string(SHA256End(&context, digits));
}

std::string ParentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

}  // namespace Zorvane::AgentInstaller::Preview
