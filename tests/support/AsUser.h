// Code that runs as another user.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

namespace testsupport {

/// The user of the process is another one for as long as this lives.
class AsUser {
  public:
    explicit AsUser(uid_t user) { EXPECT_EQ(seteuid(user), 0); }
    ~AsUser() { EXPECT_EQ(seteuid(0), 0); }
    AsUser(const AsUser&) = delete;
    AsUser& operator=(const AsUser&) = delete;
};

}  // namespace testsupport
