// One section of an INI file: finding its entries, and where a new one goes.
#include "corekit/ini/detail/IniSection.h"

#include <algorithm>
#include <string>

#include "corekit/ini/detail/IniLine.h"

namespace corekit {

void IniSection::AddPart(std::size_t begin, std::size_t end, std::size_t addAt) {
    m_parts.push_back({begin, end});
    m_addAt = addAt;
}

IniIndex& IniSection::Index() {
    if (!m_index) {
        std::size_t size = 0;
        for (const Part& part : m_parts) size += part.end - part.begin;
        m_index.emplace(m_text, size);
        for (const Part& part : m_parts) IndexPart(part);
    }
    return *m_index;
}

void IniSection::IndexPart(const Part& part) {
    const std::string_view text = std::string_view(m_text.Original()).substr(0, part.end);
    for (std::size_t begin = part.begin, next = 0; begin < part.end; begin = next) {
        const std::size_t end = std::min(text.find('\n', begin), part.end);
        next = std::min(end + 1, part.end);
        const IniLine line = ParseIniLine(text.substr(begin, end - begin));
        if (line.kind != IniLine::Kind::Entry) continue;
        m_index->Add(line.name, begin);
        m_addAt = next;
    }
}

void IniSection::AddEntry(std::string_view key, std::string_view value) {
    IniIndex& index = Index();
    index.Add(key, m_text.AddLine(m_addAt, m_rank, std::string(key).append("=").append(value)));
}

}  // namespace corekit
