// The way to the entries of a section by key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string_view>
#include <vector>

#include "corekit/ini/detail/EditedText.h"

namespace corekit {

/// Knows where each entry of a section stands. Keys are hashed without regard to ASCII case, so that one
/// index serves both ways of looking them up.
///
/// A section may have a million entries, of which a hundred are looked up: filing one must cost next to
/// nothing. So hashes are only put into bunches, few enough to be appended to without a cache miss, and a
/// look-up walks one bunch.
class IniIndex {
  public:
    using Place = EditedText::Place;
    static constexpr Place kNone = static_cast<Place>(-1);

    enum class Match { Exact, ElseAnyCase };

    /// An index over lines of a text (which outlives it) that have so many bytes.
    IniIndex(const EditedText& text, std::size_t size);

    void Add(std::string_view key, Place place);

    /// The first entry that was added with the key, else the first whose key differs in case only.
    Place Find(std::string_view key, Match match) const;

    /// All entries in the order of the text.
    std::vector<Place> Entries() const;

  private:
    struct Item {
        std::uint32_t hash;
        std::uint32_t place;  // wide enough for every file that can be read
    };
    using Bunch = std::deque<Item>;

    std::size_t BunchOf(std::uint32_t hash) const { return hash & (m_bunches.size() - 1); }

    const EditedText& m_text;
    std::vector<Bunch> m_bunches;  // a power of two
};

}  // namespace corekit
