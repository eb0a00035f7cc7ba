#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "corekit/json/Json.h"

namespace corekit {

namespace {

TEST(Json, IsReadAndPrintedInTheOrderOfItsMembers) {
    const Json value = ParseJson(R"({"z": [1, null], "a": {"b": "c"}})");
    EXPECT_EQ(R"({"z":[1,null],"a":{"b":"c"}})", JsonLine(value));
    EXPECT_EQ("{\n  \"z\": [\n    1,\n    null\n  ],\n  \"a\": {\n    \"b\": \"c\"\n  }\n}\n",
              JsonDocument(value));
}

TEST(Json, WhatIsNoJsonIsDiscarded) {
    for (const char* text : {"", "{", "{\"a\": }", "[1] 2", "\xff"})
        EXPECT_TRUE(ParseJson(text).is_discarded()) << text;
}

TEST(Json, BytesThatAreNotUtf8AreReplacedInText) {
    EXPECT_EQ("\"/opt/\uFFFD\"", JsonLine(Json("/opt/\xe4")));
    EXPECT_EQ("\"/opt/\uFFFD\"\n", JsonDocument(Json("/opt/\xe4")));
}

TEST(Cbor, KeepsAnyBytesAndTheOrderOfMembers) {
    const Json value = {{"z", "/opt/\xe4\n"}, {"a", Json::array({1, nullptr})}};
    EXPECT_EQ(value, ParseCbor(Cbor(value)));
    EXPECT_EQ("z", ParseCbor(Cbor(value)).begin().key());
}

TEST(Cbor, OfWhichSomethingLacksOrIsTooMuchIsDiscarded) {
    const std::string bytes = Cbor({{"a", "text"}});
    EXPECT_TRUE(ParseCbor("").is_discarded());
    EXPECT_TRUE(ParseCbor(bytes.substr(0, bytes.size() - 1)).is_discarded());
    EXPECT_TRUE(ParseCbor(bytes + bytes).is_discarded());
}

}  // namespace

}  // namespace corekit
