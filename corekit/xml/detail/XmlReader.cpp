// Reading an XML text into a tree, and refusing what could harm.

#define XML_DTD  // makes the parser's header declare the limits on entity expansion
#include <expat.h>
#include <memory>
#include <optional>
#include <set>
#include <type_traits>

#include "corekit/os/Application.h"
#include "corekit/os/Sys.h"
#include "corekit/xml/detail/XmlTree.h"

namespace corekit {

namespace {

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;
constexpr std::size_t kLargestDocument = 16 * kMiB;
constexpr std::size_t kLargestContent = 32 * kMiB;
/// Bounds how deeply entities nest, which costs the parser stack, and how many default attributes an element
/// type has, which costs it time.
constexpr std::size_t kLargestDoctype = 32 * kKiB;
/// What entities may add to a document: this much in any case, beyond it only so many times its size.
constexpr unsigned long long kFreeExpansion = kMiB;
constexpr float kLargestExpansion = 4;

constexpr const wchar_t* kDocumentTooLarge = L"document over 16 MiB";
constexpr const wchar_t* kContentTooLarge = L"content over 32 MiB";
constexpr const wchar_t* kDoctypeTooLarge = L"document type declaration over 32 KiB";
constexpr const wchar_t* kExternalEntity = L"external entity";
constexpr const wchar_t* kUndefinedEntity = L"undefined entity";
constexpr const wchar_t* kNotUtf8 = L"not UTF-8";

/// The parser would switch to UTF-16 by itself for a text that begins like this, whatever it was told.
bool LooksLikeUtf16(std::string_view bytes) {
    return bytes.starts_with('\xFE') || bytes.starts_with('\xFF') ||
           bytes.substr(0, 2).find('\0') != bytes.npos;
}

/// The general entities of one document. A parser that may not read an external DTD lets references to
/// undeclared entities pass, since that DTD could have declared them, and drops those in attribute values
/// without a word; here they are found.
class Entities {
  public:
    void Declare(std::string_view name, std::string_view value) {
        m_names.emplace(name);
        m_values.append(value).append(1, ' ');
    }

    /// True if every entity that the markup refers to has been declared.
    bool CoverReferences(std::string_view markup) const {
        for (std::size_t at = markup.find('&'); at != markup.npos; at = markup.find('&', at + 1)) {
            const std::string_view name = markup.substr(at + 1, markup.find(';', at) - at - 1);
            const bool isCharacter = name.starts_with('#');
            if (!isCharacter && !m_names.contains(name)) return false;
        }
        return true;
    }

    /// True if every entity that a declared value refers to has been declared, too.
    bool CoverThemselves() const { return CoverReferences(m_values); }

  private:
    std::set<std::string, std::less<>> m_names{"amp", "apos", "gt", "lt", "quot"};
    std::string m_values;
};

/// Reads one document.
class XmlReader {
  public:
    XmlReader();

    tl::expected<XmlTree, BasicXml::Refusal> Read(std::string_view document);

  private:
    struct Free {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    void ListenToContent();
    void ListenToDoctype();

    void OnElement(const char* name, const char** attributes);
    void OnText(std::string_view text);
    void OnDoctype();
    void OnDoctypeEnd();
    void OnEntity(const char* name, bool isParameter, std::string_view value);
    void OnMarkup(std::string_view markup);

    void CheckContentSize();
    void CheckDoctypeSize();
    void Refuse(const String& reason);

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, Free> m_parser;
    XmlTree m_tree;
    Entities m_entities;
    XML_Index m_doctypeBegin = 0;
    bool m_hasDoctype = false;
    bool m_isInDoctype = false;
    std::optional<BasicXml::Refusal> m_refusal;
};

XmlReader::XmlReader() : m_parser(XML_ParserCreate("UTF-8")) {
    if (!m_parser) EndWithoutMemory();  // it fails for no other reason
    XML_SetUserData(m_parser.get(), this);
    XML_SetHashSalt(m_parser.get(), static_cast<unsigned long>(RandomNumber() | 1));
    XML_SetParamEntityParsing(m_parser.get(), XML_PARAM_ENTITY_PARSING_ALWAYS);
    XML_SetBillionLaughsAttackProtectionActivationThreshold(m_parser.get(), kFreeExpansion);
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(m_parser.get(), kLargestExpansion);
    ListenToContent();
    ListenToDoctype();
}

void XmlReader::ListenToContent() {
    XML_SetElementHandler(
        m_parser.get(),
        [](void* self, const char* name, const char** attributes) {
            static_cast<XmlReader*>(self)->OnElement(name, attributes);
        },
        [](void* self, const char*) { static_cast<XmlReader*>(self)->m_tree.Close(); });
    XML_SetCharacterDataHandler(m_parser.get(), [](void* self, const char* text, int length) {
        static_cast<XmlReader*>(self)->OnText({text, static_cast<std::size_t>(length)});
    });
    XML_SetSkippedEntityHandler(m_parser.get(), [](void* self, const char*, int) {
        static_cast<XmlReader*>(self)->Refuse(kUndefinedEntity);
    });
}

void XmlReader::ListenToDoctype() {
    XML_SetDoctypeDeclHandler(
        m_parser.get(),
        [](void* self, const char*, const char*, const char*, int) {
            static_cast<XmlReader*>(self)->OnDoctype();
        },
        [](void* self) { static_cast<XmlReader*>(self)->OnDoctypeEnd(); });
    XML_SetEntityDeclHandler(
        m_parser.get(), [](void* self, const char* name, int isParameter, const char* value, int length,
                           const char*, const char*, const char*, const char*) {
            XmlReader& reader = *static_cast<XmlReader*>(self);
            if (value == nullptr) return reader.Refuse(kExternalEntity);
            reader.OnEntity(name, isParameter != 0, {value, static_cast<std::size_t>(length)});
        });
}

tl::expected<XmlTree, BasicXml::Refusal> XmlReader::Read(std::string_view document) {
    if (document.size() > kLargestDocument) return tl::unexpected(BasicXml::Refusal{kDocumentTooLarge, 1, 1});
    if (LooksLikeUtf16(document)) return tl::unexpected(BasicXml::Refusal{kNotUtf8, 1, 1});
    m_tree = XmlTree(document.size());
    const int length = static_cast<int>(document.size());
    if (XML_Parse(m_parser.get(), document.data(), length, XML_TRUE) != XML_STATUS_OK) {
        const XML_Error error = XML_GetErrorCode(m_parser.get());
        if (error == XML_ERROR_NO_MEMORY) EndWithoutMemory();
        Refuse(String::FromUtf8(XML_ErrorString(error)));
    }
    if (m_refusal) return tl::unexpected(*m_refusal);
    return std::move(m_tree);
}

void XmlReader::OnElement(const char* name, const char** attributes) {
    m_tree.Open(name, static_cast<std::size_t>(XML_GetCurrentByteIndex(m_parser.get())));
    for (; *attributes != nullptr; attributes += 2) m_tree.AddAttribute(attributes[0], attributes[1]);
    CheckContentSize();
    if (m_hasDoctype) XML_DefaultCurrent(m_parser.get());  // gives the tag as it stands to OnMarkup
}

void XmlReader::OnText(std::string_view text) {
    m_tree.AddText(text);
    CheckContentSize();
}

void XmlReader::OnDoctype() {
    m_hasDoctype = m_isInDoctype = true;
    m_doctypeBegin = XML_GetCurrentByteIndex(m_parser.get());
    XML_SetDefaultHandlerExpand(m_parser.get(), [](void* self, const char* markup, int length) {
        static_cast<XmlReader*>(self)->OnMarkup({markup, static_cast<std::size_t>(length)});
    });
}

void XmlReader::OnDoctypeEnd() {
    m_isInDoctype = false;
    if (!m_entities.CoverThemselves()) Refuse(kUndefinedEntity);
}

void XmlReader::OnEntity(const char* name, bool isParameter, std::string_view value) {
    CheckDoctypeSize();
    if (!isParameter) m_entities.Declare(name, value);
}

/// Default values of attributes, tags, and all that holds no references.
void XmlReader::OnMarkup(std::string_view markup) {
    if (m_isInDoctype) CheckDoctypeSize();
    const bool isDefaultValue = m_isInDoctype && (markup.starts_with('"') || markup.starts_with('\''));
    const bool isTag = markup.starts_with('<') && !markup.starts_with("<!") && !markup.starts_with("<?");
    if ((isDefaultValue || isTag) && !m_entities.CoverReferences(markup)) Refuse(kUndefinedEntity);
}

void XmlReader::CheckContentSize() {
    if (m_tree.ContentSize() > kLargestContent) Refuse(kContentTooLarge);
}

void XmlReader::CheckDoctypeSize() {
    const XML_Index size = XML_GetCurrentByteIndex(m_parser.get()) - m_doctypeBegin;
    if (static_cast<std::size_t>(size) > kLargestDoctype) Refuse(kDoctypeTooLarge);
}

/// Stops the parser; the first reason counts.
void XmlReader::Refuse(const String& reason) {
    if (m_refusal) return;
    m_refusal = {reason, XML_GetCurrentLineNumber(m_parser.get()),
                 XML_GetCurrentColumnNumber(m_parser.get()) + 1};
    XML_StopParser(m_parser.get(), XML_FALSE);
}

}  // namespace

tl::expected<XmlTree, BasicXml::Refusal> ReadXml(std::string_view document) {
    return XmlReader().Read(document);
}

}  // namespace corekit
