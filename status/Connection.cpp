// Asks the host's own name service, since a static program has none, and connects to all addresses at once.
#include "status/Connection.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <poll.h>
#include <sys/socket.h>
#include <vector>

#include "corekit/os/Descriptor.h"
#include "corekit/process/Program.h"
#include "corekit/text/Text.h"

namespace Zorvane::AgentInstaller::Status {

using corekit::Descriptor;
using corekit::String;
using Clock = std::chrono::steady_clock;

namespace {

constexpr auto kLongest = std::chrono::seconds(3);
constexpr std::size_t kMostAddresses = 8;

/// %1 is the name. The shell ends the question when it takes too long.
constexpr const wchar_t* kQuestion =
    L"exec 2>/dev/null\n"
    L"(getent ahosts %1 || getent hosts %1) & question=$!\n"
    L"(sleep 3; kill $question) >/dev/null & limit=$!\n"
    L"wait $question; kill $limit";

std::vector<String> AddressesOf(const String& host) {
    corekit::StringToMapFilter lines;
    // Without an answer the name has no address, which is what is told.
    Forgive(corekit::PosixLocaleProgram::Run(String(kQuestion).Arg(corekit::Text::ShellWord(host)), lines));
    std::vector<String> addresses;
    for (std::size_t number = 0; number < lines.Count() && addresses.size() < kMostAddresses; ++number) {
        const String address = lines.RawData(number).Before(L" ");
        if (std::ranges::count(addresses, address) == 0) addresses.push_back(address);
    }
    return addresses;
}

/// A connection that is being made; none when the address takes none.
Descriptor BeginConnection(const String& address, int port) {
    const std::string text = address.Utf8();
    const in_port_t networkPort = htons(static_cast<in_port_t>(port));
    sockaddr_in byFour{};
    byFour.sin_family = AF_INET;
    byFour.sin_port = networkPort;
    sockaddr_in6 bySix{};
    bySix.sin6_family = AF_INET6;
    bySix.sin6_port = networkPort;
    const bool isFour = inet_pton(AF_INET, text.c_str(), &byFour.sin_addr) == 1;
    if (!isFour && inet_pton(AF_INET6, text.c_str(), &bySix.sin6_addr) != 1) return Descriptor();
    Descriptor connection(socket(isFour ? AF_INET : AF_INET6, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const auto* const name =
        isFour ? reinterpret_cast<const sockaddr*>(&byFour) : reinterpret_cast<const sockaddr*>(&bySix);
    if (connection && connect(connection.Get(), name, isFour ? sizeof byFour : sizeof bySix) != 0 &&
        errno != EINPROGRESS)
        return Descriptor();
    return connection;
}

bool IsConnected(int connection) {
    int failure = 0;
    socklen_t size = sizeof failure;
    return getsockopt(connection, SOL_SOCKET, SO_ERROR, &failure, &size) == 0 && failure == 0;
}

/// Waits until one of the connections is made, all have failed, or the time is over.
bool AnyIsMade(const std::vector<Descriptor>& connections, Clock::time_point end) {
    std::vector<pollfd> waiting;
    for (const Descriptor& connection : connections) {
        if (connection) waiting.push_back({connection.Get(), POLLOUT, 0});
    }
    while (!waiting.empty()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) return false;
        if (poll(waiting.data(), waiting.size(), static_cast<int>(left)) <= 0) continue;
        for (const pollfd& connection : waiting) {
            if (connection.revents != 0 && IsConnected(connection.fd)) return true;
        }
        std::erase_if(waiting, [](const pollfd& connection) { return connection.revents != 0; });
    }
    return false;
}

}  // namespace

bool CanReach(const ServerUrl& server) {
    const Clock::time_point end = Clock::now() + kLongest;
    String host = server.Host();
    if (host.StartsWith(L"[")) host = host.Mid(1).Before(L"]");
    if (!server.IsValid() || server.Port() < 0) return false;
    std::vector<Descriptor> connections;
    for (const String& address : AddressesOf(host))
        connections.push_back(BeginConnection(address, server.Port()));
    return AnyIsMade(connections, end);
}

}  // namespace Zorvane::AgentInstaller::Status
