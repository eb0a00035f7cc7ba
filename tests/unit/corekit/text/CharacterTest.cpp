// The classes of ASCII characters.
#include <gtest/gtest.h>
#include <string_view>

#include "corekit/text/Character.h"

namespace {

// What stands just before and behind each class, and letters and digits beyond ASCII.
constexpr std::wstring_view kNeither = L"/:@[`{\0 _-\u00aa\u00c4\u00e4\u0130\u0661\uff11";

}  // namespace

TEST(Ascii, DistinguishesDigitsAndLetters) {
    for (const wchar_t digit : std::wstring_view(L"0123456789")) {
        EXPECT_TRUE(corekit::IsDigit(digit));
        EXPECT_FALSE(corekit::IsLetter(digit));
    }
    for (const wchar_t letter : std::wstring_view(L"AMZamz")) {
        EXPECT_TRUE(corekit::IsLetter(letter));
        EXPECT_FALSE(corekit::IsDigit(letter));
    }
    for (const wchar_t other : kNeither) {
        EXPECT_FALSE(corekit::IsLetter(other)) << static_cast<unsigned>(other);
        EXPECT_FALSE(corekit::IsDigit(other)) << static_cast<unsigned>(other);
    }
}

TEST(Ascii, ChangesTheCaseOfLettersOnly) {
    EXPECT_EQ(corekit::ToLower(L'A'), L'a');
    EXPECT_EQ(corekit::ToLower(L'Z'), L'z');
    EXPECT_EQ(corekit::ToUpper(L'a'), L'A');
    EXPECT_EQ(corekit::ToUpper(L'z'), L'Z');
    EXPECT_EQ(corekit::ToLower(L'z'), L'z');
    EXPECT_EQ(corekit::ToUpper(L'Z'), L'Z');
    for (const wchar_t other : kNeither) {
        EXPECT_EQ(corekit::ToLower(other), other);
        EXPECT_EQ(corekit::ToUpper(other), other);
    }
}
