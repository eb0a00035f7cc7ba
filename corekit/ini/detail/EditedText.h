// The lines of an INI file: how one is parsed, and a text with edits laid over its lines.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace corekit {

/// The parts of one line of an INI file (given without its "\n"); they are views into it.
struct IniLine {
    enum class Kind {
        Section,  // [name], with blanks anywhere around the name; what follows "]" does not count
        Entry,    // key=value; the key is not empty
        Other,    // blank, comment or junk
    };
    Kind kind = Kind::Other;
    std::string_view name;   // of the section, or the key; trimmed
    std::string_view value;  // trimmed; an empty one lies after the blanks that follow "="
};

IniLine ParseIniLine(std::string_view line);

/// The text without the blanks at both ends, which belong to no name and no value.
std::string_view TrimIniText(std::string_view text);

/// A text of lines that end with "\n". Lines are known by their place: the offset where they begin, or a
/// number past the end of the text for one that has been added. Lines are given and taken without "\n".
class EditedText {
  public:
    using Place = std::size_t;

    /// Where a text begins with it, it belongs to no line.
    static constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

    explicit EditedText(std::string text);

    /// The text without the edits.
    const std::string& Original() const { return m_text; }
    /// Where its first line begins: behind a byte-order mark.
    Place Begin() const { return m_begin; }

    /// The line as it is now; good until it is set again.
    std::string_view Line(Place place) const;

    void SetLine(Place place, std::string line);

    /// Adds a line where a line of the original begins or its text ends, with the line end of its neighbour:
    /// a last line without one gets one, and the added line lacks it instead. Of lines added at one offset
    /// those of lower rank come first, then those added first.
    Place AddLine(std::size_t offset, std::size_t rank, std::string line);

    /// The text with all edits: the pieces that it is joined from, good until the next edit.
    std::vector<std::string_view> Pieces() const;

  private:
    struct Edit {
        std::size_t offset;
        std::size_t length;  // of what is replaced there
        std::size_t rank;
        std::string_view before;  // line ends
        std::string_view after;
        std::string line;
    };
    std::string_view OriginalLine(Place place) const;
    std::string_view LineEndNear(std::size_t offset) const;

    std::string m_text;
    std::size_t m_begin;
    std::map<Place, Edit> m_edits;
    Place m_nextAdded;
};

}  // namespace corekit
