// Lets a failing test show the program's strings.
#pragma once

#include <ostream>

#include "corekit/text/String.h"

namespace corekit {

inline void PrintTo(const String& text, std::ostream* stream) {
    *stream << '"' << text.Utf8() << '"';
}

}  // namespace corekit
