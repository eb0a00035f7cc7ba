// A document's elements in flat arrays: building and finding.
#include "corekit/xml/detail/XmlTree.h"

#include <algorithm>

namespace corekit {

namespace {

/// Numbers and offsets fit 32 bits, since the reader bounds the size of a document.
std::uint32_t Narrow(std::size_t number) {
    return static_cast<std::uint32_t>(number);
}

}  // namespace

void XmlTree::Open(std::string_view name, std::size_t offset) {
    const std::uint32_t element = Narrow(m_elements.size());
    auto named = m_byName.find(name);
    if (named == m_byName.end()) {
        named = m_byName.emplace(name, ElementsOfName{Narrow(m_names.size()), {}}).first;
        m_names.push_back(&named->first);
    }
    named->second.elements.push_back(element);
    m_elements.push_back({.end = element + 1,
                          .firstPiece = kNoPiece,
                          .attributes = Narrow(m_content.size()),
                          .attributeCount = 0,
                          .name = named->second.name,
                          .offset = Narrow(offset)});
    m_open.push_back({element, kNoPiece});
}

void XmlTree::AddAttribute(std::string_view name, std::string_view value) {
    m_content.append(name).append(1, '\0').append(value).append(1, '\0');
    ++m_elements.back().attributeCount;
}

void XmlTree::AddText(std::string_view text) {
    OpenElement& open = m_open.back();
    const std::uint32_t begin = Narrow(m_content.size());
    m_content.append(text);
    const std::uint32_t end = Narrow(m_content.size());
    if (open.lastPiece != kNoPiece && m_pieces[open.lastPiece].end == begin) {
        m_pieces[open.lastPiece].end = end;
        return;
    }
    const std::uint32_t piece = Narrow(m_pieces.size());
    m_pieces.push_back({begin, end, kNoPiece});
    (open.lastPiece == kNoPiece ? m_elements[open.element].firstPiece : m_pieces[open.lastPiece].next) =
        piece;
    open.lastPiece = piece;
}

void XmlTree::Close() {
    m_elements[m_open.back().element].end = Narrow(m_elements.size());
    m_open.pop_back();
}

std::size_t XmlTree::Find(std::size_t within, std::string_view name, std::size_t index) const {
    const auto named = m_byName.find(name);
    if (!Contains(within) || named == m_byName.end()) return kNone;
    const std::vector<std::uint32_t>& elements = named->second.elements;
    const auto first = std::ranges::lower_bound(elements, within);
    if (index >= static_cast<std::size_t>(elements.end() - first)) return kNone;
    const std::uint32_t found = *(first + static_cast<std::ptrdiff_t>(index));
    return found < m_elements[within].end ? found : kNone;
}

bool XmlTree::IsFirstOfItsName(std::size_t element) const {
    return m_byName.find(Name(element))->second.elements.front() == element;
}

std::string XmlTree::Text(std::size_t element) const {
    std::string text;
    for (std::uint32_t at = m_elements[element].firstPiece; at != kNoPiece; at = m_pieces[at].next) {
        text.append(m_content, m_pieces[at].begin, m_pieces[at].end - m_pieces[at].begin);
    }
    return text;
}

void XmlTree::ForEachAttribute(std::size_t element,
                               const std::function<void(std::string_view, std::string_view)>& visit) const {
    const char* at = m_content.data() + m_elements[element].attributes;
    for (std::uint32_t left = m_elements[element].attributeCount; left != 0; --left) {
        const std::string_view name = at;
        const std::string_view value = name.data() + name.size() + 1;
        visit(name, value);
        at = value.data() + value.size() + 1;
    }
}

}  // namespace corekit
