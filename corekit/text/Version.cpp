// A version of three numbers, as text.
#include "corekit/text/Version.h"

namespace corekit {

String Version::ToString(const String& separator) const {
    return String::FromInt(m_major) + separator + String::FromInt(m_minor);
}

}  // namespace corekit
