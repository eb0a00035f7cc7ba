// Small calls to the system: pauses and lines typed on standard input.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>

#include "corekit/os/Result.h"
#include "corekit/text/String.h"

namespace corekit::Sys {

/// Waits so many seconds.
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

/// The value, when the variable exists.
std::optional<String> Get(const String& name);

}  // namespace corekit::Env

namespace corekit {

/// Where the system has none, one that chance made of the time: unlike the C library's, it never ends the
/// process. For what is only to be unlikely to collide.
std::uint64_t RandomNumber();

}  // namespace corekit
