// Bytes that mean nothing in their character set, as they live in wide text.
#pragma once

namespace corekit {

/// The character that stands for a byte 0x80..0xff: U+DC80..U+DCFF, half of a surrogate pair, which no valid
/// text holds.
constexpr wchar_t KeptByte(char byte) {
    return static_cast<wchar_t>(0xDC00 | static_cast<unsigned char>(byte));
}

constexpr bool IsKeptByte(wchar_t character) {
    return character >= 0xDC80 && character <= 0xDCFF;
}

/// The byte that a kept byte stands for.
constexpr char ByteOf(wchar_t keptByte) {
    return static_cast<char>(keptByte & 0xFF);
}

}  // namespace corekit
