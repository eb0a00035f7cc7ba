// XML: the tree answers as a plain walk through the same document does, and settings come out of it whole.
#include <expat.h>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "corekit/xml/BasicXml.h"
#include "settings/XmlConfig.h"
#include "tests/fuzz/Property.h"
#include "tests/fuzz/Targets.h"

namespace fuzz {

using corekit::AttributeMap;
using corekit::BasicXml;
using corekit::String;

namespace {

constexpr std::size_t kMostCompared = 50;

/// A document's elements, put down one after the other by the parser itself.
class Walk {
  public:
    struct Element {
        String name;
        std::string text;
        AttributeMap attributes;
        BasicXml::Position position;
        std::size_t end = 0;  // the first element behind it and all within it
    };

    explicit Walk(const std::string& bytes) {
        const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
            XML_ParserCreate("UTF-8"), XML_ParserFree);
        m_parser = parser.get();
        XML_SetUserData(m_parser, this);
        XML_SetElementHandler(m_parser, Open, Close);
        XML_SetCharacterDataHandler(m_parser, Text);
        m_isWellFormed =
            XML_Parse(m_parser, bytes.data(), static_cast<int>(bytes.size()), XML_TRUE) == XML_STATUS_OK;
    }

    bool IsWellFormed() const { return m_isWellFormed; }
    const std::vector<Element>& Elements() const { return m_elements; }

  private:
    static void Open(void* walk, const char* name, const char** attributes) {
        Walk& self = *static_cast<Walk*>(walk);
        Element element;
        element.name = String::FromUtf8(name);
        element.position = {XML_GetCurrentLineNumber(self.m_parser),
                            XML_GetCurrentColumnNumber(self.m_parser) + 1};
        for (; *attributes != nullptr; attributes += 2) {
            element.attributes[String::FromUtf8(attributes[0])] = String::FromUtf8(attributes[1]);
        }
        self.m_open.push_back(self.m_elements.size());
        self.m_elements.push_back(element);
    }
    static void Close(void* walk, const char*) {
        Walk& self = *static_cast<Walk*>(walk);
        self.m_elements[self.m_open.back()].end = self.m_elements.size();
        self.m_open.pop_back();
    }
    static void Text(void* walk, const char* text, int length) {
        Walk& self = *static_cast<Walk*>(walk);
        self.m_elements[self.m_open.back()].text.append(text, static_cast<std::size_t>(length));
    }

    XML_Parser m_parser = nullptr;  // while the document is parsed
    bool m_isWellFormed = false;
    std::vector<Element> m_elements;
    std::vector<std::size_t> m_open;
};

using Elements = std::vector<Walk::Element>;

/// Where the first element of the name is, from `begin` to `end`; `end` when there is none.
std::size_t FirstOf(const Elements& elements, const String& name, std::size_t begin, std::size_t end) {
    while (begin < end && elements[begin].name != name) ++begin;
    return begin;
}

void CheckElement(const BasicXml& node, const Walk::Element& element) {
    AttributeMap attributes;
    node.GetAttributes(attributes);
    Holds(node.Exists(), "an element of the document is in the tree");
    Holds(attributes == element.attributes, "an element has the attributes that it is written with");
    Holds(node.GetText(element.name) == String::FromUtf8(element.text),
          "an element has the text that it is written with");
}

/// Each element as the index-th of its name, and each name within it.
void CheckTree(const BasicXml& document, const Elements& elements) {
    std::map<String, std::size_t, corekit::Ltstr> seen;
    for (std::size_t at = 0; at < std::min(elements.size(), kMostCompared); ++at) {
        const BasicXml node = document.GetNode(elements[at].name, seen[elements[at].name]++);
        CheckElement(node, elements[at]);
        for (const auto& [name, count] : seen) {
            const std::size_t within = FirstOf(elements, name, at, elements[at].end);
            const String text =
                within < elements[at].end ? String::FromUtf8(elements[within].text) : String();
            Holds(node.GetText(name) == text, "a search stays within its element");
        }
    }
    if (elements.size() > kMostCompared) return;
    for (const auto& [name, count] : seen)
        Holds(!document.GetNode(name, count).Exists(), "there are no more elements than written");
}

/// The walk through the tree meets the same elements, at the parser's own positions.
void CheckWalk(const BasicXml& document, const Elements& elements, bool hasByteOrderMark) {
    std::size_t met = 0;
    document.ForEachElement([&](const BasicXml::Element& element) {
        Holds(met < elements.size(), "a walk meets no more elements than there are");
        const Walk::Element& expected = elements[met++];
        Holds(element.name == expected.name && element.text == String::FromUtf8(expected.text),
              "a walk meets the elements in their order");
        const bool isAfterMark = hasByteOrderMark && expected.position.line == 1;
        Holds(element.position.line == expected.position.line &&
                  element.position.column == expected.position.column - (isAfterMark ? 1 : 0),
              "a walk knows where an element begins");
        Holds(element.attributes.size() == expected.attributes.size(), "a walk meets all attributes");
        for (const BasicXml::Attribute& attribute : element.attributes) {
            Holds(attribute.position.line >= element.position.line, "an attribute begins after its element");
        }
    });
    Holds(met == elements.size(), "a walk leaves no element out");
}

void CheckRefusal(const BasicXml& document) {
    Holds(!document.GetRefusal()->reason.IsEmpty(), "a refusal has a reason");
    Holds(document.GetRefusal()->line >= 1 && document.GetRefusal()->column >= 1, "a refusal has a place");
    Holds(!document.Exists(), "nothing comes of a document that is refused");
}

void CheckSettings(const BasicXml& document) {
    const auto settings = Zorvane::AgentInstaller::ReadXmlConfig(document);
    for (const Zorvane::AgentInstaller::SettingName name :
         std::initializer_list<Zorvane::AgentInstaller::SettingName>{L"InstallDir", L"BinDir", L"TempDir",
                                                                     L"GuidDir", L"Location"}) {
        Holds(settings->Get(name) == document.GetText(name).Trim(),
              "a setting is the trimmed text of its element");
    }
    const String guid = settings->Get(L"Guid");
    Holds(guid.IsEmpty() || (guid.StartsWith(L"{") && guid == guid.Upper()),
          "an identifier is in braces and upper case");
    Holds(settings->IsSet(L"KSName") == settings->IsSet(L"KSUrlFormat"), "KSUrlFormat comes with a server");
    Holds(!settings->IsSet(L"KSName") ||
              settings->Get(L"KSUrlFormat") == settings->Get(L"KSProtocol") + L"://%server%/Zorvane/",
          "KSUrlFormat has the scheme");
}

}  // namespace

void Xml(std::string_view input) {
    const String text = String::FromUtf8(input);
    Holds(text.Utf8() == input, "bytes come back as they were");
    const BasicXml document(text);
    const Walk walk{std::string(input)};
    if (document.GetRefusal() != nullptr) return CheckRefusal(document);
    Holds(walk.IsWellFormed(), "what is read is well-formed");
    CheckTree(document, walk.Elements());
    CheckWalk(document, walk.Elements(), input.starts_with("\xEF\xBB\xBF"));
    CheckSettings(document);
}

}  // namespace fuzz
