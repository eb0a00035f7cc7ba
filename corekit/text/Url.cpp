// Reading a URL: scheme, host and port.
#include "corekit/text/Url.h"

#include <algorithm>
#include <arpa/inet.h>

#include "corekit/text/Character.h"

namespace corekit {

namespace {

constexpr int kHighestPort = 65535;

bool IsSchemeCharacter(wchar_t character) {
    return IsLetter(character) || IsDigit(character) || character == L'+' || character == L'-' ||
           character == L'.';
}

bool IsHostCharacter(wchar_t character) {
    return IsLetter(character) || IsDigit(character) || character == L'.' || character == L'-' ||
           character == L'_';
}

/// An IPv6 address in brackets.
bool IsBracketedAddress(const String& host) {
    if (!host.StartsWith(L"[") || !host.EndsWith(L"]")) return false;
    in6_addr address{};
    const std::string inner = host.Mid(1, host.Length() - 2).Utf8();
    return inner.find('\0') == inner.npos && inet_pton(AF_INET6, inner.c_str(), &address) == 1;
}

bool IsHost(const String& text) {
    return IsBracketedAddress(text) || (!text.IsEmpty() && std::ranges::all_of(text, IsHostCharacter));
}

/// The port that a text names, or -1.
int PortOf(const String& text) {
    if (!std::ranges::all_of(text, IsDigit)) return -1;
    const int port = text.ToInt();
    return port >= 1 && port <= kHighestPort ? port : -1;
}

/// What stands between "://" and the path or query, without the user.
String ServerPart(const String& afterScheme) {
    const String authority = afterScheme.Left(afterScheme.FindOneOf(L"/?#"));
    const std::size_t user = authority.FindLast(L"@");
    return user == String::npos ? authority : authority.Mid(user + 1);
}

/// Where the host ends: after its bracket, or before the first ":".
std::size_t HostLength(const String& server) {
    if (!server.StartsWith(L"[")) return std::min(server.Find(L":"), server.Length());
    const std::size_t bracket = server.Find(L"]");
    return bracket == String::npos ? server.Length() : bracket + 1;
}

}  // namespace

Url::Url(const String& text) {
    const std::size_t schemeEnd = text.Find(L"://");
    const bool hasScheme = schemeEnd != String::npos;
    if (hasScheme) m_protocol = text.Left(schemeEnd);

    const String server = ServerPart(hasScheme ? text.Mid(schemeEnd + 3) : text);
    m_host = server.Left(HostLength(server));
    const String rest = server.Mid(m_host.Length());
    if (rest.StartsWith(L":")) m_port = PortOf(rest.Mid(1));

    const bool isPortGood = rest.IsEmpty() || m_port > 0;
    m_valid = std::ranges::all_of(m_protocol, IsSchemeCharacter) && IsHost(m_host) && isPortGood;
}

}  // namespace corekit
