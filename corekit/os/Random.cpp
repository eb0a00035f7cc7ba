// Asks the kernel for random numbers, and else the clock.
#include "corekit/os/Random.h"

#include <ctime>
#include <sys/random.h>

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
