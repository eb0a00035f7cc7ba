// The management server's URL: its scheme, its port and the settings composed from it.
#include "settings/ServerUrl.h"

namespace Zorvane::AgentInstaller {

using corekit::String;

namespace {

struct KnownScheme {
    const wchar_t* protocol;
    ServerUrl::Kind kind;
    int defaultPort;
};
constexpr KnownScheme kSchemes[] = {
    {L"http", ServerUrl::Http, 80},
    {L"https", ServerUrl::Https, 443},
    {L"ftp", ServerUrl::Ftp, 21},
};

ServerUrl::Kind KindOf(const String& protocol) {
    for (const KnownScheme& scheme : kSchemes) {
        if (protocol == scheme.protocol) return scheme.kind;
    }
    return ServerUrl::Other;
}

/// The host's name alone, without domain, of a server name.
String HostPart(const String& server) {
    return server.Before(L".");
}

/// A server name without its port. The port of a bracketed address is what follows the bracket.
String WithoutPort(const String& server) {
    if (!server.StartsWith(L"[")) return server.Before(L":");
    const std::size_t bracket = server.Find(L"]");
    return bracket == String::npos ? server : server.Left(bracket + 1);
}

}  // namespace

ServerUrl::ServerUrl(const String& text) : m_url(text) {
    if (m_url.GetProtocol().IsEmpty()) m_url.SetProtocol(L"http");
    m_kind = KindOf(m_url.GetProtocol());
}

bool ServerUrl::IsDefaultPort() const {
    if (m_url.GetPort() < 0) return true;
    for (const KnownScheme& scheme : kSchemes) {
        if (scheme.kind == m_kind) return scheme.defaultPort == m_url.GetPort();
    }
    return false;
}

String ServerUrl::ServerName() const {
    return IsDefaultPort() ? m_url.GetHost() : m_url.GetHost() + L":" + String::FromInt(m_url.GetPort());
}

void ServerUrl::Compose(Settings& settings) const {
    settings.Value(L"KSProtocol") = GetProtocol();
    settings.Value(L"KSName") = ServerName();
    settings.Value(L"KSUrlFormat") = UrlFormat(GetProtocol());
}

String UrlFormat(const String& protocol) {
    return protocol + L"://%server%/Zorvane/";
}

bool ServerNamesDiffer(const String& left, const String& right) {
    const String first = WithoutPort(left.Upper());
    const String second = WithoutPort(right.Upper());
    const bool bothWhole =
        (first.Contains(L".") && second.Contains(L".")) || first.StartsWith(L"[") || second.StartsWith(L"[");
    return bothWhole ? first != second : HostPart(first) != HostPart(second);
}

}  // namespace Zorvane::AgentInstaller
