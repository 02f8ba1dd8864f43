// Handles: building a tree, looking up in it, and how long it lives. Writing: the exact text.
#include <gtest/gtest.h>

#include <thread>

#include "xmlTesting.h"

namespace {

TEST(Write, AnswerIsIndentedByTabs) {
    XMLNode root = XMLNode::createTopNode("ZelvDocRoot");
    root.addAttribute("version", "1.2");
    root.addChild("torvik_ver").addText("2.1.0");
    XMLNode item = root.addChild("item");
    item.addAttribute("active", "a<b");
    item.addChild("empty").addText("");
    item.addText("1 & 2");
    int size = 0;
    char* const text = root.createString(1, &size);
    EXPECT_STREQ(text,
                 "<ZelvDocRoot version=\"1.2\">\n"
                 "\t<torvik_ver>\n"
                 "\t\t2.1.0\n"
                 "\t</torvik_ver>\n"
                 "\t<item active=\"a&lt;b\">\n"
                 "\t\t<empty/>\n"
                 "\t\t1 &amp; 2\n"
                 "\t</item>\n"
                 "</ZelvDocRoot>\n");
    EXPECT_EQ(size, static_cast<int>(std::string(text).size()));
    std::free(text);
    EXPECT_EQ(written(item, 1), "<item active=\"a&lt;b\">\n\t<empty/>\n\t1 &amp; 2\n</item>\n");
}

struct WriteCase {
    const char* text;
    const char* indented;
    const char* plain;
};

TEST(Write, LayoutFollowsTheFormat) {
    const WriteCase rows[] = {
        {"<a/>", "<a/>\n", "<a/>"},
        {"<?xml version='1.0'?><a>x</a>", "<?xml version=\"1.0\"?>\n<a>\n\tx\n</a>\n",
         "<?xml version=\"1.0\"?><a>x</a>"},
        {"x<a><?b?><c/>y</a>", "x\n<a>\n\t<?b?>\n\t<c/>\n\ty\n</a>\n", "x<a><?b?><c/>y</a>"},
        {"<a><b>x<!--1--><c/></b></a>", "<a>\n\t<b>\n\t\tx\n<!--1-->\t\t<c/>\n\t</b>\n</a>\n",
         "<a><b>x<!--1--><c/></b></a>"},
        {"<a><![CDATA[x]]></a>", "<a>\n<![CDATA[x]]></a>\n", "<a><![CDATA[x]]></a>"},
        {"<a b c=''>&amp;&lt;&gt;&quot;&apos;\xE2\x82\xAC</a>",
         "<a b c=\"\">\n\t&amp;&lt;&gt;&quot;&apos;\xE2\x82\xAC\n</a>\n",
         "<a b c=\"\">&amp;&lt;&gt;&quot;&apos;\xE2\x82\xAC</a>"},
    };
    for (const WriteCase& row : rows) {
        const XMLNode node = XMLNode::parseString(row.text);
        EXPECT_EQ(written(node, 1), row.indented) << row.text;
        EXPECT_EQ(written(node, 0), row.plain) << row.text;
        EXPECT_EQ(written(XMLNode::parseString(row.indented), 1), row.indented) << "read back";
        XMLSettings keepWhitespace;
        keepWhitespace.dropWhitespace = false;
        const SettingsGuard guard(keepWhitespace);
        EXPECT_EQ(written(node, 1), row.plain) << "no layout where white space counts";
    }
}

TEST(Build, PositionsCountInDocumentOrder) {
    XMLNode node = XMLNode::createTopNode("a");
    node.addText("2");
    XMLNode last = node.addChild("z", false, 9);
    node.addChild("b", false, 0);
    node.addText("1", 1);
    node.addChild("?", false, 2);
    node.addChild("d", true, -1);
    last.addText("x");
    EXPECT_EQ(written(node), "<a><b/>1<?/>2<z>x</z><?d?></a>");
    EXPECT_STREQ(node.text(0), "1");
    EXPECT_STREQ(node.text(1), "2");
    EXPECT_STREQ(node.childNode(2).name(), "z");
    EXPECT_TRUE(node.childNode(3).isDeclaration());
}

TEST(Build, ManyItemsAfterAParseKeepTheirOrder) {
    XMLNode node = XMLNode::parseString("<a x='1' y='2' z='3'><b/>t<c/>u<d/></a>");
    std::string expected = "<a x=\"1\" y=\"2\" z=\"3\" k=\"v\" k=\"v\"><b/>t<c/>u<d/>";
    node.addAttribute("k", "v");
    EXPECT_STREQ(node.addAttribute("k", "v")->value, "v");
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        EXPECT_EQ(node.addText(number.c_str()), number);
        EXPECT_STREQ(node.addChild("e").name(), "e");
        expected += number + "<e/>";
    }
    EXPECT_EQ(written(node), expected + "</a>");
}

TEST(Build, NothingIsAddedToTheEmptyNodeOrFromNothing) {
    XMLNode empty;
    EXPECT_TRUE(empty.addChild("a").isEmpty());
    EXPECT_EQ(empty.addAttribute("a", "b"), nullptr);
    EXPECT_EQ(empty.addText("a"), nullptr);
    XMLNode node = XMLNode::createTopNode("a");
    EXPECT_TRUE(node.addChild(nullptr).isEmpty());
    EXPECT_EQ(node.addAttribute(nullptr, "x"), nullptr);
    EXPECT_EQ(node.addText(nullptr), nullptr);
    EXPECT_EQ(node.addText(""), nullptr);
    EXPECT_EQ(node.addAttribute("b", nullptr)->value, nullptr);
    EXPECT_EQ(written(node), "<a b/>");
}

class Lookup : public testing::Test {
  protected:
    const XMLNode m_node =
        XMLNode::parseString("<r>t<b n='0'/><A n='1'/><a n='2'/>u<c n='3'/><a n='4'/></r>");

    /// The number that the document gives to a node.
    static std::string numberOf(const XMLNode& node) {
        return node.isEmpty() ? "none" : node.attribute(0)->value;
    }
};

TEST_F(Lookup, IndexPointerWalksAllOfAName) {
    std::string found;
    int index = 0;
    for (XMLNode child = m_node.childNode("a", &index); !child.isEmpty();
         child = m_node.childNode("a", &index)) {
        found += numberOf(child) + "@" + std::to_string(index) + " ";
    }
    EXPECT_EQ(found, "1@2 2@3 4@5 ");
    EXPECT_EQ(index, 5);
    index = -3;
    EXPECT_EQ(numberOf(m_node.childNode("b", &index)), "0");
    index = 99;
    EXPECT_TRUE(m_node.childNode("b", &index).isEmpty());
    EXPECT_EQ(numberOf(m_node.childNode("C")), "3");
    EXPECT_TRUE(m_node.childNode("aa").isEmpty());
}

TEST_F(Lookup, NumbersIndexesAndCounts) {
    const std::pair<int, const char*> byNumber[] = {{0, "1"},    {1, "2"},  {2, "4"},
                                                    {3, "none"}, {-1, "4"}, {-7, "4"}};
    for (const auto& [number, expected] : byNumber) {
        EXPECT_EQ(numberOf(m_node.childNode("a", number)), expected) << number;
    }
    EXPECT_TRUE(m_node.childNode("x", -1).isEmpty());
    const std::pair<int, const char*> byIndex[] = {{0, "0"}, {4, "4"}, {5, "none"}, {-1, "none"}};
    for (const auto& [index, expected] : byIndex) {
        EXPECT_EQ(numberOf(m_node.childNode(index)), expected) << index;
    }
    EXPECT_EQ(m_node.childCount(), 5);
    EXPECT_EQ(m_node.childCount("A"), 3);
    EXPECT_EQ(m_node.childCount("x"), 0);
    EXPECT_STREQ(m_node.text(1), "u");
    EXPECT_EQ(m_node.text(2), nullptr);
    EXPECT_EQ(m_node.text(-1), nullptr);
    EXPECT_EQ(m_node.attribute(0), nullptr);
}

TEST_F(Lookup, EmptyNodeAnswersEverything) {
    const XMLNode empty = m_node.childNode(17);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.name(), nullptr);
    EXPECT_EQ(empty.text(), nullptr);
    EXPECT_EQ(empty.attribute(0), nullptr);
    EXPECT_EQ(empty.clearSection(0), nullptr);
    EXPECT_EQ(empty.childCount() + empty.childCount("a"), 0);
    EXPECT_FALSE(empty.isDeclaration());
    EXPECT_TRUE(empty.childNode("a").childNode("b", -1).childNode(0).isEmpty());
    int size = 1;
    EXPECT_EQ(empty.createString(1, &size), nullptr);
    EXPECT_EQ(size, 0);
}

TEST(Lookups, UnnamedNodeHoldsTheWholeDocument) {
    const XMLNode document = XMLNode::parseString("<?xml?><!--c--><a/>");
    EXPECT_EQ(document.name(), nullptr);
    EXPECT_TRUE(document.childNode(0).isDeclaration());
    EXPECT_STREQ(document.clearSection(0)->content, "c");
    EXPECT_STREQ(document.clearSection(0)->openTag, "<!--");
    EXPECT_STREQ(document.clearSection(0)->closeTag, "-->");
}

TEST(Lifetime, AnyHandleKeepsItsSubtree) {
    XMLNode child;
    {
        XMLNode top = XMLNode::parseString("<a><b>x<c d='1'/></b></a>");
        child = top.childNode("b");
        const XMLNode& same = top;
        top = same;
        EXPECT_STREQ(top.name(), "a");
        const XMLNode moved = std::move(top);
        top = XMLNode::createTopNode("other");
        EXPECT_STREQ(moved.name(), "a");
    }
    child.addChild("e").addText("y");
    EXPECT_EQ(written(child), "<b>x<c d=\"1\"/><e>y</e></b>");
    child = child.childNode("c");
    EXPECT_EQ(written(child), "<c d=\"1\"/>");
    child = child.childNode("none");
    EXPECT_TRUE(child.isEmpty());
}

// The registry watcher parses descriptors while requests are parsed: ThreadSanitizer sees here
// whether trees of two threads, failed lookups included, share anything that is written.
TEST(Threads, WorkOnTreesOfTheirOwn) {
    auto work = [] {
        for (int i = 0; i < 200; ++i) {
            XMLNode node = XMLNode::parseString("<a><b>x</b></a>", "a");
            const XMLNode missing = node.childNode("none");
            node.addChild("c").addText(node.childNode("b").text());
            const XMLNode copy = missing;
            EXPECT_TRUE(copy.isEmpty());
            EXPECT_EQ(written(node), "<a><b>x</b><c>x</c></a>");
        }
    };
    std::thread other(work);
    work();
    other.join();
}

TEST(Library, MessagesAndVersion) {
    const std::pair<int, const char*> rows[] = {
        {0, "No error"},
        {1, "Warning: Unmatched end tag"},
        {2, "Warning: No XML tag found"},
        {3, "Error: No XML data"},
        {6, "Error: Unmatched end tag"},
        {11, "Error: First Tag not found"},
        {13, "Error: Character code above 255 is forbidden in MultiByte char mode."},
        {16, "Error: cannot write into file"},
        {20, "Error: Base64 decode output buffer is too small"},
        {21, "Unknown"},
        {-1, "Unknown"},
    };
    for (const auto& [code, message] : rows) {
        EXPECT_STREQ(XMLNode::errorText(static_cast<XMLError>(code)), message);
    }
    EXPECT_STREQ(XMLNode::versionString(), "v2.40");
}

}  // namespace
