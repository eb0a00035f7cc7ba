// Writing to the operator: standard output and standard error, in the order of the calls.
#pragma once

#include <string_view>

namespace corekit::Console {

/// `Out` and `Err` write bytes as they are. Standard output is flushed before anything goes to standard
/// error, before a child process runs and before an answer is read; a failure to write is ignored.
void Out(std::string_view bytes);
void Err(std::string_view bytes);
void Flush();

}  // namespace corekit::Console
