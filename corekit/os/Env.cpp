// The environment: variables as text.
#include "corekit/os/Env.h"

#include <cstdlib>

namespace corekit::Env {

bool Get(const String& name, String& value) {
    const char* bytes = std::getenv(name.Utf8().c_str());
    if (bytes != nullptr) value = String::FromUtf8(bytes);
    return bytes != nullptr;
}

}  // namespace corekit::Env
