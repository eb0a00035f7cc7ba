// A parsed XML document, asked for elements by name.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

#include "corekit/text/String.h"

namespace corekit {

using AttributeMap = std::map<String, String, Ltstr>;

/// A document, or one element of it with all below (the parsed tree is shared between them and outlives
/// each). Elements are found by name anywhere in it, the root element included, in document order. A text
/// that is refused yields nothing, from every query: refused is what is not well-formed, is over 16 MiB (its
/// document type declaration: 32 KiB), declares external entities, uses undeclared ones, or expands entities
/// beyond measure. Nothing is ever read from elsewhere; an external DTD that is named is passed over.
class BasicXml {
  public:
    /// Why and where a document was refused (line and column count from 1).
    struct Refusal {
        String reason;
        unsigned long line = 0;
        unsigned long column = 0;
    };

    explicit BasicXml(const String& text);
    /// A file's bytes as they are: a large document need not become wide text first.
    explicit BasicXml(std::string_view bytes);

    /// Null when the document is well-formed.
    const Refusal* GetRefusal() const;

    /// False for what `GetNode` did not find and for a document that was refused.
    bool Exists() const;

    /// The character data of the first element of the name (CDATA and references resolved, the text of
    /// elements within it left out); "" when there is none.
    String GetText(const String& name) const;

    /// Adds the attributes of the first element of the name to the map; what the map holds otherwise stays.
    void GetAttributes(const String& name, AttributeMap& attributes) const;

    /// The same for the root element itself.
    void GetAttributes(AttributeMap& attributes) const;

    /// The index-th element of the name; one that does not exist answers every query with nothing.
    BasicXml GetNode(const String& name, std::size_t index = 0) const;

  private:
    struct Tree;
    BasicXml(std::shared_ptr<const Tree> tree, std::size_t root);

    std::shared_ptr<const Tree> m_tree;
    std::size_t m_root;  // the element's place in the tree, or past its end when there is none
};

}  // namespace corekit
