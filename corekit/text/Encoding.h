// Character sets: between the program's wide text and the bytes of files and terminals.
#pragma once

#include <string>
#include <string_view>

#include "corekit/text/String.h"

namespace corekit {

/// A character set. Decoding never fails: a byte that the set does not define becomes one of U+DC80..U+DCFF.
/// Encoding writes these characters as the bytes that they stand for, and "?" for any other that the set
/// lacks.
class Encoding {
  public:
    virtual ~Encoding() = default;
    virtual String Decode(std::string_view bytes) const = 0;
    virtual std::string Encode(const String& text) const = 0;
};

class Utf8Encoding : public Encoding {
  public:
    String Decode(std::string_view bytes) const override;
    std::string Encode(const String& text) const override;
};

/// ISO-8859-1.
class Latin1Encoding : public Encoding {
  public:
    String Decode(std::string_view bytes) const override;
    std::string Encode(const String& text) const override;
};

/// ISO-8859-15: Latin-1 with the euro sign and seven more letters.
class Latin9Encoding : public Encoding {
  public:
    String Decode(std::string_view bytes) const override;
    std::string Encode(const String& text) const override;
};

/// Seven bits; everything else is written as "?", kept bytes included.
class AsciiEncoding : public Encoding {
  public:
    String Decode(std::string_view bytes) const override;
    std::string Encode(const String& text) const override;
};

/// The character set that LC_ALL, LC_CTYPE or LANG names (the first that is set and not empty): UTF-8,
/// ISO-8859-1 and ISO-8859-15 are known, anything else counts as ASCII. No locale data is loaded.
const Encoding& LocalEncoding();

/// Text for output on a terminal.
namespace StringEncoder {
std::string Ascii(const String& text);
std::string Local(const String& text);
}  // namespace StringEncoder

}  // namespace corekit
