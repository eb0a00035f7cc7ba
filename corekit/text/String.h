// Wide text: the type of every name, path, value and message of the program.
#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace corekit {

/// Text of Unicode code points, one in each wchar_t. Bytes that are not valid UTF-8 live in it as
/// U+DC80..U+DCFF and are written back as the same bytes, so text of an unknown encoding survives reading and
/// writing. Case folding and white space are those of ASCII, whatever the locale.
class String {
  public:
    static constexpr std::size_t npos = std::wstring_view::npos;

    String() = default;
    String(const wchar_t* text) : m_text(text) {}
    String(std::wstring_view text) : m_text(text) {}
    String(std::wstring text) : m_text(std::move(text)) {}

    /// Text from the bytes of a file, a path or an environment variable, and back.
    static String FromUtf8(std::string_view bytes);
    std::string Utf8() const;

    /// A decimal number.
    static String FromInt(long long number);

    bool IsEmpty() const { return m_text.empty(); }
    std::size_t Length() const { return m_text.size(); }
    wchar_t operator[](std::size_t index) const { return m_text[index]; }
    std::wstring_view View() const { return m_text; }
    auto begin() const { return m_text.begin(); }
    auto end() const { return m_text.end(); }

    bool StartsWith(const String& prefix) const { return m_text.starts_with(prefix.m_text); }
    bool EndsWith(const String& suffix) const { return m_text.ends_with(suffix.m_text); }
    bool Contains(const String& what) const { return Find(what) != npos; }
    std::size_t Find(const String& what) const { return m_text.find(what.m_text); }
    std::size_t FindLast(const String& what) const { return m_text.rfind(what.m_text); }
    std::size_t FindOneOf(const String& characters) const { return m_text.find_first_of(characters.m_text); }

    /// The part from `from` on, at most `count` characters; empty when `from` is past the end.
    String Mid(std::size_t from, std::size_t count = npos) const;
    String Left(std::size_t count) const { return Mid(0, count); }
    /// What stands before the first `separator`; everything when there is none.
    String Before(const String& separator) const { return Left(Find(separator)); }
    /// What stands before `suffix` at the end; none when the text does not end in it.
    std::optional<String> WithoutSuffix(const String& suffix) const;

    String Lower() const;
    String Upper() const;
    String Trim() const { return TrimLeft().TrimRight(); }
    String TrimLeft() const;
    String TrimRight() const;

    /// Replaces every occurrence, left to right; what has been put in is not searched again. Returns this
    /// string.
    String& Replace(const String& what, const String& with);

    /// A copy with the placeholders "%1" (and "%2") filled in one pass: a "%2" inside the first value stays.
    String Arg(const String& first) const;
    String Arg(const String& first, const String& second) const;

    /// The leading decimal integer after blanks and a sign; 0 when there is none, clamped to int's range.
    int ToInt() const;

    String& operator+=(const String& other) {
        m_text += other.m_text;
        return *this;
    }
    String& operator+=(wchar_t character) {
        m_text += character;
        return *this;
    }
    friend String operator+(const String& left, const String& right) {
        return String(left.m_text + right.m_text);
    }
    friend bool operator==(const String& left, const String& right) { return left.m_text == right.m_text; }
    friend bool operator==(const String& left, const wchar_t* right) { return left.m_text == right; }
    friend bool operator==(const String& left, std::wstring_view right) { return left.m_text == right; }
    friend std::strong_ordering operator<=>(const String& left, const String& right) {
        return left.m_text <=> right.m_text;
    }

  private:
    std::wstring m_text;
};

/// The ordinal, case-sensitive order of strings in maps.
struct Ltstr {
    bool operator()(const String& left, const String& right) const { return left < right; }
};

}  // namespace corekit
