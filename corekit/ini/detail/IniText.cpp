// Sections and their index, and what is set in an INI file's text as edits of it.
#include "corekit/ini/detail/IniText.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace corekit {

namespace {

constexpr std::size_t kTextPerBucket = 65536;
constexpr std::size_t kMostBuckets = 512;
constexpr std::size_t kTextPerCount = 4096;

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

/// Counts in a byte at a time, since the processor adds sixteen of them at once.
std::size_t LineEndsIn(std::string_view text) {
    constexpr std::size_t kAtOnce = 128;
    static_assert(kAtOnce <= UINT8_MAX);
    std::size_t count = 0;
    for (; text.size() >= kAtOnce; text.remove_prefix(kAtOnce)) {
        const char* const bytes = text.data();
        std::uint8_t some = 0;
        for (std::size_t at = 0; at < kAtOnce; ++at)
            some = static_cast<std::uint8_t>(some + (bytes[at] == '\n'));
        count += some;
    }
    return count + static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

/// The bytes with a blank for each byte that would end the line.
std::string OneLine(std::string_view bytes) {
    constexpr std::string_view kLineBreakers("\n\r\0", 3);
    std::string line(bytes);
    std::ranges::replace_if(
        line, [&](char byte) { return kLineBreakers.find(byte) != kLineBreakers.npos; }, ' ');
    return line;
}

/// The same, trimmed as it would be when it is read back.
std::string Trimmed(std::string_view bytes) {
    return std::string(TrimIniText(OneLine(bytes)));
}

/// True if the names would be read back as they were set.
bool CanBeWritten(const std::string& section, const std::string& key) {
    const std::string header = "[" + section + "]";
    const std::string entry = key + "=";
    const IniLine line = ParseIniLine(entry);
    return ParseIniLine(header).name == section && line.kind == IniLine::Kind::Entry && line.name == key;
}

/// True if an entry of the name, added as the first line, would be misread as a byte-order mark.
bool WouldBeginWithAMark(const std::string& section, const std::string& key) {
    return section.empty() && key.starts_with(EditedText::kByteOrderMark);
}

/// Where the line of this offset begins, or npos if anything but blanks stands before the offset.
std::size_t BeginOfIndentedLine(std::string_view text, std::size_t begin, std::size_t offset) {
    const std::size_t last = text.substr(0, offset).find_last_not_of(" \t\v\f\r");
    if (last == text.npos || last < begin) return begin;
    return text[last] == '\n' ? last + 1 : text.npos;
}

}  // namespace

void IniSection::AddPart(std::size_t begin, std::size_t end, std::size_t addAt) {
    m_parts.push_back({begin, end});
    m_addAt = addAt;
}

void IniSection::MakeIndex() {
    if (!m_buckets.empty()) return;
    std::size_t size = 0;
    for (const Part& part : m_parts) size += part.end - part.begin;
    m_buckets.resize(std::bit_ceil(std::clamp<std::size_t>(size / kTextPerBucket, 1, kMostBuckets)));
    for (const Part& part : m_parts) IndexPart(part);
}

void IniSection::IndexPart(const Part& part) {
    const std::string_view text = std::string_view(m_text.Original()).substr(0, part.end);
    for (std::size_t begin = part.begin, next = 0; begin < part.end; begin = next) {
        const std::size_t end = std::min(text.find('\n', begin), part.end);
        next = std::min(end + 1, part.end);
        const IniLine line = ParseIniLine(text.substr(begin, end - begin));
        if (line.kind != IniLine::Kind::Entry) continue;
        const std::uint32_t hash = HashOf(line.name);
        BucketOf(hash).push_back({hash, static_cast<std::uint32_t>(begin)});
        m_addAt = next;
    }
}

IniSection::Place IniSection::Find(std::string_view key, IniFile::KeyCase keyCase) {
    MakeIndex();
    const std::uint32_t hash = HashOf(key);
    Place inAnyCase = kNone;
    for (const Item& item : BucketOf(hash)) {
        if (item.hash != hash) continue;
        const std::string_view present = ParseIniLine(m_text.Line(item.place)).name;
        if (present == key) return item.place;
        const bool fallsBack = keyCase == IniFile::KeyCase::FallBack;
        if (inAnyCase == kNone && fallsBack && IsSameInAnyCase(present, key)) inAnyCase = item.place;
    }
    return inAnyCase;
}

std::vector<IniSection::Place> IniSection::Entries() {
    MakeIndex();
    std::vector<Place> places;
    for (const Bucket& bucket : m_buckets) {
        for (const Item& item : bucket) places.push_back(item.place);
    }
    std::ranges::sort(places);
    return places;
}

void IniSection::AddEntry(std::string_view key, std::string_view value) {
    MakeIndex();
    const Place place = m_text.AddLine(m_addAt, m_rank, std::string(key).append("=").append(value));
    const std::uint32_t hash = HashOf(key);
    BucketOf(hash).push_back({hash, static_cast<std::uint32_t>(place)});
}

IniText::IniText(std::string text, IniFile::KeyCase keyCase) : m_text(std::move(text)), m_keyCase(keyCase) {
    FindSections();
}

/// Looks for "[" only: most lines of a large file need not be parsed for it.
void IniText::FindSections() {
    const std::string_view text = m_text.Original();
    std::size_t begin = m_text.Begin();
    IniSection* section = &m_sections.try_emplace("", m_text, 0).first->second;
    bool hasHeader = false;
    const auto endPart = [&](std::size_t end) { section->AddPart(begin, end, hasHeader ? begin : end); };

    for (std::size_t at = text.find('[', begin); at != text.npos; at = text.find('[', at + 1)) {
        const std::size_t lineBegin = BeginOfIndentedLine(text, begin, at);
        if (lineBegin == text.npos) continue;
        const std::size_t lineEnd = std::min(text.find('\n', at), text.size());
        const IniLine line = ParseIniLine(text.substr(at, lineEnd - at));
        if (line.kind != IniLine::Kind::Section) continue;
        endPart(lineBegin);
        section = &m_sections.try_emplace(std::string(line.name), m_text, 0).first->second;
        begin = std::min(lineEnd + 1, text.size());
        hasHeader = true;
        at = lineEnd;
    }
    endPart(text.size());
}

std::optional<std::string_view> IniText::Get(std::string_view section, std::string_view key) {
    const EditedText::Place place = Find(section, key);
    if (place == IniSection::kNone) return std::nullopt;
    return ParseIniLine(m_text.Line(place)).value;
}

std::size_t IniText::LineOf(std::string_view section, std::string_view key) {
    const EditedText::Place place = Find(section, key);
    const std::string_view text = m_text.Original();
    if (place == IniSection::kNone || place >= text.size()) return 0;
    while (m_lineEndsBefore.size() <= place / kTextPerCount) {
        const std::size_t counted = (m_lineEndsBefore.size() - 1) * kTextPerCount;
        m_lineEndsBefore.push_back(m_lineEndsBefore.back() + LineEndsIn(text.substr(counted, kTextPerCount)));
    }
    const std::size_t counted = place - place % kTextPerCount;
    return m_lineEndsBefore[place / kTextPerCount] + LineEndsIn(text.substr(counted, place - counted)) + 1;
}

IniSection* IniText::Find(std::string_view name) {
    const auto found = m_sections.find(Trimmed(name));
    return found != m_sections.end() ? &found->second : nullptr;
}

EditedText::Place IniText::Find(std::string_view section, std::string_view key) {
    IniSection* const found = Find(section);
    return found != nullptr ? found->Find(Trimmed(key), m_keyCase) : IniSection::kNone;
}

std::vector<IniLine> IniText::Entries(std::string_view section) {
    std::vector<IniLine> entries;
    IniSection* const found = Find(section);
    if (found == nullptr) return entries;
    for (const EditedText::Place place : found->Entries()) {
        entries.push_back(ParseIniLine(m_text.Line(place)));
    }
    return entries;
}

void IniText::Set(std::string_view section, std::string_view key, std::string_view value) {
    const std::string sectionName = Trimmed(section);
    const std::string keyName = Trimmed(key);
    if (!CanBeWritten(sectionName, keyName)) return;
    IniSection& home = FindOrAdd(sectionName);
    const EditedText::Place place = home.Find(keyName, m_keyCase);
    if (place != IniSection::kNone) {
        ChangeValue(place, Trimmed(value));
    } else if (!WouldBeginWithAMark(sectionName, keyName)) {
        home.AddEntry(keyName, Trimmed(value));
    }
}

/// The section; one that is new gets a header at the end of the text.
IniSection& IniText::FindOrAdd(const std::string& name) {
    const std::size_t end = m_text.Original().size();
    const std::size_t rank = m_sections.size();
    const auto [section, isNew] = m_sections.try_emplace(name, m_text, rank);
    if (isNew) {
        m_text.AddLine(end, rank, "[" + name + "]");
        section->second.AddPart(end, end, end);
    }
    return section->second;
}

void IniText::ChangeValue(EditedText::Place place, const std::string& value) {
    const std::string_view line = m_text.Line(place);
    const std::string_view old = ParseIniLine(line).value;
    std::string changed(line);
    changed.replace(static_cast<std::size_t>(old.data() - line.data()), old.size(), value);
    m_text.SetLine(place, std::move(changed));
}

}  // namespace corekit
