// Numbers that nobody can foresee, as far as the system gives them.
#pragma once

#include <cstdint>

namespace corekit {

/// Where the system has none, one that chance made of the time: unlike the C library's, it never ends the
/// process. For what is only to be unlikely to collide.
std::uint64_t RandomNumber();

}  // namespace corekit
