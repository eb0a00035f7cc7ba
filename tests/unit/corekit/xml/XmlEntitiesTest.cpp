// References to entities that nobody declared.
#include <gtest/gtest.h>

#include "corekit/xml/detail/XmlEntities.h"

using corekit::XmlEntities;

TEST(XmlEntities, KnowsTheFiveThatNeedNoDeclaration) {
    EXPECT_TRUE(XmlEntities().CoverReferences("<a b='&amp;&apos;&gt;&lt;&quot;'>"));
    EXPECT_FALSE(XmlEntities().CoverReferences("<a b='&nbsp;'>"));
}

TEST(XmlEntities, TakesCharacterReferencesForNone) {
    EXPECT_TRUE(XmlEntities().CoverReferences("&#65;&#x41;"));
}

TEST(XmlEntities, CoversReferencesToWhatWasDeclared) {
    XmlEntities entities;
    entities.Declare("e", "E");
    EXPECT_TRUE(entities.CoverReferences(""));
    EXPECT_TRUE(entities.CoverReferences("1&e;2&e;"));
    EXPECT_FALSE(entities.CoverReferences("&e;&f;"));
    EXPECT_FALSE(entities.CoverReferences("&E;"));
    EXPECT_FALSE(entities.CoverReferences("&"));
}

TEST(XmlEntities, CoversItsOwnValuesInAnyOrder) {
    XmlEntities entities;
    EXPECT_TRUE(entities.CoverThemselves());
    entities.Declare("e", "1&f;2");
    EXPECT_FALSE(entities.CoverThemselves());
    entities.Declare("f", "&lt;");
    EXPECT_TRUE(entities.CoverThemselves());
}

TEST(XmlEntities, DoesNotJoinTheValuesOfTwo) {
    XmlEntities entities;
    entities.Declare("e", "&");
    entities.Declare("f", "e;");
    EXPECT_FALSE(entities.CoverThemselves());
}
