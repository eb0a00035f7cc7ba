// Copies extended attributes from one open file to another.
#include "corekit/fs/detail/ExtendedAttributes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/xattr.h>

#include "corekit/os/SystemCall.h"

namespace corekit {

namespace {

constexpr std::array kNotSettable = {ENOTSUP, EPERM, EACCES};

bool IsNotSettable(const Result& result) {
    return std::ranges::find(kNotSettable, result.Code()) != kNotSettable.end();
}

/// Calls a function that first tells how long a value is and then fills it in.
template <typename Get>
Result ReadValue(Get&& get, std::string& value) {
    const ssize_t size = get(nullptr, 0);
    if (size < 0) return Result::FromErrno();
    value.resize(static_cast<std::size_t>(size));
    const ssize_t length = size == 0 ? 0 : get(value.data(), value.size());
    if (length < 0) return Result::FromErrno();
    value.resize(static_cast<std::size_t>(length));
    return Result();
}

Result ReadAttribute(int fd, const char* name, std::string& value) {
    return ReadValue([&](char* buffer, std::size_t size) { return fgetxattr(fd, name, buffer, size); },
                     value);
}

Result TakeAttribute(int fd, int model, const char* name) {
    std::string value;
    if (const Result read = ReadAttribute(model, name, value); !read) return read;
    std::string present;
    if (ReadAttribute(fd, name, present) && present == value) return Result();
    return fsetxattr(fd, name, value.data(), value.size(), 0) == 0 ? Result() : Result::FromErrno();
}

}  // namespace

Result TakeExtendedAttributes(int fd, const EntryRef& model) {
    const auto file = OpenAt(model.directory, model.name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!file) return file.error();
    std::string names;
    const Result listed = ReadValue(
        [&](char* buffer, std::size_t size) { return flistxattr(file->Get(), buffer, size); }, names);
    if (!listed) return IsNotSettable(listed) ? Result() : listed;
    for (const char* name = names.c_str(); name < names.c_str() + names.size();
         name += std::strlen(name) + 1) {
        const Result taken = TakeAttribute(fd, file->Get(), name);
        if (!taken && !IsNotSettable(taken)) return taken;
    }
    return Result();
}

}  // namespace corekit
