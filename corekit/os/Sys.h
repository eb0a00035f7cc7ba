// Small calls to the system: pauses, lines typed on standard input, the environment, random numbers.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>

#include "corekit/text/String.h"

namespace corekit::Sys {

/// Waits for this many seconds.
void Sleep(unsigned seconds);

/// What `Fgets` got.
enum class Line {
    Whole,    // a line; its line end is kept, a last line may lack it
    TooLong,  // a line that does not fit; it has been read to its end and dropped
    End,      // end of input, or a read error
};

/// Reads one line of at most 4095 bytes; standard output is flushed first. Bytes are decoded in the local
/// encoding.
Line Fgets(String& line, std::FILE* input);

}  // namespace corekit::Sys

namespace corekit::Env {

/// The value of an environment variable, if it exists.
std::optional<String> Get(const String& name);

}  // namespace corekit::Env

namespace corekit {

/// A number that is unlikely to come twice. Falls back to the clock, and unlike the C library's never ends
/// the process. Not for cryptography.
std::uint64_t RandomNumber();

}  // namespace corekit
