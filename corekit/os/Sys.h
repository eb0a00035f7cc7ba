// Small calls to the system: pauses and lines typed on standard input.
#pragma once

#include <cstdio>

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
