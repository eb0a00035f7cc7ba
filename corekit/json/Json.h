// JSON, as other programs read it, and CBOR, the same in bytes, as the program keeps it for itself.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

namespace corekit {

/// The members of an object stay in the order in which they were added.
using Json = nlohmann::ordered_json;

/// Gives a value that `is_discarded()` for a text that is not JSON.
Json ParseJson(std::string_view text);

/// In one line, without a line end. Bytes that are not UTF-8 become U+FFFD.
std::string JsonLine(const Json& value);

/// As people read it too: indented, with one line end at its end. Bytes that are not UTF-8 become U+FFFD.
std::string JsonDocument(const Json& value);

/// Gives a value that `is_discarded()` for bytes that are not CBOR.
Json ParseCbor(std::string_view bytes);

/// Strings may have any bytes.
std::string Cbor(const Json& value);

}  // namespace corekit
