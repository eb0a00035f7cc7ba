// The management server's URL, and the three settings that are always composed from it together.
#pragma once

#include <optional>

#include "corekit/ini/IniFile.h"
#include "corekit/text/Url.h"
#include "settings/Settings.h"

namespace Zorvane::AgentInstaller {

class ServerUrl {
  public:
    enum Kind : int { Http = 0, Https = 1, Ftp = 2, Other = 3 };

    /// Parses a text like "https://kell.example.com:8083"; one without a scheme counts as http.
    explicit ServerUrl(const corekit::String& text);

    /// The URL of a text that has a scheme and is a valid URL of http or https; none for any other text.
    static std::optional<ServerUrl> FromFullUrl(const corekit::String& text);

    /// The kind of the scheme.
    int Scheme() const { return m_kind; }
    bool IsWeb() const { return m_kind == Http || m_kind == Https; }
    bool IsValid() const { return m_url.IsValid(); }
    const corekit::String& Host() const { return m_url.GetHost(); }
    const corekit::String& GetProtocol() const { return m_url.GetProtocol(); }

    /// True if there is no port, or the scheme's own.
    bool IsDefaultPort() const;

    /// The port, also where it is the scheme's own; negative when it is not known.
    int Port() const;

    /// True for the same scheme, host (in any case) and port.
    bool IsSameAs(const ServerUrl& other) const;

    /// The host, followed by ":" and the port unless that is the scheme's own.
    corekit::String ServerName() const;

    /// The scheme and the server's name, as in "https://kell.example.com:8083".
    corekit::String Text() const { return GetProtocol() + L"://" + ServerName(); }

    /// Sets KSProtocol, KSName and KSUrlFormat. `given` is the server as it stands at the source.
    void Compose(Settings& settings, const Source& source, const corekit::String& given) const;

  private:
    corekit::Url m_url;
    Kind m_kind;
};

/// The server that the settings name: KSName with the scheme of KSUrlFormat.
ServerUrl CurrentServer(const Settings& settings);

/// The URL of the server that a client.conf names; empty without one.
corekit::String ConfiguredServer(const corekit::IniFile& conf);

/// The KSUrlFormat of a scheme, such as "http://%server%/Zorvane/".
corekit::String UrlFormat(const corekit::String& protocol);

/// True if two server names denote different servers. Case, port, and a domain that one of them lacks do
/// not matter.
bool ServerNamesDiffer(const corekit::String& left, const corekit::String& right);

}  // namespace Zorvane::AgentInstaller
