// Finding references to entities that nobody declared.
#include "corekit/xml/detail/XmlEntities.h"

namespace corekit {

XmlEntities::XmlEntities() : m_names{"amp", "apos", "gt", "lt", "quot"} {}

void XmlEntities::Declare(std::string_view name, std::string_view value) {
    m_names.emplace(name);
    m_values.append(value).append(1, ' ');
}

bool XmlEntities::CoverReferences(std::string_view markup) const {
    for (std::size_t at = markup.find('&'); at != markup.npos; at = markup.find('&', at + 1)) {
        const std::string_view name = markup.substr(at + 1, markup.find(';', at) - at - 1);
        const bool isCharacter = name.starts_with('#');
        if (!isCharacter && !m_names.contains(name)) return false;
    }
    return true;
}

}  // namespace corekit
