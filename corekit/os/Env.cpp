// The environment: variables as text.
#include "corekit/os/Env.h"

#include <cstdlib>

namespace corekit::Env {

std::optional<String> Get(const String& name) {
    const char* const bytes = std::getenv(name.Utf8().c_str());
    return bytes == nullptr ? std::nullopt : std::optional(String::FromUtf8(bytes));
}

}  // namespace corekit::Env
