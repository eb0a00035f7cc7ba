// Small calls to the system: pauses, lines typed on standard input, the environment, random numbers.
#include "corekit/os/Sys.h"

#include <cstdlib>
#include <ctime>
#include <string>
#include <sys/random.h>
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

namespace corekit::Env {

std::optional<String> Get(const String& name) {
    const char* const bytes = std::getenv(name.Utf8().c_str());
    return bytes == nullptr ? std::nullopt : std::optional(String::FromUtf8(bytes));
}

}  // namespace corekit::Env

namespace corekit {

std::uint64_t RandomNumber() {
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, GRND_NONBLOCK) == sizeof number) return number;
    constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;  // to all bits
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 +
            static_cast<std::uint64_t>(now.tv_nsec)) *
           kSpread;
}

}  // namespace corekit
