// What a piece of the program writes to the operator.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "corekit/os/Console.h"

namespace testsupport {

struct Output {
    std::string out;  // standard output
    std::string err;  // standard error
};

/// Runs `action` and returns what it wrote to both streams.
template <typename Action>
Output Captured(Action&& action) {
    corekit::Console::Flush();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    action();
    corekit::Console::Flush();
    Output output;
    output.out = testing::internal::GetCapturedStdout();
    output.err = testing::internal::GetCapturedStderr();
    return output;
}

}  // namespace testsupport
