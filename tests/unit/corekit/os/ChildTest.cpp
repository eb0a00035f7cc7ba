// Children of a process, and the pipes to them.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "corekit/os/Child.h"
#include "corekit/os/SystemCall.h"

namespace {

using corekit::Descriptor;

TEST(Child, SaysThroughAPipeWhatItHasToSay_AndEndsWithItsStatus) {
    auto pipe = corekit::OpenPipe();
    ASSERT_TRUE(pipe);
    const pid_t child = fork();
    if (child == 0) {
        const bool isSaid = corekit::WriteAll(pipe->writer.Get(), "said").Ok();
        _exit(isSaid ? 7 : 1);
    }
    pipe->writer = Descriptor();
    EXPECT_EQ(corekit::ReadAll(pipe->reader.Get(), 10).value_or(""), "said");
    const int status = corekit::WaitForChild(child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Child, HasNoStatus_WhenThereIsNone) {
    EXPECT_EQ(corekit::WaitForChild(getpid()), -1);
}

}  // namespace
