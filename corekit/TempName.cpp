// Finds a free name beside another.
#include "corekit/TempName.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <string_view>
#include <sys/random.h>

namespace corekit {

namespace {

constexpr std::string_view kLetters = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr int kAttempts = 100;
constexpr std::size_t kLongestStem = 200;  // leaves room in the 255 bytes of a name

std::string RandomSuffix() {
    std::array<std::uint8_t, 6> bytes{};
    if (getrandom(bytes.data(), bytes.size(), GRND_NONBLOCK) != static_cast<ssize_t>(bytes.size())) {
        // Chance only spares attempts: what stands at a name already is never touched.
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        auto seed = static_cast<std::uint64_t>(now.tv_nsec);
        for (auto& byte : bytes) {
            byte = static_cast<std::uint8_t>(seed % kLetters.size());
            seed /= kLetters.size();
        }
    }
    std::string suffix;
    for (const auto byte : bytes) suffix += kLetters[byte % kLetters.size()];
    return suffix;
}

}  // namespace

Result MakeBeside(const std::string& name, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make) {
    Result result(EEXIST);
    for (int attempt = 0; attempt < kAttempts && result.Code() == EEXIST; ++attempt) {
        made = std::string(".").append(name, 0, kLongestStem).append(".").append(RandomSuffix());
        result = make(made);
    }
    return result;
}

}  // namespace corekit
