// Lets a failing test show what came of an operation on the system.
#pragma once

#include <cstring>
#include <ostream>

#include "corekit/os/Result.h"

namespace corekit {

inline void PrintTo(const Result& result, std::ostream* stream) {
    if (result) {
        *stream << "success";
    } else {
        *stream << strerrorname_np(result.Code()) << " (" << strerror(result.Code()) << ")";
    }
}

}  // namespace corekit
