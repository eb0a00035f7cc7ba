// Edits laid over a text: where they go, which line ends they get, and the text that comes of it.
#include "corekit/LineEdits.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace corekit {

std::size_t LineEdits::Replace(std::size_t offset, std::size_t length) {
    m_edits.push_back({offset, length, 0, {}, {}, {}});
    return m_edits.size() - 1;
}

std::size_t LineEdits::Add(std::size_t offset, std::size_t rank) {
    const std::string_view lineEnd = LineEndNear(offset);
    const bool followsOpenLine = offset > m_start && m_text[offset - 1] != '\n';
    if (followsOpenLine) {
        m_edits.push_back({offset, 0, rank, lineEnd, {}, {}});
    } else {
        m_edits.push_back({offset, 0, rank, {}, lineEnd, {}});
    }
    return m_edits.size() - 1;
}

/// The line end before the offset, else the one behind it.
std::string_view LineEdits::LineEndNear(std::size_t offset) const {
    std::size_t end = offset == 0 ? std::string::npos : m_text.rfind('\n', offset - 1);
    if (end == std::string::npos) end = m_text.find('\n', offset);
    const bool isDosLine = end != std::string::npos && end > 0 && m_text[end - 1] == '\r';
    return isDosLine ? "\r\n" : "\n";
}

std::string_view LineEdits::SetLine(std::size_t edit, std::string line) {
    return m_edits[edit].line = std::move(line);
}

std::string LineEdits::Joined() const {
    std::vector<const Edit*> edits;
    std::size_t size = m_text.size();
    for (const Edit& edit : m_edits) {
        edits.push_back(&edit);
        size += edit.before.size() + edit.line.size() + edit.after.size();
    }
    std::ranges::stable_sort(edits, {}, [](const Edit* edit) { return std::pair(edit->offset, edit->rank); });

    std::string joined;
    joined.reserve(size);
    std::size_t done = 0;
    for (const Edit* edit : edits) {
        joined.append(m_text, done, edit->offset - done);
        joined.append(edit->before).append(edit->line).append(edit->after);
        done = edit->offset + edit->length;
    }
    return joined.append(m_text, done);
}

}  // namespace corekit
