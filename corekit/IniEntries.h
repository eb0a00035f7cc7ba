// The entries of an INI file and the way to them by section and key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace corekit {

/// An entry: the line that it stands on now and the number of its section.
struct IniEntry {
    std::string_view line;
    std::uint32_t section = 0;
    std::uint32_t hash = 0;
};

/// Entries in the order in which they were added, with an open-addressing index. Keys are hashed without
/// regard to ASCII case, so that one index serves both ways of looking them up.
class IniEntries {
  public:
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    enum class Match { Exact, ElseAnyCase };

    /// Makes room for so many.
    void Reserve(std::size_t count);

    /// Adds the entry on this line, unless the section has one of the same key; returns its number.
    std::size_t Add(std::uint32_t section, std::string_view key, std::string_view line);

    /// The number of the entry with the key, or of the first one whose key differs in case only; else kNone.
    std::size_t Find(std::uint32_t section, std::string_view key, Match match) const;

    IniEntry& operator[](std::size_t number) { return m_entries[number]; }
    const IniEntry& operator[](std::size_t number) const { return m_entries[number]; }
    auto begin() const { return m_entries.begin(); }
    auto end() const { return m_entries.end(); }

  private:
    /// Where an entry may stand: its hash, and its number + 1 (0: nothing stands here).
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t place = 0;
    };
    std::size_t Find(std::uint32_t hash, std::uint32_t section, std::string_view key, Match match) const;
    void Index(std::size_t number);

    std::vector<IniEntry> m_entries;
    std::vector<Slot> m_slots;  // a power of two, at least twice as many as entries
};

}  // namespace corekit
