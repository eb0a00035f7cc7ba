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
        BasicXml::Position position = m_position;
        for (std::size_t at = m_offset; at < offset; ++at) {
            const char byte = m_document[at];
            if (byte == '\n' || (byte == '\r' && m_document.substr(at + 1, 1) != "\n")) {
                position = {position.line + 1, 1};
            } else if ((static_cast<unsigned char>(byte) & 0xC0) != 0x80) {  // continues no character
                ++position.column;
            }
        }
        m_offset = offset;
        return m_position = position;
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

void BasicXml::ForEachElement(const std::function<void(const Element&)>& visit, Which which) const {
    if (!Exists()) return;
    const XmlTree& tree = m_tree->elements;
    PositionCounter positions(m_tree->document);
    std::vector<std::size_t> around;  // the elements that the one at `at` lies in
    NameText name;
    NameText parent;
    Element element;
    for (std::size_t at = m_root; at < tree.End(m_root); ++at) {
        while (!around.empty() && tree.End(around.back()) <= at) around.pop_back();
        around.push_back(at);
        if (which == Which::FirstOfEachName && !tree.IsFirstOfItsName(at)) continue;
        element.name = name.Of(tree.Name(at));
        element.depth = around.size() - 1;
        element.parent = element.depth > 0 ? parent.Of(tree.Name(around[element.depth - 1])) : String();
        element.text = String::FromUtf8(tree.Text(at));
        element.position = positions.At(tree.Offset(at));
        element.attributes.clear();
        AttributeNames names(m_tree->document, tree.Offset(at));
        tree.ForEachAttribute(at, [&](std::string_view attribute, std::string_view value) {
            const auto written = names.Next();
            element.attributes.push_back({String::FromUtf8(attribute), String::FromUtf8(value),
                                          written ? positions.At(*written) : element.position});
        });
        visit(element);
    }
}

}  // namespace corekit
