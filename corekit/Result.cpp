// Results: what errno says, and how it is told.
#include "corekit/Result.h"

#include <cerrno>
#include <cstring>

namespace corekit {

Result Result::FromErrno() {
    return Result(errno);
}

String GetErrorMsg(const Result& result) {
    return String::FromUtf8(std::strerror(result.Code()));
}

}  // namespace corekit
