// The only file that is compiled with the library's readers and writers, which are large.
#include "corekit/json/Json.h"

#include <nlohmann/json.hpp>

namespace corekit {

namespace {

constexpr bool kThrowing = false;

std::string Printed(const Json& value, int indentation) {
    return value.dump(indentation, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

Json ParseJson(std::string_view text) {
    return Json::parse(text, nullptr, kThrowing);
}

std::string JsonLine(const Json& value) {
    constexpr int kInOneLine = -1;
    return Printed(value, kInOneLine);
}

std::string JsonDocument(const Json& value) {
    constexpr int kIndentation = 2;
    return Printed(value, kIndentation) + "\n";
}

Json ParseCbor(std::string_view bytes) {
    constexpr bool kToTheEnd = true;
    return Json::from_cbor(bytes, kToTheEnd, kThrowing);
}

std::string Cbor(const Json& value) {
    std::string bytes;
    Json::to_cbor(value, bytes);
    return bytes;
}

}  // namespace corekit
