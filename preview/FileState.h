// What an entry of a directory is, as far as a preview tells of it: not its times, nor its inode.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "corekit/os/Result.h"

namespace Zorvane::AgentInstaller::Preview {

enum class FileType { File, Directory, Link, Other };

struct FileState {
    FileType type = FileType::Other;
    mode_t mode = 0;  // the permission bits
    uid_t uid = 0;
    gid_t gid = 0;
    off_t size = 0;
    nlink_t links = 1;
    dev_t device = 0;
    std::string target;                             // of a link
    std::map<std::string, std::string> attributes;  // the extended ones, by name
};

/// Fails when the system does not tell all of it, and as not found when nothing is there.
corekit::Expected<FileState> ReadState(const std::string& path);

/// The value of one extended attribute of the entry itself; ENODATA when it has none of that name.
corekit::Expected<std::string> ReadAttribute(const std::string& path, const std::string& name);

/// True when both are of one type and lead to, contain or stand for the same. Fails when a file cannot be
/// read.
corekit::Expected<bool> IsSameContent(const FileState& left, const std::string& leftPath,
                                      const FileState& right, const std::string& rightPath);

/// True when both have the same mode and owner; the extended attributes are compared besides.
bool IsSameAccess(const FileState& left, const FileState& right);

/// Gives a directory the owner, mode and extended attributes of another.
corekit::Result TakeAttributes(const std::string& model, const std::string& directory);

/// The SHA-256 of a regular file, 64 hexadecimal digits; none when it cannot be read.
std::optional<std::string> Sha256Of(const std::string& path);

/// What a path is below: "/" for "/etc".
std::string ParentOf(const std::string& path);

}  // namespace Zorvane::AgentInstaller::Preview
