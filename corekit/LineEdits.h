// Edits laid over a text: lines replaced and lines added, joined with it in one pass.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>

namespace corekit {

/// The edits of one text, which itself stays as it is. An edit is known by its number; its line (given and
/// kept without a line end) lies still until it is changed.
class LineEdits {
  public:
    /// The bytes before `start` (a byte-order mark) are no part of the first line. `text` outlives this.
    LineEdits(const std::string& text, std::size_t start) : m_text(text), m_start(start) {}

    /// The line that stands at `offset` is to be replaced.
    std::size_t Replace(std::size_t offset, std::size_t length);

    /// A line is to be added where a line begins or the text ends, with the line end of its neighbour: a last
    /// line without one gets one, and the added line lacks it instead. Of lines added in one place those with
    /// the lower rank come first, then those added first.
    std::size_t Add(std::size_t offset, std::size_t rank);

    /// The line of an edit, and its new place.
    std::string_view SetLine(std::size_t edit, std::string line);

    /// The text with all edits.
    std::string Joined() const;

  private:
    struct Edit {
        std::size_t offset;
        std::size_t length;
        std::size_t rank;
        std::string_view before;  // line ends
        std::string_view after;
        std::string line;
    };
    std::string_view LineEndNear(std::size_t offset) const;

    const std::string& m_text;
    std::size_t m_start;
    std::deque<Edit> m_edits;  // a deque, so that short lines do not move
};

}  // namespace corekit
