// Writing XML that gives back what was put in, or none at all.
#include <gtest/gtest.h>

#include "corekit/xml/BasicXml.h"
#include "corekit/xml/XmlElement.h"
#include "tests/support/PrintString.h"

using corekit::AttributeMap;
using corekit::BasicXml;
using corekit::String;
using corekit::XmlElement;

namespace {

constexpr const wchar_t* kDeclaration = L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

String WrittenWith(const String& attribute, const String& value) {
    XmlElement element(L"e");
    element.Set(attribute, value);
    return element.ToString();
}

}  // namespace

TEST(XmlElement, WritesAnEmptyElement) {
    EXPECT_EQ(XmlElement(L"Package").ToString(), String(kDeclaration) + L"<Package/>\n");
}

TEST(XmlElement, WritesAttributesAndElementsInTheOrderGiven) {
    XmlElement inner(L"User");
    inner.Set(L"Name", L"one");
    XmlElement element(L"Package");
    element.Set(L"b", L"2");
    element.Set(L"a", L"1");
    element.Add(inner);
    element.Add(XmlElement(L"Other"));
    EXPECT_EQ(element.ToString(), String(kDeclaration) +
                                      L"<Package b=\"2\" a=\"1\">\n"
                                      L"    <User Name=\"one\"/>\n"
                                      L"    <Other/>\n"
                                      L"</Package>\n");
}

TEST(XmlElement, ReplacesAnAttributeInItsPlace) {
    XmlElement element(L"e");
    element.Set(L"a", L"1");
    element.Set(L"b", L"2");
    element.Set(L"a", L"3");
    EXPECT_EQ(element.ToString(), String(kDeclaration) + L"<e a=\"3\" b=\"2\"/>\n");
}

TEST(XmlElement, GivesEveryValueBackThroughAParser) {
    for (const String value :
         {L"", L" ", L"  two  blanks ", L"a&b<c>d\"e'f", L"]]>", L"&amp;", L"tab\there", L"line\nend\r\n",
          L"\x7f\x85\xa0", L"\xdf\x20ac\xd7ff\xe000\xfffd\x10000\x10ffff"}) {
        const BasicXml xml(WrittenWith(L"a", value));
        AttributeMap attributes;
        xml.GetAttributes(attributes);
        EXPECT_EQ(attributes, (AttributeMap{{L"a", value}}));
    }
}

TEST(XmlElement, WritesNothing_WhereAValueHasACharacterThatXmlLacks) {
    for (const wchar_t character :
         {L'\0', L'\1', L'\b', L'\v', L'\x1b', L'\x1f', wchar_t{0xD800}, wchar_t{0xDC80}, wchar_t{0xDCFF},
          wchar_t{0xDFFF}, wchar_t{0xFFFE}, wchar_t{0xFFFF}, wchar_t{0x110000}}) {
        String value(L"a");
        value += character;
        EXPECT_EQ(WrittenWith(L"a", value), L"") << static_cast<long>(character);
    }
}

TEST(XmlElement, TakesXmlNames) {
    for (const String name : {L"a", L"Z", L"_", L":", L"PkgTotalSize", L"a1", L"a-b.c:d_e"}) {
        EXPECT_EQ(WrittenWith(name, L"v"), String(kDeclaration) + L"<e " + name + L"=\"v\"/>\n");
        EXPECT_EQ(XmlElement(name).ToString(), String(kDeclaration) + L"<" + name + L"/>\n");
    }
}

TEST(XmlElement, WritesNothing_WhereANameIsNoXmlName) {
    for (const String name : {L"", L"1", L"-a", L".a", L"a b", L"a/b", L"a=b", L"a>", L"\xe4", L"a\xdc80"}) {
        EXPECT_EQ(WrittenWith(name, L"v"), L"") << name.Utf8();
        EXPECT_EQ(XmlElement(name).ToString(), L"") << name.Utf8();
    }
}

TEST(XmlElement, WritesNothing_WhereAnElementWithinItCannotBeWritten) {
    XmlElement inner(L"User");
    inner.Set(L"Name", L"\x1");
    XmlElement middle(L"Users");
    middle.Add(inner);
    XmlElement element(L"Package");
    element.Add(middle);
    EXPECT_EQ(element.ToString(), L"");
}
