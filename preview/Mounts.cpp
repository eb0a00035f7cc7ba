// Reads the table of mounts, and drops those that cannot be seen.
#include "preview/Mounts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <sys/mount.h>

#include "corekit/os/SystemCall.h"

namespace Zorvane::AgentInstaller::Preview {

using corekit::Result;

namespace {

constexpr std::size_t kLongestTable = 16 << 20;

struct Flag {
    std::string_view option;
    unsigned long flag;
};
constexpr Flag kFlags[] = {
    {"ro", MS_RDONLY}, {"nosuid", MS_NOSUID}, {"nodev", MS_NODEV}, {"noexec", MS_NOEXEC}};

/// The text up to the next separator, which is dropped from `rest` with it.
std::string_view Next(std::string_view& rest, char separator) {
    const std::size_t end = std::min(rest.find(separator), rest.size());
    const std::string_view field = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return field;
}

int ToNumber(std::string_view digits) {
    int number = -1;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

/// Blanks, tabs, line ends and backslashes are written as \ooo.
std::string Unescaped(std::string_view field) {
    std::string text;
    while (!field.empty()) {
        unsigned byte = 0;
        constexpr std::size_t kLength = 4;
        constexpr int kOctal = 8;
        if (field.front() == '\\' && field.size() >= kLength &&
            std::from_chars(field.data() + 1, field.data() + kLength, byte, kOctal).ec == std::errc()) {
            text += static_cast<char>(byte);
            field.remove_prefix(kLength);
        } else {
            text += field.front();
            field.remove_prefix(1);
        }
    }
    return text;
}

unsigned long FlagsOf(std::string_view options) {
    unsigned long flags = 0;
    while (!options.empty()) {
        const auto* const row = std::ranges::find(kFlags, Next(options, ','), &Flag::option);
        if (row != std::end(kFlags)) flags |= row->flag;
    }
    return flags;
}

/// "36 35 98:0 /root /mnt ro,noatime master:1 - ext3 /dev/root rw,errors=continue"
bool ParseRow(std::string_view row, Mount& mount) {
    const std::size_t separator = row.find(" - ");
    if (separator == std::string_view::npos) return false;
    std::string_view left = row.substr(0, separator);
    std::string_view right = row.substr(separator + 3);
    mount.id = ToNumber(Next(left, ' '));
    for (int unused = 0; unused < 3; ++unused) Next(left, ' ');
    mount.point = Unescaped(Next(left, ' '));
    mount.flags = FlagsOf(Next(left, ' '));
    mount.type = Next(right, ' ');
    Next(right, ' ');
    mount.flags |= FlagsOf(right) & MS_RDONLY;
    return mount.id >= 0 && mount.point.starts_with('/') && !mount.type.empty();
}

corekit::Expected<std::string> ReadProc(const std::string& path) {
    const auto file = corekit::OpenAt(AT_FDCWD, path, O_RDONLY);
    if (!file) return file.error();
    return corekit::ReadAll(file->Get(), kLongestTable);
}

/// True if the path of a mount leads to it, or nobody can tell, as of a server that does not answer. Fails
/// when this process lacks what it takes to look.
corekit::Expected<bool> CanBeSeen(const Mount& mount) {
    const auto place = corekit::OpenAt(AT_FDCWD, mount.point, O_PATH | O_NOFOLLOW);
    if (!place) {
        constexpr std::array kOwnTrouble = {EMFILE, ENFILE, ENOMEM};
        if (std::ranges::count(kOwnTrouble, place.error().Code()) > 0) return place.error();
        return !IsNotFound(place.error()) && place.error().Code() != EACCES;
    }
    const auto info = ReadProc("/proc/self/fdinfo/" + std::to_string(place->Get()));
    if (!info) return info.error();
    constexpr std::string_view kKey = "mnt_id:\t";
    const std::size_t at = info->find(kKey);
    return at != std::string::npos && ToNumber(std::string_view(*info).substr(at + kKey.size())) == mount.id;
}

}  // namespace

std::vector<Mount> ParseMounts(std::string_view mountInfo) {
    std::vector<Mount> mounts;
    while (!mountInfo.empty()) {
        Mount mount;
        if (ParseRow(Next(mountInfo, '\n'), mount)) mounts.push_back(std::move(mount));
    }
    return mounts;
}

Result ReadVisibleMounts(std::vector<Mount>& mounts) {
    const auto text = ReadProc("/proc/self/mountinfo");
    if (!text) return text.error();
    mounts.clear();
    for (Mount& mount : ParseMounts(*text)) {
        const auto isSeen = CanBeSeen(mount);
        if (!isSeen) return isSeen.error();
        if (*isSeen) mounts.push_back(std::move(mount));
    }
    if (std::ranges::find(mounts, "/", &Mount::point) == mounts.end()) mounts.push_back({0, "/", "root", 0});
    std::ranges::sort(mounts, {}, &Mount::point);
    return Result();
}

bool IsAtOrBelow(std::string_view path, std::string_view directory) {
    if (directory == "/") return path.starts_with('/');
    return path.starts_with(directory) && (path.size() == directory.size() || path[directory.size()] == '/');
}

const Mount* MountOf(const std::vector<Mount>& mounts, std::string_view path) {
    const Mount* found = nullptr;
    for (const Mount& mount : mounts) {
        if (IsAtOrBelow(path, mount.point)) found = &mount;
    }
    return found;
}

}  // namespace Zorvane::AgentInstaller::Preview
