// A directory of a test's own, with its paths as the program's text.
#pragma once

#include <string>

#include "corekit/text/String.h"
#include "tests/support/TestFiles.h"

namespace testsupport {

class Workspace : public testfiles::TempDir {
  public:
    /// The path of a name in it; `workspace / name` is the same in bytes.
    corekit::String operator()(const std::string& name) const {
        return corekit::String::FromUtf8(*this / name);
    }
};

}  // namespace testsupport
