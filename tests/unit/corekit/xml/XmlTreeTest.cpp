// A document's elements in flat arrays.
#include <gtest/gtest.h>

#include "corekit/xml/detail/XmlTree.h"

using corekit::XmlTree;

namespace {

/// <r>1<a x="1" y=""><b>2</b></a>3<b/></r>: r is 0, a is 1, the two b are 2 and 3.
XmlTree SmallTree() {
    XmlTree tree;
    tree.Open("r", 0);
    tree.AddText("1");
    tree.Open("a", 4);
    tree.AddAttribute("x", "1");
    tree.AddAttribute("y", "");
    tree.Open("b", 16);
    tree.AddText("2");
    tree.Close();
    tree.Close();
    tree.AddText("3");
    tree.Open("b", 29);
    tree.Close();
    tree.Close();
    return tree;
}

std::string AttributesOf(const XmlTree& tree, std::size_t element) {
    std::string all;
    tree.ForEachAttribute(element, [&all](std::string_view name, std::string_view value) {
        all.append(name).append("=").append(value).append(";");
    });
    return all;
}

}  // namespace

TEST(XmlTree, FindsElementsWithinAnElementByNameAndIndex) {
    const XmlTree tree = SmallTree();
    EXPECT_EQ(tree.Find(0, "r", 0), 0u);
    EXPECT_EQ(tree.Find(0, "b", 0), 2u);
    EXPECT_EQ(tree.Find(0, "b", 1), 3u);
    EXPECT_EQ(tree.Find(0, "b", 2), XmlTree::kNone);
    EXPECT_EQ(tree.Find(1, "b", 0), 2u);
    EXPECT_EQ(tree.Find(1, "b", 1), XmlTree::kNone);
    EXPECT_EQ(tree.Find(1, "r", 0), XmlTree::kNone);
    EXPECT_EQ(tree.Find(3, "b", 0), 3u);
    EXPECT_EQ(tree.Find(0, "c", 0), XmlTree::kNone);
    EXPECT_EQ(tree.Find(4, "b", 0), XmlTree::kNone);
    EXPECT_EQ(tree.Find(XmlTree::kNone, "b", 0), XmlTree::kNone);
}

TEST(XmlTree, GivesTheNameTheOffsetAndTheEndOfAnElement) {
    const XmlTree tree = SmallTree();
    const struct {
        const char* name;
        std::size_t offset, end;
    } table[] = {{"r", 0, 4}, {"a", 4, 3}, {"b", 16, 3}, {"b", 29, 4}};
    for (std::size_t element = 0; element < std::size(table); ++element) {
        EXPECT_EQ(tree.Name(element), table[element].name) << element;
        EXPECT_EQ(tree.Offset(element), table[element].offset) << element;
        EXPECT_EQ(tree.End(element), table[element].end) << element;
    }
}

TEST(XmlTree, JoinsAnElementsTextAroundItsChildren) {
    const XmlTree tree = SmallTree();
    EXPECT_EQ(tree.Text(0), "13");
    EXPECT_EQ(tree.Text(1), "");
    EXPECT_EQ(tree.Text(2), "2");
}

TEST(XmlTree, GivesAttributesInTheirOrder) {
    const XmlTree tree = SmallTree();
    EXPECT_EQ(AttributesOf(tree, 1), "x=1;y=;");
    EXPECT_EQ(AttributesOf(tree, 0), "");
    EXPECT_EQ(AttributesOf(tree, 3), "");
}

TEST(XmlTree, CountsTheBytesOfTextsAndAttributes) {
    EXPECT_EQ(XmlTree().ContentSize(), 0u);
    EXPECT_EQ(SmallTree().ContentSize(), 3u + sizeof "x" + sizeof "1" + sizeof "y" + sizeof "");
}

TEST(XmlTree, HoldsNothingAtFirst) {
    EXPECT_FALSE(XmlTree().Contains(0));
    EXPECT_EQ(XmlTree().Find(0, "r", 0), XmlTree::kNone);
    EXPECT_TRUE(SmallTree().Contains(3));
    EXPECT_FALSE(SmallTree().Contains(4));
}
