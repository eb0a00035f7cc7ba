// A parsed XML document, asked for elements by name.
#include "corekit/xml/BasicXml.h"

#include "corekit/xml/detail/XmlReader.h"
#include "corekit/xml/detail/XmlTree.h"

namespace corekit {

struct BasicXml::Tree {
    explicit Tree(std::string_view bytes) : refusal(ReadXml(bytes, elements)) {
        if (refusal) elements = XmlTree();
    }

    XmlTree elements;
    std::optional<Refusal> refusal;
};

namespace {

void AddAttributes(const XmlTree& tree, std::size_t element, AttributeMap& attributes) {
    if (!tree.Contains(element)) return;
    tree.ForEachAttribute(element, [&attributes](std::string_view name, std::string_view value) {
        attributes.insert_or_assign(String::FromUtf8(name), String::FromUtf8(value));
    });
}

}  // namespace

BasicXml::BasicXml(const String& text) : BasicXml(std::string_view(text.Utf8())) {}

BasicXml::BasicXml(std::string_view bytes) : m_tree(std::make_shared<const Tree>(bytes)), m_root(0) {}

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

}  // namespace corekit
