// Which documents are read and which are refused, where and why.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include "corekit/xml/detail/XmlTree.h"
#include "tests/support/InChild.h"

using corekit::ReadXml;

namespace {

constexpr std::size_t kMiB = std::size_t{1024} * 1024;

/// "line:column: reason" of a refused document, "" of one that is read.
std::string RefusalOf(const std::string& document) {
    const auto tree = ReadXml(document);
    if (tree) return "";
    const corekit::BasicXml::Refusal& refusal = tree.error();
    return std::to_string(refusal.line) + ":" + std::to_string(refusal.column) + ": " + refusal.reason.Utf8();
}

std::string ReasonOf(const std::string& document) {
    const std::string refusal = RefusalOf(document);
    const std::size_t colon = refusal.find(": ");
    return colon == refusal.npos ? "" : refusal.substr(colon + 2);
}

/// The text and the attributes of the root element, or the refusal.
std::string ContentOf(const std::string& document) {
    const auto tree = ReadXml(document);
    if (!tree) return RefusalOf(document);
    std::string content = tree->Text(0);
    tree->ForEachAttribute(0, [&content](std::string_view name, std::string_view value) {
        content.append(" ").append(name).append("=").append(value);
    });
    return content;
}

std::string Repeated(const std::string& text, int times) {
    std::string repeated;
    for (int i = 0; i < times; ++i) repeated += text;
    return repeated;
}

/// Ten entities, each ten times the one before; the last stands for 10^9 letters.
std::string EntityBomb(const std::string& element) {
    std::string doctype = "<!DOCTYPE a [<!ENTITY e0 'x'>";
    for (int i = 1; i < 10; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        doctype += "<!ENTITY e" + std::to_string(i) + " '" + Repeated(before, 10) + "'>";
    }
    return doctype + "]>" + element;
}

constexpr const char* kBombReason = "limit on input amplification factor (from DTD and entities) breached";

}  // namespace

TEST(XmlReader, SaysWhereAndWhyADocumentIsNotWellFormed) {
    const struct {
        std::string document;
        const char* refusal;
    } table[] = {
        {"", "1:1: no element found"},
        {"\n ", "2:2: no element found"},
        {"<a/>x", "1:5: junk after document element"},
        {"<a/>\n<b/>", "2:1: junk after document element"},
        {"text", "1:1: syntax error"},
        {"<a>\n  <b></a>", "2:8: mismatched tag"},
        {"<a>", "1:4: no element found"},
        {"<a b='1' b='2'/>", "1:10: duplicate attribute"},
        {"<a b='<'/>", "1:7: not well-formed (invalid token)"},
        {"<a>&e;</a>", "1:4: undefined entity"},
        {"<a b='&e;'/>", "1:1: undefined entity"},
        {"<a>\x01</a>", "1:4: not well-formed (invalid token)"},
        {std::string("<a>\0</a>", 8), "1:4: not well-formed (invalid token)"},
        {" <?xml version='1.0'?><a/>", "1:2: XML or text declaration not at start of entity"},
    };
    for (const auto& row : table) EXPECT_EQ(RefusalOf(row.document), row.refusal) << row.document;
}

TEST(XmlReader, CountsColumnsInCharacters) {
    EXPECT_EQ(RefusalOf("<a>\xC3\xA4\xE2\x82\xAC</b>"), "1:8: mismatched tag");
}

TEST(XmlReader, TakesTheTextForUtf8_WhateverItDeclares) {
    EXPECT_EQ(ContentOf("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA4</a>"), "\xC3\xA4");
    EXPECT_EQ(ContentOf("<?xml version='1.0' encoding='nonsense'?><a>\xC3\xA4</a>"), "\xC3\xA4");
    EXPECT_EQ(ContentOf("\xEF\xBB\xBF<a>1</a>"), "1");
}

TEST(XmlReader, RefusesBytesThatAreNotUtf8) {
    EXPECT_EQ(RefusalOf("<a>caf\xE9</a>"), "1:7: not well-formed (invalid token)");
}

TEST(XmlReader, RefusesUtf16) {
    using namespace std::string_literals;
    for (const std::string& document :
         {"\xFF\xFE<\0a\0/\0>\0"s, "\xFE\xFF\0<\0a\0/\0>"s, "<\0a\0/\0>\0"s, "\0<\0a\0/\0>"s}) {
        EXPECT_EQ(RefusalOf(document), "1:1: not UTF-8");
    }
}

TEST(XmlReader, ExpandsInternalEntities) {
    EXPECT_EQ(ContentOf("<!DOCTYPE a [<!ENTITY e 'E'>]><a b='1&e;'>2&e;</a>"), "2E b=1E");
    EXPECT_EQ(ContentOf("<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f 'F'>]><a b='&e;'>&e;</a>"), "F b=F");
    EXPECT_EQ(ContentOf("<!DOCTYPE a [<!ENTITY % p \"<!ENTITY e 'E'>\"> %p;]><a b='&e;'>&e;</a>"), "E b=E");
    EXPECT_EQ(ContentOf("<!DOCTYPE a [<!ENTITY e 'E'><!ATTLIST a b CDATA '1&e;'>]><a/>"), " b=1E");
    EXPECT_EQ(ContentOf("<!DOCTYPE a [<!ENTITY lt '&#38;#60;'>]><a>&lt;</a>"), "<");
}

TEST(XmlReader, RefusesEntitiesThatContainThemselves) {
    EXPECT_EQ(ReasonOf("<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>"),
              "recursive entity reference");
}

TEST(XmlReader, PassesOverAnExternalDtd) {
    EXPECT_EQ(ContentOf("<!DOCTYPE a SYSTEM 'file:///etc/passwd'><a>1</a>"), "1");
    EXPECT_EQ(ContentOf("<!DOCTYPE a PUBLIC 'p' 'http://srv/a.dtd' [<!ENTITY e 'E'>]><a b='&e;'>&e;</a>"),
              "E b=E");
}

TEST(XmlReader, RefusesExternalEntities) {
    const struct {
        const char* document;
        const char* refusal;
    } table[] = {
        {"<!DOCTYPE a [\n<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>", "2:39: external entity"},
        {"<!DOCTYPE a [\n<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a/>", "2:39: external entity"},
        {"<!DOCTYPE a [\n<!ENTITY e PUBLIC 'p' 'http://srv/'>]><a/>", "2:36: external entity"},
        {"<!DOCTYPE a [\n<!ENTITY % e SYSTEM 'a.dtd'> %e;]><a/>", "2:28: external entity"},
        {"<!DOCTYPE a [\n<!ENTITY e SYSTEM 'a.gif' NDATA g>]><a/>", "2:33: external entity"},
    };
    for (const auto& row : table) EXPECT_EQ(RefusalOf(row.document), row.refusal) << row.document;
}

TEST(XmlReader, RefusesEntitiesThatOnlyAnExternalDtdCouldDeclare) {
    const struct {
        const char* document;
        const char* refusal;
    } table[] = {
        {"<!DOCTYPE a SYSTEM 'a.dtd'>\n<a>1&e;</a>", "2:5: undefined entity"},
        {"<!DOCTYPE a SYSTEM 'a.dtd'>\n<a b='1&e;'/>", "2:1: undefined entity"},
        {"<!DOCTYPE a SYSTEM 'a.dtd' [\n<!ATTLIST a b CDATA '1&e;'>]><a/>", "2:21: undefined entity"},
        {"<!DOCTYPE a SYSTEM 'a.dtd' [<!ENTITY f '&e;'>\n]><a b='&f;'/>", "2:2: undefined entity"},
        {"<!DOCTYPE a [<!ENTITY % p ''>%p;]>\n<a b='&e;'/>", "2:1: undefined entity"},
        {"<!DOCTYPE a [\n%p;]><a/>", "2:1: undefined entity"},
    };
    for (const auto& row : table) EXPECT_EQ(RefusalOf(row.document), row.refusal) << row.document;
}

TEST(XmlReader, TakesNoReferenceFromCommentsCdataAndInstructions) {
    EXPECT_EQ(ContentOf("<!DOCTYPE a SYSTEM 'a.dtd' [<!-- '&e;' -->]>"
                        "<a b='&lt;&#65;'><!-- &e; --><![CDATA[&e;]]><?p &e;?></a>"),
              "&e; b=<A");
}

TEST(XmlReader, DistinguishesNamesOfEntitiesByTheirCase) {
    EXPECT_EQ(ReasonOf("<!DOCTYPE a SYSTEM 'a.dtd' [<!ENTITY e 'E'>]><a b='&E;'/>"), "undefined entity");
}

TEST(XmlReader, TakesTheEntitiesThatNeedNoDeclaration) {
    EXPECT_EQ(ContentOf("<!DOCTYPE a SYSTEM 'a.dtd' [<!ENTITY e '&quot;&f;'><!ENTITY f '&#65;'>]>"
                        "<a b='&amp;&apos;&gt;&lt;&quot;&#66;&#x43;'>&e;</a>"),
              "\"A b=&'><\"BC");
}

TEST(XmlReader, RefusesEntityBombs) {
    EXPECT_EQ(ReasonOf(EntityBomb("<a>&e9;</a>")), kBombReason);
    EXPECT_EQ(ReasonOf(EntityBomb("<a b='&e9;'/>")), kBombReason);
    const std::string big = "<!DOCTYPE a [<!ENTITY e '" + std::string(30000, 'x') + "'>]>";
    EXPECT_EQ(ReasonOf(big + "<a>" + Repeated("&e;", 10000) + "</a>"), kBombReason);
}

TEST(XmlReader, AllowsAMebibyteOfExpansion) {
    const std::string entity(10000, 'x');
    EXPECT_EQ(ContentOf("<!DOCTYPE a [<!ENTITY e '" + entity + "'>]><a>" + Repeated("&e;", 100) + "</a>"),
              Repeated(entity, 100));
}

TEST(XmlReader, RefusesDefaultAttributesThatGrowBeyondMeasure) {
    const std::string doctype = "<!DOCTYPE r [<!ATTLIST a b CDATA '" + std::string(30000, 'x') + "'>]>";
    EXPECT_EQ(ReasonOf(doctype + "<r>" + Repeated("<a/>", 2000) + "</r>"), "content over 32 MiB");
    EXPECT_EQ(ReasonOf(doctype + "<r>" + Repeated("<a/>", 1000) + "</r>"), "");
}

TEST(XmlReader, ReadsNoFurther_WhenItHasRefusedADocument) {
    const std::string doctype = "<!DOCTYPE r [<!ATTLIST a b CDATA '" + std::string(30000, 'x') + "'>]>";
    const std::string gibibyte = doctype + "<r>" + Repeated("<a/>", 40000) + "</r>";
    const auto mebibytesOfMemory = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024;
    };
    const int more = testsupport::InChild([&] {
        const long before = mebibytesOfMemory();
        EXPECT_EQ(ReasonOf(gibibyte), "content over 32 MiB");
        return mebibytesOfMemory() - before < 500 ? 0 : 1;
    });
    EXPECT_EQ(more, 0) << "more than 500 MiB";
}

TEST(XmlReader, RefusesADocumentTypeDeclarationOver32KiB) {
    constexpr const char* reason = "document type declaration over 32 KiB";
    const auto inDoctype = [](const std::string& declarations) {
        return "<!DOCTYPE a [" + declarations + "]><a/>";
    };
    std::string attributes;
    std::string entities;
    for (int i = 0; i < 3000; ++i) {
        attributes += "<!ATTLIST a b" + std::to_string(i) + " CDATA ''>";
        entities += "<!ENTITY e" + std::to_string(i) + " ''>";
    }
    EXPECT_EQ(ReasonOf(inDoctype(attributes)), reason);
    EXPECT_EQ(ReasonOf(inDoctype(entities)), reason);
    EXPECT_EQ(
        ReasonOf(inDoctype("<!ELEMENT a " + std::string(40000, '(') + "b" + std::string(40000, ')') + ">")),
        reason);
    EXPECT_EQ(ReasonOf(inDoctype(attributes.substr(0, attributes.find("<!ATTLIST a b900 ")))), "");
}

TEST(XmlReader, ExpandsAsManyNestedEntitiesAsFit) {
    std::string doctype = "<!DOCTYPE a [<!ENTITY e0 'deep'>";
    int last = 0;
    while (doctype.size() < 32000) {
        doctype += "<!ENTITY e" + std::to_string(last + 1) + " '&e" + std::to_string(last) + ";'>";
        ++last;
    }
    const std::string reference = "&e" + std::to_string(last) + ";";
    EXPECT_EQ(ContentOf(doctype + "]><a b='" + reference + "'>" + reference + "</a>"), "deep b=deep");
}

TEST(XmlReader, ReadsUpTo16MiB) {
    const std::string largest = "<a>" + std::string(16 * kMiB - 7, 'x') + "</a>";
    EXPECT_EQ(RefusalOf(largest), "");
    EXPECT_EQ(RefusalOf(largest + "\n"), "1:1: document over 16 MiB");
}

TEST(XmlReader, ReadsTokensOfAnyLength) {
    EXPECT_EQ(RefusalOf("<a><!--" + std::string(15 * kMiB, 'x') + "--></a>"), "");
    EXPECT_EQ(RefusalOf("<a b='" + std::string(15 * kMiB, 'x') + "'/>"), "");
    EXPECT_EQ(RefusalOf("<a" + std::string(15 * kMiB, 'x')), "1:1: unclosed token");
}
