// URLs and server names: what is read is what it prints.
#include <algorithm>

#include "config/SystemProbes.h"
#include "corekit/text/Url.h"
#include "settings/ServerUrl.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::String;
using Zorvane::AgentInstaller::ServerNamesDiffer;
using Zorvane::AgentInstaller::ServerUrl;

namespace {

String Printed(const corekit::Url& url) {
    const String scheme = url.GetProtocol().IsEmpty() ? String() : url.GetProtocol() + L"://";
    const String port = url.GetPort() < 0 ? String() : L":" + String::FromInt(url.GetPort());
    return scheme + url.GetHost() + port;
}

bool IsPlain(const String& text) {
    return std::ranges::all_of(text, [](wchar_t character) { return character > L' ' && character < 0x7F; });
}

void CheckUrl(const String& text) {
    const corekit::Url url(text);
    Holds(url.GetPort() == -1 || (url.GetPort() >= 1 && url.GetPort() <= 65535), "a port is 1 to 65535");
    if (!url.IsValid()) return;
    Holds(!url.GetHost().IsEmpty(), "a valid URL has a host");
    Holds(IsPlain(Printed(url)), "a valid URL has no blanks and no control characters");
    Holds(url.GetHost().FindOneOf(L"/?#@") == String::npos, "a host is nothing but a host");
    const corekit::Url again(Printed(url));
    Holds(again.IsValid() && again.GetProtocol() == url.GetProtocol() && again.GetHost() == url.GetHost() &&
              again.GetPort() == url.GetPort(),
          "what is printed reads the same");
}

void CheckServer(const String& text) {
    const ServerUrl server(text);
    Zorvane::AgentInstaller::Settings settings;
    server.Compose(settings, {}, {});
    Holds(settings.Get(L"KSName") == server.ServerName(), "KSName is the server's name");
    Holds(settings.Get(L"KSUrlFormat") == server.GetProtocol() + L"://%server%/Zorvane/",
          "KSUrlFormat has the scheme");
    if (!server.IsValid()) return;
    const ServerUrl again(server.GetProtocol() + L"://" + server.ServerName());
    Holds(again.IsValid() && again.ServerName() == server.ServerName() && again.Scheme() == server.Scheme(),
          "a server is known by its scheme and its name");
    Holds(again.IsDefaultPort() == server.IsDefaultPort(), "the name tells whether the port is the default");
}

}  // namespace

void Url(std::string_view input) {
    Parts parts(input);
    const String text = String::FromUtf8(parts.Next());
    const String other = String::FromUtf8(parts.Rest());
    CheckUrl(text);
    CheckServer(text);
    Holds(!ServerNamesDiffer(text, text), "a server does not differ from itself");
    Holds(!ServerNamesDiffer(text, text.Lower()), "case does not matter");
    Holds(ServerNamesDiffer(text, other) == ServerNamesDiffer(other, text),
          "that servers differ goes both ways");
}

}  // namespace fuzz
