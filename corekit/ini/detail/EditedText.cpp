// Parsing a line, and editing a text: where an edit goes, and which line end it gets.
#include "corekit/ini/detail/EditedText.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace corekit {

namespace {

bool IsBlank(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

std::string_view TrimLeft(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view TrimRight(std::string_view text) {
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

IniLine ParseSection(std::string_view line) {
    const std::size_t end = line.find(']');
    if (end == std::string_view::npos) return {};
    return {IniLine::Kind::Section, TrimIniText(line.substr(1, end - 1)), {}};
}

IniLine ParseEntry(std::string_view line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return {};
    return {IniLine::Kind::Entry, TrimRight(line.substr(0, equals)), TrimIniText(line.substr(equals + 1))};
}

std::size_t LengthOfByteOrderMark(std::string_view text) {
    return text.starts_with(EditedText::kByteOrderMark) ? EditedText::kByteOrderMark.size() : 0;
}

}  // namespace

std::string_view TrimIniText(std::string_view text) {
    return TrimRight(TrimLeft(text));
}

IniLine ParseIniLine(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = TrimLeft(line);
    if (line.empty()) return {};
    switch (line.front()) {
        case '#':
        case ';':
        case '=':
            return {};
        case '[':
            return ParseSection(line);
        default:
            return ParseEntry(line);
    }
}

EditedText::EditedText(std::string text)
    : m_text(std::move(text)), m_begin(LengthOfByteOrderMark(m_text)), m_nextAdded(m_text.size() + 1) {}

std::string_view EditedText::Line(Place place) const {
    const auto edit = m_edits.find(place);
    return edit != m_edits.end() ? edit->second.line : OriginalLine(place);
}

std::string_view EditedText::OriginalLine(Place place) const {
    const std::string_view rest = std::string_view(m_text).substr(place);
    return rest.substr(0, rest.find('\n'));
}

void EditedText::SetLine(Place place, std::string line) {
    auto edit = m_edits.find(place);
    if (edit == m_edits.end()) {
        edit = m_edits.emplace(place, Edit{place, OriginalLine(place).size(), 0, {}, {}, {}}).first;
    }
    edit->second.line = std::move(line);
}

EditedText::Place EditedText::AddLine(std::size_t offset, std::size_t rank, std::string line) {
    Edit edit{offset, 0, rank, {}, {}, std::move(line)};
    const bool followsOpenLine = offset > m_begin && m_text[offset - 1] != '\n';
    (followsOpenLine ? edit.before : edit.after) = LineEndNear(offset);
    return m_edits.emplace(m_nextAdded++, std::move(edit)).first->first;
}

/// The line end before the offset, else the one behind it.
std::string_view EditedText::LineEndNear(std::size_t offset) const {
    const auto* end = static_cast<const char*>(memrchr(m_text.data(), '\n', offset));
    if (end == nullptr) end = static_cast<const char*>(std::memchr(m_text.data(), '\n', m_text.size()));
    const bool isDosLine = end != nullptr && end != m_text.data() && end[-1] == '\r';
    return isDosLine ? "\r\n" : "\n";
}

std::vector<std::string_view> EditedText::Pieces() const {
    std::vector<const Edit*> edits;
    for (const auto& [place, edit] : m_edits) edits.push_back(&edit);
    std::ranges::stable_sort(edits, {}, [](const Edit* edit) { return std::pair(edit->offset, edit->rank); });

    const std::string_view text = m_text;
    std::vector<std::string_view> pieces;
    std::size_t done = 0;
    for (const Edit* edit : edits) {
        pieces.push_back(text.substr(done, edit->offset - done));
        pieces.insert(pieces.end(), {edit->before, edit->line, edit->after});
        done = edit->offset + edit->length;
    }
    pieces.push_back(text.substr(done));
    return pieces;
}

}  // namespace corekit
