// The management server's URL: its scheme, its port and the settings composed from it.
#include "settings/ServerUrl.h"

#include "run/Keys.h"

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

/// The port of a scheme; negative for one that is not known.
int DefaultPort(ServerUrl::Kind kind) {
    for (const KnownScheme& scheme : kSchemes) {
        if (scheme.kind == kind) return scheme.defaultPort;
    }
    return -1;
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

std::optional<ServerUrl> ServerUrl::FromFullUrl(const String& text) {
    if (!text.Contains(L"://")) return std::nullopt;
    const ServerUrl url(text);
    return url.IsValid() && url.IsWeb() ? std::optional(url) : std::nullopt;
}

bool ServerUrl::IsDefaultPort() const {
    return m_url.GetPort() < 0 || m_url.GetPort() == DefaultPort(m_kind);
}

int ServerUrl::Port() const {
    return m_url.GetPort() < 0 ? DefaultPort(m_kind) : m_url.GetPort();
}

bool ServerUrl::IsSameAs(const ServerUrl& other) const {
    return GetProtocol() == other.GetProtocol() && Port() == other.Port() &&
           m_url.GetHost().Lower() == other.m_url.GetHost().Lower();
}

String ServerUrl::ServerName() const {
    return IsDefaultPort() ? m_url.GetHost() : m_url.GetHost() + L":" + String::FromInt(m_url.GetPort());
}

void ServerUrl::Compose(Settings& settings, const Source& source, const String& given) const {
    settings.Set(L"KSProtocol", {GetProtocol(), source, given});
    settings.Set(L"KSName", {ServerName(), source, given});
    settings.Set(L"KSUrlFormat", {UrlFormat(GetProtocol()), source, given});
}

ServerUrl CurrentServer(const Settings& settings) {
    const String name = settings.Get(L"KSName");
    if (name.Contains(L"://")) return ServerUrl(name);
    return ServerUrl(ServerUrl(settings.Get(L"KSUrlFormat")).GetProtocol() + L"://" + name);
}

String ConfiguredServer(const corekit::IniFile& conf) {
    const String name = GetValue(conf, Key::kServer);
    if (name.IsEmpty()) return name;
    Settings settings;
    settings.Value(L"KSName") = name;
    settings.Value(L"KSUrlFormat") = GetValue(conf, Key::kUrlFormat);
    return CurrentServer(settings).Text();
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
