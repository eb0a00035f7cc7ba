// A document's elements in flat arrays: made in document order, found by name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <unordered_map>
#include <vector>

#include "corekit/xml/BasicXml.h"

namespace corekit {

/// An element is known by its number in document order; the root is 0. Texts are UTF-8. Nothing here
/// recurses: a document may be nested as deeply as it likes.
class XmlTree {
  public:
    static constexpr std::size_t kNone = std::string_view::npos;

    XmlTree() = default;
    /// Of a document of so many bytes; entities may make more of it.
    explicit XmlTree(std::size_t documentSize) { m_content.reserve(documentSize); }
    XmlTree(XmlTree&&) = default;
    XmlTree& operator=(XmlTree&&) = default;
    ~XmlTree() = default;

    /// Opens an element within the innermost open one; its tag begins at byte `offset` of the document.
    void Open(std::string_view name, std::size_t offset);
    /// Adds to the element that was opened last. Neither part may hold a NUL.
    void AddAttribute(std::string_view name, std::string_view value);
    /// Adds to the innermost open element.
    void AddText(std::string_view text);
    /// Closes the innermost open element.
    void Close();

    /// The bytes of all texts and attributes so far.
    std::size_t ContentSize() const { return m_content.size(); }

    bool Contains(std::size_t element) const { return element < m_elements.size(); }

    std::string_view Name(std::size_t element) const { return *m_names[m_elements[element].name]; }

    /// True if no element of the name comes before it.
    bool IsFirstOfItsName(std::size_t element) const;

    /// Where the element's tag begins in the document, in bytes.
    std::size_t Offset(std::size_t element) const { return m_elements[element].offset; }

    /// The first element after this one and all below it.
    std::size_t End(std::size_t element) const { return m_elements[element].end; }

    /// The index-th element of the name among `within` and all below it, or kNone.
    std::size_t Find(std::size_t within, std::string_view name, std::size_t index) const;

    /// The element's own text, without that of the elements in it.
    std::string Text(std::size_t element) const;

    std::size_t AttributeCount(std::size_t element) const { return m_elements[element].attributeCount; }

    /// Calls `visit` with the name and the value of each attribute.
    void ForEachAttribute(std::size_t element,
                          const std::function<void(std::string_view, std::string_view)>& visit) const;

  private:
    static constexpr std::uint32_t kNoPiece = UINT32_MAX;

    struct Element {
        std::uint32_t end;         // the first element after it and all below it
        std::uint32_t firstPiece;  // of its text
        std::uint32_t attributes;  // where they begin: name, NUL, value, NUL, name ...
        std::uint32_t attributeCount;
        std::uint32_t name;    // its index in m_names
        std::uint32_t offset;  // of its tag in the document
    };
    /// A stretch of an element's text; child elements part them.
    struct Piece {
        std::uint32_t begin;
        std::uint32_t end;
        std::uint32_t next;
    };
    struct OpenElement {
        std::uint32_t element;
        std::uint32_t lastPiece;
    };
    struct Hash : std::hash<std::string_view> {
        using is_transparent = void;
    };

    std::string m_content;
    std::vector<Element> m_elements;
    std::vector<Piece> m_pieces;
    std::vector<OpenElement> m_open;
    struct ElementsOfName {
        std::uint32_t name;
        std::vector<std::uint32_t> elements;
    };
    std::unordered_map<std::string, ElementsOfName, Hash, std::equal_to<>> m_byName;
    std::vector<const std::string*> m_names;  // the keys of m_byName, in the order of their first element
};

/// The tree of a document's bytes, or why and where the document is refused.
tl::expected<XmlTree, BasicXml::Refusal> ReadXml(std::string_view document);

}  // namespace corekit
