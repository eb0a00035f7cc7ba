// A parsed XML document, asked for elements by name.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "corekit/text/String.h"

namespace corekit {

using AttributeMap = std::map<String, String, Ltstr>;

/// A document, or one element of it with everything below. All of a document share its parsed tree, which
/// lives as long as any of them. Elements are found by name anywhere in it, the root element included, in
/// document order.
///
/// A document is refused, and then answers every query with nothing, if it is not well-formed, is over 16 MiB
/// (its document type declaration: 32 KiB), declares external entities, uses undeclared ones, or if its
/// entities expand to more than 1 MiB and four times its size. Nothing is ever read from elsewhere; an
/// external DTD that is named is passed over.
class BasicXml {
  public:
    /// Line and column both count from 1; a column is one character, a byte-order mark none.
    struct Position {
        unsigned long line = 1;
        unsigned long column = 1;
    };

    struct Refusal {
        String reason;
        unsigned long line = 1;
        unsigned long column = 1;
    };

    struct Attribute {
        String name;
        String value;
        /// Where its name begins; its element's position if the tag does not have it (a default value of the
        /// document type, or a tag that comes from an entity), or if it is not wanted.
        Position position;
    };

    struct Element {
        String name;
        String parent;          // the name of the element around it, "" for the document's root
        std::size_t depth = 0;  // 0 for the element that is walked, 1 for those in it, and so on
        String text;            // as GetText gives it
        Position position;      // where its tag begins, or the reference to the entity that it comes from
        std::vector<Attribute> attributes;  // in the order in which they are written
    };

    explicit BasicXml(const String& text);
    /// A file's bytes as they are, which it keeps: a large document need not become wide text first.
    explicit BasicXml(std::string bytes);

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

    enum class Which { All, FirstOfEachName };
    enum class Positions { OfAttributesToo, OfElements };

    /// Calls `visit` for this element and for each one below it, in document order, or only for those that no
    /// other element of their name comes before in the document. Where the positions of attributes are not
    /// wanted, they have their element's: finding them takes as long as finding all others. `visit` may not
    /// keep the element, which the next one overwrites.
    void ForEachElement(const std::function<void(const Element&)>& visit, Which which = Which::All,
                        Positions positions = Positions::OfAttributesToo) const;

  private:
    struct Tree;
    BasicXml(std::shared_ptr<const Tree> tree, std::size_t root);

    std::shared_ptr<const Tree> m_tree;
    std::size_t m_root;  // the element's number in the tree, which has none of that number if none was found
};

}  // namespace corekit
