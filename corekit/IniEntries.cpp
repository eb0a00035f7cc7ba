// The entries of an INI file: an index over a million of them that costs little more than reading them.
#include "corekit/IniEntries.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "corekit/IniLine.h"

namespace corekit {

namespace {

constexpr std::uint64_t kFold = 0x2020202020202020;  // makes ASCII letters lower case, eight at a time
constexpr std::uint64_t kSpread = 0x9e3779b97f4a7c15;

std::uint64_t Mix(std::uint64_t hash, std::string_view bytes) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data(), bytes.size());
    hash = (hash ^ (word | kFold)) * kSpread;
    return hash ^ (hash >> 32);
}

std::uint32_t HashOf(std::uint32_t section, std::string_view key) {
    std::uint64_t hash = section + key.size() * kSpread;
    for (; key.size() > sizeof hash; key.remove_prefix(sizeof hash))
        hash = Mix(hash, key.substr(0, sizeof hash));
    return static_cast<std::uint32_t>(Mix(hash, key));
}

char Lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool IsSameInAnyCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, Lower, Lower);
}

}  // namespace

void IniEntries::Reserve(std::size_t count) {
    m_entries.reserve(count);
    m_slots.assign(std::bit_ceil(2 * count + 2), Slot());
    for (std::size_t number = 0; number < m_entries.size(); ++number) Index(number);
}

std::size_t IniEntries::Add(std::uint32_t section, std::string_view key, std::string_view line) {
    const std::uint32_t hash = HashOf(section, key);
    const std::size_t present = Find(hash, section, key, Match::Exact);
    if (present != kNone) return present;
    if (2 * m_entries.size() >= m_slots.size()) Reserve(2 * m_entries.size() + 8);
    m_entries.push_back({line, section, hash});
    Index(m_entries.size() - 1);
    return m_entries.size() - 1;
}

std::size_t IniEntries::Find(std::uint32_t section, std::string_view key, Match match) const {
    return Find(HashOf(section, key), section, key, match);
}

// Of entries that share a hash, the one that was added first is met first.
std::size_t IniEntries::Find(std::uint32_t hash, std::uint32_t section, std::string_view key,
                             Match match) const {
    if (m_slots.empty()) return kNone;
    const std::size_t mask = m_slots.size() - 1;
    std::size_t inAnyCase = kNone;
    for (std::size_t at = hash & mask; m_slots[at].place != 0; at = (at + 1) & mask) {
        if (m_slots[at].hash != hash) continue;
        const std::size_t number = m_slots[at].place - 1;
        if (m_entries[number].section != section) continue;
        const std::string_view present = ParseIniLine(m_entries[number].line).name;
        if (present == key) return number;
        if (inAnyCase == kNone && match == Match::ElseAnyCase && IsSameInAnyCase(present, key))
            inAnyCase = number;
    }
    return inAnyCase;
}

void IniEntries::Index(std::size_t number) {
    const std::uint32_t hash = m_entries[number].hash;
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    while (m_slots[at].place != 0) at = (at + 1) & mask;
    m_slots[at] = {hash, static_cast<std::uint32_t>(number + 1)};
}

}  // namespace corekit
