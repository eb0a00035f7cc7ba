// Finds a free name beside another, and clears away what a killed run left under it.
#include "corekit/TempName.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <string_view>
#include <sys/random.h>

#include "corekit/TreeRemoval.h"

namespace corekit {

namespace {

// The same each time: the next run that makes the file finds what is left of one that was killed.
constexpr const char* kUnfinished = "unfinished";
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

Result MakeBeside(const Entry& entry, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make) {
    const std::string stem = std::string(".").append(entry.name, 0, kLongestStem).append(".");
    made = stem + kUnfinished;
    Result result = make(made);
    if (result.Code() == EEXIST) {
        Forgive(RemoveEntry({entry.directory, made}));
        result = make(made);
    }
    for (int attempt = 0; attempt < kAttempts && result.Code() == EEXIST; ++attempt) {
        made = stem + RandomSuffix();
        result = make(made);
    }
    return result;
}

}  // namespace corekit
