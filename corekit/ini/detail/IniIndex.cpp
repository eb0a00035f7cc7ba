// The way to the entries of a section: hashes in bunches, compared before any key is.
#include "corekit/ini/detail/IniIndex.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "corekit/ini/detail/IniLine.h"

namespace corekit {

namespace {

constexpr std::size_t kTextInBunch = 65536;
constexpr std::size_t kMostBunches = 512;

constexpr std::uint64_t kFold = 0x2020202020202020;  // makes ASCII letters lower case, eight at a time
constexpr std::uint64_t kSpread = 0x9e3779b97f4a7c15;

template <typename Word>
std::uint64_t Load(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

/// Up to eight bytes as a number; shorter ones are told apart by their length.
std::uint64_t Tail(const char* bytes, std::size_t size) {
    if (size >= 4) return Load<std::uint32_t>(bytes) | Load<std::uint32_t>(bytes + size - 4) << 32;
    if (size == 0) return 0;
    return Load<std::uint8_t>(bytes) | Load<std::uint8_t>(bytes + size / 2) << 8 |
           Load<std::uint8_t>(bytes + size - 1) << 16;
}

std::uint64_t Mix(std::uint64_t hash, std::uint64_t word) {
    hash = (hash ^ (word | kFold)) * kSpread;
    return hash ^ (hash >> 32);
}

std::uint32_t HashOf(std::string_view key) {
    std::uint64_t hash = key.size() * kSpread;
    const char* bytes = key.data();
    std::size_t size = key.size();
    for (; size > 8; size -= 8, bytes += 8) hash = Mix(hash, Load<std::uint64_t>(bytes));
    return static_cast<std::uint32_t>(Mix(hash, Tail(bytes, size)));
}

char Lower(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool IsSameInAnyCase(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, Lower, Lower);
}

}  // namespace

IniIndex::IniIndex(const EditedText& text, std::size_t size)
    : m_text(text), m_bunches(std::bit_ceil(std::clamp<std::size_t>(size / kTextInBunch, 1, kMostBunches))) {}

void IniIndex::Add(std::string_view key, Place place) {
    const std::uint32_t hash = HashOf(key);
    m_bunches[BunchOf(hash)].push_back({hash, static_cast<std::uint32_t>(place)});
}

IniIndex::Place IniIndex::Find(std::string_view key, Match match) const {
    const std::uint32_t hash = HashOf(key);
    Place inAnyCase = kNone;
    for (const Item& item : m_bunches[BunchOf(hash)]) {
        if (item.hash != hash) continue;
        const std::string_view present = ParseIniLine(m_text.Line(item.place)).name;
        if (present == key) return item.place;
        if (inAnyCase == kNone && match == Match::ElseAnyCase && IsSameInAnyCase(present, key)) {
            inAnyCase = item.place;
        }
    }
    return inAnyCase;
}

std::vector<IniIndex::Place> IniIndex::Entries() const {
    std::vector<Place> places;
    for (const Bunch& bunch : m_bunches) {
        for (const Item& item : bunch) places.push_back(item.place);
    }
    std::ranges::sort(places);
    return places;
}

}  // namespace corekit
