// Numbers that differ, with and without the system's help.
#include <cerrno>
#include <gtest/gtest.h>
#include <set>
#include <sys/syscall.h>

#include "corekit/os/Random.h"
#include "tests/support/FailingCall.h"

using corekit::RandomNumber;

namespace {

std::set<std::uint64_t> SomeNumbers() {
    std::set<std::uint64_t> numbers;
    for (int draw = 0; draw < 100; ++draw) numbers.insert(RandomNumber());
    return numbers;
}

}  // namespace

TEST(RandomNumber, DiffersFromTheLast) {
    EXPECT_EQ(SomeNumbers().size(), 100U);
}

TEST(RandomNumber, NeedsNoHelpOfTheSystem) {
    for (const int errnoValue : {ENOSYS, EIO, EACCES})
        EXPECT_GT(testsupport::WithFailing({{SYS_getrandom, errnoValue}},
                                           [] { return static_cast<int>(SomeNumbers().size()); }),
                  1);
}
