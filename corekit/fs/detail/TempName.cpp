// Finds a free name beside another, and clears away what a killed run left under it.
#include "corekit/fs/detail/TempName.h"

#include <cerrno>
#include <cstdint>
#include <string_view>

#include "corekit/fs/detail/TreeRemoval.h"
#include "corekit/os/Sys.h"

namespace corekit {

namespace {

// The same each time: the next run that makes the file finds what is left of one that was killed.
constexpr const char* kUnfinished = "unfinished";
constexpr std::string_view kLetters = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr int kAttempts = 100;
constexpr std::size_t kLongestStem = 200;  // leaves room in the 255 bytes of a name

/// Randomness only reduces retries; an existing file is never touched.
std::string RandomSuffix() {
    constexpr std::size_t kLength = 6;
    std::string suffix;
    for (std::uint64_t rest = RandomNumber(); suffix.size() < kLength; rest /= kLetters.size())
        suffix += kLetters[rest % kLetters.size()];
    return suffix;
}

Expected<std::string> MakeUnderAnyName(const std::string& stem, const MakeNamed& make) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        std::string name = stem + RandomSuffix();
        const Result made = make(name);
        if (made) return name;
        if (made.Code() != EEXIST) return made;
    }
    return Result(EEXIST);
}

}  // namespace

Expected<std::string> MakeBeside(const EntryRef& entry, const MakeNamed& make) {
    const std::string stem = std::string(".").append(entry.name, 0, kLongestStem).append(".");
    std::string name = stem + kUnfinished;
    Result made = make(name);
    if (made.Code() == EEXIST) {
        Forgive(RemoveEntry({entry.directory, name}));  // else another name is found
        made = make(name);
    }
    if (made) return name;
    return made.Code() == EEXIST ? MakeUnderAnyName(stem, make) : made;
}

Expected<std::string> MakeFromPattern(const std::string& pattern, const MakeNamed& make) {
    const std::string placeholder(6, 'X');
    if (!pattern.ends_with(placeholder)) return Result(EINVAL);
    return MakeUnderAnyName(pattern.substr(0, pattern.size() - placeholder.size()), make);
}

}  // namespace corekit
