// Queries of a parsed XML document, and positions in it.
#include "corekit/xml/BasicXml.h"

#include <optional>
#include <string_view>
#include <utility>

#include "corekit/xml/detail/XmlTree.h"

namespace corekit {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

void AddAttributes(const XmlTree& tree, std::size_t element, AttributeMap& attributes) {
    if (!tree.Contains(element)) return;
    tree.ForEachAttribute(element, [&attributes](std::string_view name, std::string_view value) {
        attributes.insert_or_assign(String::FromUtf8(name), String::FromUtf8(value));
    });
}

bool IsBlank(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

/// Where the names of a tag's attributes begin in a well-formed document, one after the other. A plain loop
/// over the bytes: most steps are a few bytes long, and documents are full of them.
class AttributeNames {
  public:
    AttributeNames(std::string_view document, std::size_t tag) : m_document(document) {
        if (document[tag] != '<') return;
        for (m_at = tag + 1; !IsBlank(document[m_at]) && !EndsTag(m_at);) ++m_at;
    }

    /// None after the last one, and for a reference to an entity.
    std::optional<std::size_t> Next() {
        if (m_at == kNoTag) return std::nullopt;
        while (IsBlank(m_document[m_at])) ++m_at;
        if (EndsTag(m_at)) return std::nullopt;
        const std::size_t name = m_at;
        while (m_document[m_at] != '"' && m_document[m_at] != '\'') ++m_at;
        m_at = m_document.find(m_document[m_at], m_at + 1) + 1;
        return name;
    }

  private:
    static constexpr std::size_t kNoTag = std::string_view::npos;

    bool EndsTag(std::size_t at) const { return m_document[at] == '/' || m_document[at] == '>'; }

    std::string_view m_document;
    std::size_t m_at = kNoTag;  // behind the attribute before
};

/// Turns offsets of a document's bytes into positions, each offset at or after the one before.
class PositionCounter {
  public:
    explicit PositionCounter(std::string_view document) : m_document(document) {}

    BasicXml::Position At(std::size_t offset) {
        auto [line, column] = m_position;
        const char* const text = m_document.data();
        for (std::size_t at = m_offset; at < offset; ++at) {
            const auto byte = static_cast<signed char>(text[at]);  // negative beyond ASCII
            if (byte > '\r') {                                     // as most are
                ++column;
            } else if (byte == '\n' || (byte == '\r' && m_document.substr(at + 1, 1) != "\n")) {
                ++line;
                column = 1;
            } else if ((byte & 0xC0) != 0x80) {  // continues no character
                ++column;
            }
        }
        m_position = {line, column};
        m_offset = offset;
        return m_position;
    }

  private:
    std::string_view m_document;
    std::size_t m_offset = 0;
    BasicXml::Position m_position;
};

/// A name as text, which mostly is that of the element before.
class NameText {
  public:
    const String& Of(std::string_view name) {
        if (name != m_name) m_text = String::FromUtf8(m_name = name);
        return m_text;
    }

  private:
    std::string_view m_name;  // of the tree
    String m_text;
};

/// Reads elements as they are written, each after the one before.
class ElementReader {
  public:
    ElementReader(std::string_view document, const XmlTree& tree, BasicXml::Positions wanted)
        : m_document(document), m_tree(tree), m_wanted(wanted), m_positions(document) {}

    /// Fills in all but what lies around the element. The room that the element before needed is used again.
    void Read(std::size_t number, BasicXml::Element& element) {
        element.name = m_name.Of(m_tree.Name(number));
        element.text = String::FromUtf8(m_tree.Text(number));
        element.position = m_positions.At(m_tree.Offset(number));
        element.attributes.resize(m_tree.AttributeCount(number));
        if (m_attributeNames.size() < element.attributes.size())
            m_attributeNames.resize(element.attributes.size());
        std::size_t index = 0;
        m_tree.ForEachAttribute(number, [&](std::string_view name, std::string_view value) {
            BasicXml::Attribute& attribute = element.attributes[index];
            attribute.name = m_attributeNames[index++].Of(name);
            attribute.value = String::FromUtf8(value);
            attribute.position = element.position;
        });
        if (m_wanted == BasicXml::Positions::OfAttributesToo)
            Place(element.attributes, m_tree.Offset(number));
    }

  private:
    void Place(std::vector<BasicXml::Attribute>& attributes, std::size_t tag) {
        AttributeNames names(m_document, tag);
        for (BasicXml::Attribute& attribute : attributes) {
            const auto name = names.Next();
            if (!name) return;
            attribute.position = m_positions.At(*name);
        }
    }

    std::string_view m_document;
    const XmlTree& m_tree;
    BasicXml::Positions m_wanted;
    PositionCounter m_positions;
    NameText m_name;
    std::vector<NameText> m_attributeNames;  // by their places in the tag
};

}  // namespace

struct BasicXml::Tree {
    explicit Tree(std::string bytes) : document(std::move(bytes)) {
        if (document.starts_with(kByteOrderMark)) document.erase(0, kByteOrderMark.size());
        tl::expected<XmlTree, Refusal> read = ReadXml(document);
        if (read) {
            elements = std::move(*read);
        } else {
            refusal = read.error();
        }
    }

    std::string document;
    XmlTree elements;
    std::optional<Refusal> refusal;
};

BasicXml::BasicXml(const String& text) : BasicXml(text.Utf8()) {}

BasicXml::BasicXml(std::string bytes) : m_tree(std::make_shared<const Tree>(std::move(bytes))), m_root(0) {}

BasicXml::BasicXml(std::shared_ptr<const Tree> tree, std::size_t root)
    : m_tree(std::move(tree)), m_root(root) {}

const BasicXml::Refusal* BasicXml::GetRefusal() const {
    return m_tree->refusal ? &*m_tree->refusal : nullptr;
}

bool BasicXml::Exists() const {
    return m_tree->elements.Contains(m_root);
}

String BasicXml::GetText(const String& name) const {
    const std::size_t element = m_tree->elements.Find(m_root, name.Utf8(), 0);
    return element == XmlTree::kNone ? String() : String::FromUtf8(m_tree->elements.Text(element));
}

void BasicXml::GetAttributes(const String& name, AttributeMap& attributes) const {
    AddAttributes(m_tree->elements, m_tree->elements.Find(m_root, name.Utf8(), 0), attributes);
}

void BasicXml::GetAttributes(AttributeMap& attributes) const {
    AddAttributes(m_tree->elements, m_root, attributes);
}

BasicXml BasicXml::GetNode(const String& name, std::size_t index) const {
    return BasicXml(m_tree, m_tree->elements.Find(m_root, name.Utf8(), index));
}

void BasicXml::ForEachElement(const std::function<void(const Element&)>& visit, Which which,
                              Positions positions) const {
    if (!Exists()) return;
    const XmlTree& tree = m_tree->elements;
    ElementReader reader(m_tree->document, tree, positions);
    std::vector<std::size_t> around;  // the elements that the one at `at` lies in
    NameText parent;
    Element element;
    for (std::size_t at = m_root; at < tree.End(m_root); ++at) {
        while (!around.empty() && tree.End(around.back()) <= at) around.pop_back();
        around.push_back(at);
        if (which == Which::FirstOfEachName && !tree.IsFirstOfItsName(at)) continue;
        element.depth = around.size() - 1;
        if (element.depth > 0) element.parent = parent.Of(tree.Name(around[element.depth - 1]));
        reader.Read(at, element);
        visit(element);
    }
}

}  // namespace corekit
