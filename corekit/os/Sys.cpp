// Small calls to the system: pauses and lines typed on standard input.
#include "corekit/os/Sys.h"

#include <string>
#include <unistd.h>

#include "corekit/os/Console.h"
#include "corekit/text/Encoding.h"

namespace corekit::Sys {

namespace {

constexpr std::size_t kLongestLine = 4095;

}  // namespace

void Sleep(unsigned seconds) {
    while (seconds > 0) seconds = sleep(seconds);
}

Line Fgets(String& line, std::FILE* input) {
    Console::Flush();
    std::string bytes;
    bool fits = true;
    // Byte by byte, since fgets cannot tell a NUL byte in the line from its end.
    for (int byte = 0; byte != '\n' && (byte = std::getc(input)) != EOF;) {
        if (bytes.size() < kLongestLine) {
            bytes += static_cast<char>(byte);
        } else {
            fits = false;
        }
    }
    if (std::ferror(input) != 0 || bytes.empty()) return Line::End;
    if (!fits) return Line::TooLong;
    line = LocalEncoding().Decode(bytes);
    return Line::Whole;
}

}  // namespace corekit::Sys
