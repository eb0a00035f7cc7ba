// Reading meaning into text: booleans, tokens, what is safe to show and what is safe for a shell.
#pragma once

#include "corekit/text/String.h"

namespace corekit {

namespace Text {

/// "yes", "y", "true", "on" and "1" in any case, trimmed, are true; everything else is false.
bool StrToBool(const String& text);

/// The text with control characters other than a tab (C0, DEL, C1 and kept bytes 0x80..0x9f) as \xNN, lower
/// case: nothing from a file or the environment can steer a terminal.
String Printable(const String& text);

/// The text as one word of a shell command line: as it is when it consists of letters, digits and
/// `_ . / , : = @ % + - { }` only and has no braces that some shells expand ("{a,b}", "{1..9}"), in single
/// quotes otherwise.
String ShellWord(const String& text);

/// The text for a place that stands between single quotes already: quotes in it are escaped.
String InShellQuotes(const String& text);

}  // namespace Text

/// Splits text at any of the separator characters; empty tokens are kept ("a//b" has three).
class StringTokenizer {
  public:
    StringTokenizer(const String& text, const String& separators);

    /// The next token into `token`; false at the end.
    bool GetToken(String& token);

  private:
    String m_text;
    String m_separators;
    std::size_t m_position = 0;
    bool m_ended = false;
};

}  // namespace corekit
