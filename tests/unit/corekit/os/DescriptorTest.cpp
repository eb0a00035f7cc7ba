// Who closes a descriptor, and when.
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utility>

#include "corekit/os/Descriptor.h"

using corekit::Descriptor;

namespace {

int OpenNull() {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

bool IsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

}  // namespace

TEST(Descriptor, ClosesItsDescriptor_WhenItIsDestroyed) {
    const int fd = OpenNull();
    {
        const Descriptor descriptor(fd);
        EXPECT_TRUE(descriptor);
        EXPECT_EQ(descriptor.Get(), fd);
        EXPECT_TRUE(IsOpen(fd));
    }
    EXPECT_FALSE(IsOpen(fd));
}

TEST(Descriptor, HoldsNoDescriptorByDefault) {
    EXPECT_FALSE(Descriptor());
    EXPECT_EQ(Descriptor().Get(), -1);
    EXPECT_FALSE(Descriptor(-1));
}

TEST(Descriptor, DistinguishesStandardInputFromNone) {
    Descriptor descriptor(0);
    EXPECT_TRUE(descriptor);
    EXPECT_EQ(descriptor.Release(), 0);
}

TEST(Descriptor, HandsItsDescriptorOver_WhenItIsMoved) {
    const int fd = OpenNull();
    Descriptor first(fd);
    const Descriptor second(std::move(first));
    EXPECT_FALSE(first);
    EXPECT_EQ(second.Get(), fd);
    EXPECT_TRUE(IsOpen(fd));
}

TEST(Descriptor, ClosesItsDescriptor_WhenAnotherIsAssigned) {
    const int old = OpenNull();
    const int fd = OpenNull();
    Descriptor descriptor(old);
    descriptor = Descriptor(fd);
    EXPECT_EQ(descriptor.Get(), fd);
    EXPECT_FALSE(IsOpen(old));
    EXPECT_TRUE(IsOpen(fd));
}

TEST(Descriptor, LeavesAReleasedDescriptorOpen) {
    const int fd = OpenNull();
    { EXPECT_EQ(Descriptor(fd).Release(), fd); }
    EXPECT_TRUE(IsOpen(fd));
    close(fd);
}
