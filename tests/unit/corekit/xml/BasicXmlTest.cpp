// Asking a document for elements, texts and attributes by name.
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "corekit/xml/BasicXml.h"
#include "tests/support/PrintString.h"

using corekit::AttributeMap;
using corekit::BasicXml;
using corekit::String;

namespace {

AttributeMap AttributesOf(const BasicXml& xml) {
    AttributeMap attributes;
    xml.GetAttributes(attributes);
    return attributes;
}

AttributeMap AttributesOf(const BasicXml& xml, const String& name) {
    AttributeMap attributes;
    xml.GetAttributes(name, attributes);
    return attributes;
}

/// A line for each element: "line:column depth parent/name [text] attribute=value@line:column ...".
std::vector<std::string> WalkOf(const BasicXml& xml, BasicXml::Which which = BasicXml::Which::All,
                                BasicXml::Positions positions = BasicXml::Positions::OfAttributesToo) {
    const auto text = [](const BasicXml::Position& position) {
        return std::to_string(position.line) + ":" + std::to_string(position.column);
    };
    std::vector<std::string> lines;
    xml.ForEachElement(
        [&](const BasicXml::Element& element) {
            std::string line = text(element.position) + " " + std::to_string(element.depth) + " " +
                               element.parent.Utf8() + "/" + element.name.Utf8() + " [" +
                               element.text.Utf8() + "]";
            for (const BasicXml::Attribute& attribute : element.attributes) {
                line += " " + attribute.name.Utf8() + "=" + attribute.value.Utf8() + "@" +
                        text(attribute.position);
            }
            lines.push_back(line);
        },
        which, positions);
    return lines;
}

using Lines = std::vector<std::string>;

}  // namespace

TEST(BasicXml, FindsTextsAnywhereInTheDocument) {
    const BasicXml xml(L"<Root><KSName>srv</KSName><Settings><TempDir>/tmp</TempDir></Settings></Root>");
    ASSERT_EQ(xml.GetRefusal(), nullptr);
    EXPECT_TRUE(xml.Exists());
    EXPECT_EQ(xml.GetText(L"KSName"), L"srv");
    EXPECT_EQ(xml.GetText(L"TempDir"), L"/tmp");
    EXPECT_EQ(xml.GetText(L"tempdir"), L"");
    EXPECT_EQ(xml.GetText(L"KSPort"), L"");
    EXPECT_EQ(xml.GetText(L""), L"");
}

TEST(BasicXml, ReadsTheBytesOfAFileAsItReadsText) {
    EXPECT_EQ(BasicXml("<a>K\xC3\xB6ln</a>").GetText(L"a"), L"K\u00F6ln");
    EXPECT_EQ(BasicXml(L"<a>K\u00F6ln</a>").GetText(L"a"), L"K\u00F6ln");
    EXPECT_NE(BasicXml("<a>K\xF6ln</a>").GetRefusal(), nullptr);
}

TEST(BasicXml, FindsTheRootElementToo) {
    const BasicXml xml(L"<a x='1'>text</a>");
    EXPECT_EQ(xml.GetText(L"a"), L"text");
    EXPECT_EQ(AttributesOf(xml, L"a"), (AttributeMap{{L"x", L"1"}}));
    EXPECT_TRUE(xml.GetNode(L"a").Exists());
    EXPECT_FALSE(xml.GetNode(L"a", 1).Exists());
}

TEST(BasicXml, TakesTheFirstOfTheNameInDocumentOrder) {
    const BasicXml xml(L"<r><x><a n='1'>one</a></x><a n='2'>two</a></r>");
    EXPECT_EQ(xml.GetText(L"a"), L"one");
    EXPECT_EQ(AttributesOf(xml, L"a"), (AttributeMap{{L"n", L"1"}}));
    EXPECT_EQ(xml.GetNode(L"a", 1).GetText(L"a"), L"two");
}

TEST(BasicXml, GivesAnElementsOwnTextOnly) {
    const BasicXml xml(L"<r>1<a>x<b>y</b></a>2<!-- no --><?no no?>3<a/>4</r>");
    EXPECT_EQ(xml.GetText(L"r"), L"1234");
    EXPECT_EQ(xml.GetText(L"a"), L"x");
    EXPECT_EQ(xml.GetText(L"b"), L"y");
}

TEST(BasicXml, ResolvesReferencesAndCdata) {
    const BasicXml xml(L"<r a='&lt;&quot;&#228;&#x20AC;'>&amp;<![CDATA[<&amp;>]]>&#65;\u00E4</r>");
    EXPECT_EQ(xml.GetText(L"r"), L"&<&amp;>A\u00E4");
    EXPECT_EQ(AttributesOf(xml), (AttributeMap{{L"a", L"<\"\u00E4\u20AC"}}));
}

TEST(BasicXml, KeepsWhiteSpaceAndNormalisesLineEnds) {
    EXPECT_EQ(BasicXml(L"<r> a\r\n b\t</r>").GetText(L"r"), L" a\n b\t");
}

TEST(BasicXml, AddsAttributesToTheMapItIsGiven) {
    const BasicXml xml(L"<r><Setting Section='S' Name='a' Value='1'/><Setting Name='b' Value=''/></r>");
    AttributeMap attributes{{L"Other", L"stays"}};
    xml.GetNode(L"Setting", 0).GetAttributes(attributes);
    xml.GetNode(L"Setting", 1).GetAttributes(attributes);
    EXPECT_EQ(attributes,
              (AttributeMap{{L"Name", L"b"}, {L"Other", L"stays"}, {L"Section", L"S"}, {L"Value", L""}}));
    xml.GetAttributes(L"Setting", attributes);
    EXPECT_EQ(attributes[L"Name"], L"a");
}

TEST(BasicXml, LooksForNodesWithinANodeOnly) {
    const BasicXml xml(L"<r><s n='0'/><x><s n='1'/><y><s n='2'/></y></x><s n='3'/></r>");
    const BasicXml x = xml.GetNode(L"x");
    EXPECT_EQ(AttributesOf(x.GetNode(L"s", 0)), (AttributeMap{{L"n", L"1"}}));
    EXPECT_EQ(AttributesOf(x.GetNode(L"s", 1)), (AttributeMap{{L"n", L"2"}}));
    EXPECT_FALSE(x.GetNode(L"s", 2).Exists());
    EXPECT_FALSE(x.GetNode(L"r").Exists());
    EXPECT_EQ(AttributesOf(xml.GetNode(L"s", 3)), (AttributeMap{{L"n", L"3"}}));
    EXPECT_FALSE(xml.GetNode(L"s", 4).Exists());
    EXPECT_FALSE(xml.GetNode(L"s", SIZE_MAX).Exists());
}

TEST(BasicXml, AnswersNothingForANodeThatDoesNotExist) {
    const BasicXml none = BasicXml(L"<r a='1'>text</r>").GetNode(L"x");
    EXPECT_FALSE(none.Exists());
    EXPECT_EQ(none.GetText(L"r"), L"");
    EXPECT_FALSE(none.GetNode(L"r").Exists());
    EXPECT_TRUE(AttributesOf(none).empty());
    EXPECT_TRUE(AttributesOf(none, L"r").empty());
    EXPECT_EQ(none.GetRefusal(), nullptr);
}

TEST(BasicXml, AnswersNothingFromADocumentThatWasRefused) {
    const BasicXml xml(L"<r a='1'><x>text</x>");
    ASSERT_NE(xml.GetRefusal(), nullptr);
    EXPECT_FALSE(xml.Exists());
    EXPECT_EQ(xml.GetText(L"x"), L"");
    EXPECT_FALSE(xml.GetNode(L"x").Exists());
    EXPECT_TRUE(AttributesOf(xml).empty());
    EXPECT_TRUE(AttributesOf(xml, L"r").empty());
    EXPECT_EQ(xml.GetNode(L"x").GetRefusal(), xml.GetRefusal());
}

TEST(BasicXml, NodesOutliveTheirDocument) {
    auto xml = std::make_unique<BasicXml>(L"<r><x>text</x></r>");
    const BasicXml node = xml->GetNode(L"x");
    xml.reset();
    EXPECT_EQ(node.GetText(L"x"), L"text");
}

TEST(BasicXml, GivesNodesOfANodeByTheirNamesAsWritten) {
    const BasicXml xml(L"<p:r xmlns:p='urn:x'><p:\u00E4 \u00F6='\u00FC'>\u00DF</p:\u00E4></p:r>");
    EXPECT_EQ(xml.GetText(L"p:\u00E4"), L"\u00DF");
    EXPECT_EQ(AttributesOf(xml, L"p:\u00E4"), (AttributeMap{{L"\u00F6", L"\u00FC"}}));
}

TEST(BasicXml, WalksAHundredThousandElements) {
    std::wstring text = L"<r>";
    for (int i = 0; i < 100000; ++i) text += L"<s n='" + std::to_wstring(i) + L"'/>";
    const BasicXml xml{String(text + L"</r>")};
    std::size_t count = 0;
    for (BasicXml node = xml.GetNode(L"s"); node.Exists(); node = xml.GetNode(L"s", ++count)) {
        ASSERT_EQ(AttributesOf(node)[L"n"], String::FromInt(static_cast<long long>(count)));
    }
    EXPECT_EQ(count, 100000u);
}

TEST(BasicXml, TakesAHundredThousandLevels) {
    std::wstring text;
    for (int i = 0; i < 100000; ++i) text += L"<a>";
    text += L"deep";
    for (int i = 0; i < 100000; ++i) text += L"</a>";
    const BasicXml xml{String(text)};
    ASSERT_EQ(xml.GetRefusal(), nullptr);
    EXPECT_EQ(xml.GetNode(L"a", 99999).GetText(L"a"), L"deep");
    EXPECT_EQ(xml.GetNode(L"a", 99998).GetText(L"a"), L"");
    EXPECT_FALSE(xml.GetNode(L"a", 100000).Exists());
}

TEST(BasicXml, WalksElementsInDocumentOrderWithTheirPositions) {
    const BasicXml xml(
        "<?xml version='1.0'?>\n"
        "<!-- <no/> -->\n"
        "<r>one\n"
        "  <a x='1' y=\"2\">\n"
        "    <b/><b z='3'>two</b>\n"
        "  </a><c\tx = '>' /></r>\n");
    EXPECT_EQ(WalkOf(xml), (Lines{"3:1 0 /r [one\n  ]", "4:3 1 r/a [\n    \n  ] x=1@4:6 y=2@4:12",
                                  "5:5 2 a/b []", "5:9 2 a/b [two] z=3@5:12", "6:7 1 r/c [] x=>@6:10"}));
}

TEST(BasicXml, WalksTheFirstElementOfEachNameAlone_WhenNoOtherIsAskedFor) {
    const BasicXml xml("<r><a x='1'/><b/><a x='2'><c/></a><b/></r>");
    EXPECT_EQ(WalkOf(xml, BasicXml::Which::FirstOfEachName),
              (Lines{"1:1 0 /r []", "1:4 1 r/a [] x=1@1:7", "1:14 1 r/b []", "1:27 2 a/c []"}));
    EXPECT_EQ(WalkOf(xml.GetNode(L"a", 1), BasicXml::Which::FirstOfEachName), Lines{"1:27 1 a/c []"});
}

TEST(BasicXml, WalksANodeAlone) {
    const BasicXml xml("<r><a>\n<b><c/></b></a><d/></r>");
    EXPECT_EQ(WalkOf(xml.GetNode(L"b")), (Lines{"2:1 0 /b []", "2:4 1 b/c []"}));
    EXPECT_EQ(WalkOf(xml.GetNode(L"x")), Lines());
    EXPECT_EQ(WalkOf(BasicXml("<r><a>")), Lines());
}

TEST(BasicXml, FindsTheLineOfAnAttributeInATagOfSeveralLines) {
    const BasicXml xml("<r\n   a='1\n2'\r\n   b=\n'3'\r c='4'\n/>");
    EXPECT_EQ(WalkOf(xml), Lines{"1:1 0 /r [] a=1 2@2:4 b=3@4:4 c=4@6:2"});
}

TEST(BasicXml, CountsAColumnForEachCharacter) {
    EXPECT_EQ(
        WalkOf(BasicXml("<\xC3\xA4>\xE2\x82\xAC<b x='\xF0\x9F\x98\x80' y=''/></\xC3\xA4>")),
        (Lines{"1:1 0 /\xC3\xA4 [\xE2\x82\xAC]", "1:5 1 \xC3\xA4/b [] x=\xF0\x9F\x98\x80@1:8 y=@1:14"}));
}

TEST(BasicXml, CountsNoColumnForAByteOrderMark) {
    EXPECT_EQ(WalkOf(BasicXml("\xEF\xBB\xBF<r a='1'/>")), Lines{"1:1 0 /r [] a=1@1:4"});
    const BasicXml refused("\xEF\xBB\xBF<r></s>");
    ASSERT_NE(refused.GetRefusal(), nullptr);
    EXPECT_EQ(refused.GetRefusal()->column, 6u);
}

TEST(BasicXml, GivesAnAttributeThatTheTagDoesNotHaveItsElementsPosition) {
    EXPECT_EQ(WalkOf(BasicXml("<!DOCTYPE r [<!ATTLIST r a CDATA '1' c CDATA '3'>]>\n<r b='2' a='0'/>")),
              Lines{"2:1 0 /r [] b=2@2:4 a=0@2:10 c=3@2:1"});
}

TEST(BasicXml, GivesAttributesTheirElementsPosition_WhereTheirOwnIsNotWanted) {
    const BasicXml xml(L"<r>\n <a b='1'\n    c='2'/><a d='3'/>\n</r>");
    EXPECT_EQ(WalkOf(xml, BasicXml::Which::All, BasicXml::Positions::OfElements),
              (Lines{"1:1 0 /r [\n \n]", "2:2 1 r/a [] b=1@2:2 c=2@2:2", "3:12 1 r/a [] d=3@3:12"}));
}

TEST(BasicXml, GivesElementsOfAnEntityThePositionOfItsReference) {
    EXPECT_EQ(WalkOf(BasicXml("<!DOCTYPE r [<!ENTITY e \"<a x='1'>\n<b/></a>\">]>\n<r> &e;<c y='2'/></r>")),
              (Lines{"3:1 0 /r [ ]", "3:5 1 r/a [\n] x=1@3:5", "3:5 2 a/b []", "3:8 1 r/c [] y=2@3:11"}));
}
