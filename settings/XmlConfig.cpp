// The XML configuration document: how its elements and attributes become settings.
#include "settings/XmlConfig.h"

#include <map>
#include <optional>

#include "corekit/text/Text.h"
#include "kDefaultConfig.embedded.h"
#include "settings/ServerUrl.h"
#include "settings/XmlFormat.h"

namespace Zorvane::AgentInstaller {

using corekit::BasicXml;
using corekit::String;

namespace {

/// A value and where it stands in the document.
struct Placed {
    String value;
    BasicXml::Position position;
};

/// The attributes that were read so far, by name: one map serves the whole document, so that an attribute
/// counts in whichever of the elements it stands.
using Attributes = std::map<String, Placed>;

/// The server that a document names.
struct Server {
    SourcedValue name;             // with its port; empty when there is none
    std::optional<ServerUrl> url;  // when it is given as a URL
};

/// A document and the source that its values have.
class Reader {
  public:
    Reader(const BasicXml& document, const Source& source) : m_document(document), m_source(source) {
        document.ForEachElement(
            [&](const BasicXml::Element& element) { m_firstElements.try_emplace(element.name, element); },
            BasicXml::Which::FirstOfEachName);
    }

    SourcedValue Text(const String& element) const {
        const auto found = m_firstElements.find(element);
        if (found == m_firstElements.end()) return {L"", m_source, L""};
        return At(found->second.text.Trim(), found->second.position);
    }

    /// Adds an element's attributes to the map.
    void ReadAttributes(const String& element, Attributes& attributes) const {
        const auto found = m_firstElements.find(element);
        if (found != m_firstElements.end()) Add(found->second, attributes);
    }

    SourcedValue Value(const Attributes& attributes, const String& name) const {
        const auto found = attributes.find(name);
        if (found == attributes.end()) return {L"", m_source, L""};
        return At(found->second.value, found->second.position);
    }

    Server NamedServer() const;
    void ReadExtraSettings(Attributes& attributes, Settings& settings) const;

  private:
    Source SourceAt(const BasicXml::Position& position) const {
        Source source = m_source;
        if (source.kind == Source::Kind::Default) return source;
        source.line = position.line;
        source.column = position.column;
        return source;
    }

    SourcedValue At(const String& value, const BasicXml::Position& position) const {
        return {value, SourceAt(position), value};
    }

    static void Add(const BasicXml::Element& element, Attributes& attributes) {
        for (const BasicXml::Attribute& attribute : element.attributes) {
            Placed& read = attributes[attribute.name];
            read.value = attribute.value;
            read.position = attribute.position;
        }
    }

    BasicXml m_document;
    Source m_source;
    std::map<String, BasicXml::Element> m_firstElements;
};

Server Reader::NamedServer() const {
    Attributes attributes;
    ReadAttributes(XmlFormat::kSettings, attributes);
    const bool useAddress =
        Value(attributes, L"UseKSIPAddress").value == L"yes" && attributes.contains(L"KSIPAddress");
    Server server{useAddress ? Value(attributes, L"KSIPAddress") : Text(L"KSName"), std::nullopt};
    server.name.value = server.name.value.Trim();
    if (const auto url = ServerUrl::FromFullUrl(server.name.value)) {
        server.url = url;
        server.name.value = url->ServerName();
        return server;
    }
    const String port = Text(L"KSPort").value;
    if (!server.name.value.IsEmpty() && !port.IsEmpty()) server.name.value += L":" + port;
    return server;
}

/// An attribute that an entry lacks has the value that the shared map holds from what was read before.
void Reader::ReadExtraSettings(Attributes& attributes, Settings& settings) const {
    const String& section = attributes[L"Section"].value;
    const String& name = attributes[L"Name"].value;
    const String& value = attributes[L"Value"].value;
    const String entry = XmlFormat::kExtraSetting;
    const auto add = [&](const BasicXml::Element& element) {
        if (element.name != entry) return;
        Add(element, attributes);
        settings.AddExtra({section, name, value, SourceAt(element.position)});
    };
    m_document.GetNode(XmlFormat::kExtraSettings)
        .ForEachElement(add, BasicXml::Which::All, BasicXml::Positions::OfElements);
}

/// Upper case, in braces.
String NormalisedGuid(const String& guid) {
    const String upper = guid.Upper();
    return upper.StartsWith(L"{") ? upper : L"{" + upper + L"}";
}

/// A value in the form that its setting has.
String Normalised(const String& value, XmlValue kind) {
    if (value.IsEmpty()) return value;
    if (kind == XmlValue::YesNo && corekit::Text::StrToBool(value)) return L"yes";
    if (kind == XmlValue::YesNo && IsWordForNo(value)) return L"no";
    // A misspelt "no" must not drop the old configuration.
    if (kind == XmlValue::Upgrade && value != L"no") return L"yes";
    if (kind == XmlValue::Protocol) return value.Lower();
    return value;
}

void SetServer(const Server& server, Settings& settings) {
    const Source source = server.name.source;
    if (server.url) {
        server.url->Compose(settings, source, server.name.given);
        return;
    }
    settings.Set(L"KSName", server.name);
    if (!settings.IsSet(L"KSProtocol")) settings.Set(L"KSProtocol", L"http", source);
    settings.Set(L"KSUrlFormat", UrlFormat(settings.Get(L"KSProtocol")), source);
}

std::unique_ptr<Settings> Read(const BasicXml& document, const Source& source) {
    const Reader reader(document, source);
    auto settings = std::make_unique<Settings>();
    Attributes attributes;
    for (const XmlItem& item : XmlFormat::kItems) {
        if (XmlFormat::HoldsAttributes(item)) reader.ReadAttributes(item.name, attributes);
        if (item.setting.IsNone()) continue;
        SourcedValue read =
            item.part == XmlPart::Element ? reader.Text(item.name) : reader.Value(attributes, item.name);
        read.value = Normalised(read.value, item.value);
        settings->Set(item.setting, read);
    }
    if (settings->IsSet(L"Guid")) settings->Value(L"Guid") = NormalisedGuid(settings->Get(L"Guid"));
    SetServer(reader.NamedServer(), *settings);
    reader.ReadExtraSettings(attributes, *settings);
    return settings;
}

}  // namespace

void ReadElementSetting(Settings& settings, const BasicXml& document, SettingName name) {
    const Reader reader(document, {Source::Kind::Xml});
    settings.Set(name, name == L"KSName" ? reader.NamedServer().name : reader.Text(name));
}

std::unique_ptr<Settings> ReadXmlConfig(const BasicXml& document, const String& path) {
    auto settings = Read(document, {Source::Kind::Xml, path});
    if (!settings->IsSet(L"KSName")) {
        settings->Value(L"KSProtocol") = String();
        settings->Value(L"KSUrlFormat") = String();
    }
    return settings;
}

std::unique_ptr<Settings> DefaultSettings() {
    return Read(BasicXml(std::string(kDefaultConfig)), {Source::Kind::Default});
}

}  // namespace Zorvane::AgentInstaller
