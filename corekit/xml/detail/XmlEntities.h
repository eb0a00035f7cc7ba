// Which entities a document declares, and whether it uses others.
#pragma once

#include <set>
#include <string>
#include <string_view>

namespace corekit {

/// The general entities of one document. A parser that may not read an external DTD lets references to
/// undeclared entities pass, since that DTD could have declared them, and drops those in attribute values
/// without a word; here they are found.
class XmlEntities {
  public:
    XmlEntities();

    void Declare(std::string_view name, std::string_view value);

    /// Is every entity that the markup refers to declared so far?
    bool CoverReferences(std::string_view markup) const;

    /// Is every entity that a declared value refers to declared too?
    bool CoverThemselves() const { return CoverReferences(m_values); }

  private:
    std::set<std::string, std::less<>> m_names;
    std::string m_values;
};

}  // namespace corekit
