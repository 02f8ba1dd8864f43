// Handles: building a tree, looking up in it, and how long it lives. Writing: the exact text.
#include <gtest/gtest.h>

#include "xmlTesting.h"

namespace {

TEST(Write, LayoutFollowsTheFormat) {
    const std::pair<const char*, std::string> rows[] = {
        {"<a/>", "<a/>\n"},
        {"<?xml v=\"1\"?><a>x</a>", "<?xml v=\"1\"?>\n<a>\n\tx\n</a>\n"},
        {"<a><b>x<!--1--><c/></b></a>", "<a>\n\t<b>\n\t\tx\n<!--1-->\t\t<c/>\n\t</b>\n</a>\n"},
        {"<a b c=\"\">&amp;&lt;&gt;</a>", "<a b c=\"\">\n\t&amp;&lt;&gt;\n</a>\n"},
    };
    for (const auto& [plain, indented] : rows) {
        const XMLNode node = XMLNode::parseString(plain);
        int size = 0;
        free(node.createString(1, &size));
        EXPECT_EQ(static_cast<size_t>(size), indented.size());
        EXPECT_EQ(written(node, 1), indented);
        EXPECT_EQ(written(node, 0), plain);
        EXPECT_EQ(written(XMLNode::parseString(indented.c_str()), 1), indented) << "read back";
        const SettingsGuard keepWhitespace({.dropWhitespace = false});
        EXPECT_EQ(written(node, 1), plain) << "no layout where white space counts";
    }
}

TEST(Build, ManyItemsAfterAParseKeepTheirOrder) {
    XMLNode node = XMLNode::parseString("<a x='1'><b/>t<c/>u<d/></a>");
    std::string expected = "<a x=\"1\" k=\"v\"><b/>t<c/>u<d/>";
    EXPECT_STREQ(node.addAttribute("k", "v")->value, "v");
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(node.addText(number.c_str()), number);
        EXPECT_STREQ(node.addChild("e").name(), "e");
        expected += number + "<e/>";
    }
    EXPECT_EQ(written(node), expected + "</a>");
}

TEST(Build, ContentOfOneKindTakesAnyOther) {
    const struct {
        const char* text;
        int position;
        const char* withText;
        const char* withChild;
    } rows[] = {
        {"<a><b/><c/></a>", 1, "<a><b/>t<c/></a>", "<a><b/><e/>t<c/></a>"},
        {"<a><b/><c/></a>", 0, "<a>t<b/><c/></a>", "<a><e/>t<b/><c/></a>"},
        {"<a>x</a>", 0, "<a>tx</a>", "<a><e/>tx</a>"},
        {"<a><!--1--></a>", -1, "<a><!--1-->t</a>", "<a><!--1-->t<e/></a>"},
    };
    for (const auto& row : rows) {
        XMLNode node = XMLNode::parseString(row.text);
        node.addText("t", row.position);
        EXPECT_EQ(written(node), row.withText);
        node.addChild("e", false, row.position);
        EXPECT_EQ(written(node), row.withChild);
    }
    XMLNode node = XMLNode::parseString("<a><b/><c/></a>");
    node.addChild("e", false, 1).addChild("f");
    EXPECT_EQ(written(node), "<a><b/><e><f/></e><c/></a>");
}

/// The number that a document gives to a node.
std::string numberOf(const XMLNode& node) {
    return node.isEmpty() ? "none" : node.attribute(0)->value;
}

TEST(Lookup, WalksCountsAndIndexes) {
    const XMLNode node =
        XMLNode::parseString("<r>t<b n='0'/><A n='1'/><a n='2'/>u<c n='3'/><a n='4'/></r>");
    std::string found;
    int index = -3;
    for (XMLNode child; !(child = node.childNode("a", &index)).isEmpty();) {
        found += numberOf(child) + "@" + std::to_string(index) + " ";
    }
    EXPECT_EQ(found, "1@2 2@3 4@5 ");
    std::string byNumber;
    std::string byIndex;
    for (const int number : {-7, -1, 0, 1, 2, 3, 4, 5}) {
        byNumber += numberOf(node.childNode("a", number)) + " ";
        byIndex += numberOf(node.childNode(number)) + " ";
    }
    EXPECT_EQ(byNumber, "4 4 1 2 4 none none none ");
    EXPECT_EQ(byIndex, "none none 0 1 2 3 4 none ");
    EXPECT_EQ(node.childCount(), 5);
    EXPECT_EQ(node.childCount("A"), 3);
    EXPECT_STREQ(node.text(1), "u");
    EXPECT_TRUE(node.text(2) == nullptr && node.text(-1) == nullptr);
    EXPECT_EQ(node.attribute(0), nullptr);
}

TEST(EmptyNode, AnswersEverythingAndTakesNothing) {
    XMLNode empty = XMLNode::parseString("<a/>").childNode(17);
    EXPECT_TRUE(empty.isEmpty() && empty.name() == nullptr && empty.text() == nullptr);
    EXPECT_TRUE(empty.attribute(0) == nullptr && empty.clearSection(0) == nullptr);
    EXPECT_EQ(empty.childCount() + empty.childCount("a"), 0);
    EXPECT_FALSE(empty.isDeclaration());
    EXPECT_TRUE(empty.childNode("a").childNode("b", -1).childNode(0).isEmpty());
    EXPECT_EQ(written(empty), "(none)");
    EXPECT_TRUE(empty.addChild("a").isEmpty());
    EXPECT_TRUE(empty.addAttribute("a", "b") == nullptr && empty.addText("a") == nullptr);
    XMLNode node = XMLNode::createTopNode("a");
    EXPECT_TRUE(node.addChild(nullptr).isEmpty() && node.addAttribute(nullptr, "x") == nullptr);
    EXPECT_TRUE(node.addText(nullptr) == nullptr && node.addText("") == nullptr);
    EXPECT_EQ(node.addAttribute("b", nullptr)->value, nullptr);
    EXPECT_EQ(written(node), "<a b/>");
}

TEST(Lifetime, AnyHandleKeepsItsSubtree) {
    XMLNode child;
    {
        XMLNode top = XMLNode::parseString("<a><b>x<c d='1'/></b></a>");
        child = top.childNode("b");
        const XMLNode& same = top;
        top = same;
        const XMLNode moved = std::move(top);
        top = XMLNode::createTopNode("other");
        EXPECT_STREQ(moved.name(), "a");
    }
    child.addChild("e").addText("y");
    EXPECT_EQ(written(child), "<b>x<c d=\"1\"/><e>y</e></b>");
    child = child.childNode("c");
    EXPECT_EQ(written(child), "<c d=\"1\"/>");
}

}  // namespace
