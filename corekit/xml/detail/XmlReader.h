// Reading an XML document into a tree.
#pragma once

#include <optional>
#include <string_view>

#include "corekit/xml/BasicXml.h"
#include "corekit/xml/detail/XmlTree.h"

namespace corekit {

/// Fills the tree from a document, or says why and where that is refused (the tree is then of no use).
std::optional<BasicXml::Refusal> ReadXml(std::string_view bytes, XmlTree& tree);

}  // namespace corekit
