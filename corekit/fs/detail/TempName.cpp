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

Result MakeUnderAnyName(const std::string& stem, std::string& made,
                        const std::function<Result(const std::string& candidate)>& make) {
    Result result(EEXIST);
    for (int attempt = 0; attempt < kAttempts && result.Code() == EEXIST; ++attempt) {
        made = stem + RandomSuffix();
        result = make(made);
    }
    return result;
}

}  // namespace

Result MakeBeside(const EntryRef& entry, std::string& made,
                  const std::function<Result(const std::string& candidate)>& make) {
    const std::string stem = std::string(".").append(entry.name, 0, kLongestStem).append(".");
    made = stem + kUnfinished;
    Result result = make(made);
    if (result.Code() == EEXIST) {
        Forgive(RemoveEntry({entry.directory, made}));  // else another name is found
        result = make(made);
    }
    return result.Code() == EEXIST ? MakeUnderAnyName(stem, made, make) : result;
}

Result MakeFromPattern(const std::string& pattern, std::string& made,
                       const std::function<Result(const std::string& candidate)>& make) {
    const std::string placeholder(6, 'X');
    if (!pattern.ends_with(placeholder)) return Result(EINVAL);
    return MakeUnderAnyName(pattern.substr(0, pattern.size() - placeholder.size()), made, make);
}

}  // namespace corekit
