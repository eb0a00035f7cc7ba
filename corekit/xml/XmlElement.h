// An XML element that is put together and written.
#pragma once

#include <utility>
#include <vector>

#include "corekit/text/String.h"

namespace corekit {

/// An element with attributes and elements within it, in the order in which they were given.
class XmlElement {
  public:
    explicit XmlElement(const String& name) : m_name(name) {}

    /// Gives an attribute its value; one that it had before is replaced.
    void Set(const String& attribute, const String& value);
    void Add(XmlElement child) { m_children.push_back(std::move(child)); }

    /// The document whose root this is. Empty when XML cannot hold it: a name is no XML name (of ASCII
    /// characters), or a value has a control character or a byte that is not valid text.
    String ToString() const;

  private:
    bool IsWritable() const;
    void WriteTo(String& text, const String& indent) const;

    String m_name;
    std::vector<std::pair<String, String>> m_attributes;
    std::vector<XmlElement> m_children;
};

}  // namespace corekit
