// Shell wildcards, one name at a time.
#include <gtest/gtest.h>
#include <string>

#include "corekit/text/Wildcard.h"

using corekit::HasWildcard;
using corekit::MatchesWildcard;

namespace {

TEST(Wildcard, IsAnyOfStarQuestionMarkAndBracket) {
    for (const char* pattern : {"*", "a?", "[", "x[a]"}) EXPECT_TRUE(HasWildcard(pattern)) << pattern;
    for (const char* pattern : {"", "a", "{a,b}", "]", "\\", ".", "a b"})
        EXPECT_FALSE(HasWildcard(pattern)) << pattern;
}

TEST(Wildcard, MatchesWholeNames) {
    struct Row {
        const char* pattern;
        const char* name;
        bool matches;
    };
    for (const Row& row : {Row{"*", "a", true},
                           Row{"*", ".a", false},
                           Row{".*", ".a", true},
                           Row{"?a", ".a", false},
                           Row{"[.]a", ".a", false},
                           Row{"a*", "a.b", true},
                           Row{"a*c", "abcbc", true},
                           Row{"a*c", "abcb", false},
                           Row{"?", "ab", false},
                           Row{"[a-fA-F0-9]", "E", true},
                           Row{"[a-fA-F0-9]", "g", false},
                           Row{"[!a]", "b", true},
                           Row{"[]]", "]", true},
                           Row{"[", "[", true},
                           Row{"a\\*", "a\\b", true},
                           Row{"a\\*", "a*", false},
                           Row{"A", "a", false},
                           Row{"", "a", true},
                           Row{"", ".a", true},
                           Row{"{a,b}", "a", false},
                           Row{"*.kse", ".kse", false}}) {
        EXPECT_EQ(MatchesWildcard(row.pattern, row.name), row.matches) << row.pattern << " " << row.name;
    }
}

TEST(Wildcard, MatchesNothingWithANul) {
    EXPECT_FALSE(MatchesWildcard(std::string("a\0*", 3), "a"));
    EXPECT_FALSE(MatchesWildcard(std::string("\0", 1), "a"));
}

}  // namespace
