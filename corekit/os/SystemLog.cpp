// The sockets of the journal and of the syslog daemon. syslog(3) would wait for a daemon that does not read.
#include "corekit/os/SystemLog.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace corekit::SystemLog {

namespace {

constexpr std::string_view kJournal = "/run/systemd/journal/socket";
constexpr std::string_view kSyslog = "/dev/log";

/// Sends all pieces at once. Allocates nothing: a signal's handler calls it.
bool Send(std::string_view path, int type, std::span<const std::string_view> pieces) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);  // the byte behind it is zero already
    std::array<iovec, 8> parts{};
    const std::size_t count = std::min(pieces.size(), parts.size());
    for (std::size_t i = 0; i < count; ++i)
        parts[i] = {const_cast<char*>(pieces[i].data()), pieces[i].size()};
    msghdr message{};
    message.msg_iov = parts.data();
    message.msg_iovlen = count;

    const int log = socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (log < 0) return false;
    const bool sent = connect(log, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                      sendmsg(log, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0;
    const int failure = errno;
    close(log);
    errno = failure;
    return sent;
}

}  // namespace

std::string Field(std::string_view name, std::string_view value) {
    constexpr std::size_t kLongest = 4096;
    value = value.substr(0, kLongest);
    std::string field(name);
    if (value.find('\n') == std::string_view::npos) return field.append("=").append(value).append("\n");
    field += '\n';
    for (std::uint64_t length = value.size(), i = 0; i < sizeof length; ++i, length >>= 8U)
        field += static_cast<char>(length & 0xFFU);
    return field.append(value).append("\n");
}

bool ToJournal(std::span<const std::string_view> pieces) {
    return Send(kJournal, SOCK_DGRAM, pieces);
}

bool ToSyslog(std::span<const std::string_view> pieces) {
    return Send(kSyslog, SOCK_DGRAM, pieces) || (errno == EPROTOTYPE && Send(kSyslog, SOCK_STREAM, pieces));
}

}  // namespace corekit::SystemLog
