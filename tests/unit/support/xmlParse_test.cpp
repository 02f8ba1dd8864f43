// Parsing: what becomes of a text, well-formed or not, and where an error is said to be.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/xmlParseContext.h"
#include "xmlTesting.h"

namespace {

struct ParseCase {
    const char* what;
    const char* text;
    const char* result;  // written without layout
};

class Parse : public testing::TestWithParam<ParseCase> {};

TEST_P(Parse, WithoutError) {
    const ParseCase& row = GetParam();
    XMLResults results{XMLError::cannotWrite, 7, 7};
    EXPECT_EQ(written(XMLNode::parseString(row.text, nullptr, &results)), row.result) << row.what;
    EXPECT_EQ(results.error, XMLError::none) << row.what;
    EXPECT_EQ(results.line, 0);
    EXPECT_EQ(results.column, 0);
}

constexpr ParseCase wellFormed[] = {
    {"nested", "<a><b/></a>", "<a><b/></a>"},
    {"end tag in another case", "<Name>x</nAME >", "<Name>x</Name>"},
    {"space inside tags", "< a\n b = '1'\t>x</ a\n>", "<a b=\"1\">x</a>"},
    {"all kinds of values", "<a b=1 c='2' d=\"3\" e f=x/y/>",
     "<a b=\"1\" c=\"2\" d=\"3\" e f=\"x/y\"/>"},
    {"other quote inside", "<a b='\"' c=\"'\" d=\"\"/>", "<a b=\"&quot;\" c=\"&apos;\" d=\"\"/>"},
    {"markup inside a value", "<a b='/> x=\"1\" >'/>", "<a b=\"/&gt; x=&quot;1&quot; &gt;\"/>"},
    {"lone quotes are text", "<a b='x c=\"y>it is</a><d>it's 5\" 'or</d>",
     "<a b=\"&apos;x\" c=\"&quot;y\">it is</a><d>it&apos;s 5&quot; &apos;or</d>"},
    {"entities in values and texts", "<a b='&lt;&#x41;'>&gt;&#66;</a>", "<a b=\"&lt;A\">&gt;B</a>"},
    {"equals in text", "<a>x=y = z</a>", "<a>x=y = z</a>"},
    {"quoted text hides a tag close", "<a>if \"x > y\" or ='/>' so</a>",
     "<a>if &quot;x &gt; y&quot; or =&apos;/&gt;&apos; so</a>"},
    {"slash in text", "<a>/x/ y/</a>", "<a>/x/ y/</a>"},
    {"texts are trimmed, inner space stays", "<a>\t abc \n def\r\n<b/> \n </a>",
     "<a>abc \n def<b/></a>"},
    {"declaration and element", "<?xml version='1.0' encoding=UTF-8?><a/>",
     "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>"},
    {"question mark after space, after name, after a bare attribute",
     "<?x a='1' ? ><?y?><?z standalone?><a/>", "<?x a=\"1\"?><?y?><?z standalone?><a/>"},
    {"question mark within a word", "<?x a=b?c?><a/>", "<?x a=\"b?c\"?><a/>"},
    {"text around the element", "x<a/>y", "x<a/>y"},
    {"clear sections keep markup", "<a><![CDATA[<b>&lt;]]]]><PRE> <i> &amp;\n</PRE></a>",
     "<a><![CDATA[<b>&lt;]]]]><PRE> <i> &amp;\n</PRE></a>"},
    {"document type ends at the first tag close", "<!DOCTYPE a SYSTEM \"x\"><a/>",
     "<!DOCTYPE a SYSTEM \"x\"><a/>"},
    {"clear markers are case-sensitive", "<a><pre>x</pre></a>", "<a><pre>x</pre></a>"},
    {"comment with markup", "<a><!-- <b> -- > --></a>", "<a><!-- <b> -- > --></a>"},
    {"multi-byte names", "<\xC3\xA4>\xE2\x82\xAC</\xC3\xA4>", "<\xC3\xA4>\xE2\x82\xAC</\xC3\xA4>"},
};

INSTANTIATE_TEST_SUITE_P(All, Parse, testing::ValuesIn(wellFormed));

struct ErrorCase {
    const char* text;
    const char* tag;
    int code;
    int line;
    int column;
    const char* result;
};

class ParseError : public testing::TestWithParam<ErrorCase> {};

TEST_P(ParseError, CodeAndPlace) {
    const ErrorCase& row = GetParam();
    XMLResults results{};
    const XMLNode node = XMLNode::parseString(row.text, row.tag, &results);
    EXPECT_EQ(static_cast<int>(results.error), row.code) << row.text;
    EXPECT_EQ(results.line, row.line) << row.text;
    EXPECT_EQ(results.column, row.column) << row.text;
    EXPECT_EQ(written(node), row.result) << row.text;
    EXPECT_EQ(written(XMLNode::parseString(row.text, row.tag)), row.result) << "without results";
}

constexpr ErrorCase malformed[] = {
    // Warnings: the first one is reported, the tree is there.
    {"<a>\n<b><c></a><d>", nullptr, 1, 2, 7, "<a><b><c/></b></a><d/>"},
    {"<a>\n <b>x", nullptr, 1, 2, 6, "<a><b>x</b></a>"},
    {"<a><A></a></a><b><c></b>", nullptr, 1, 1, 21, "<a><A/></a><b><c/></b>"},
    {"", nullptr, 2, 1, 1, ""},
    {"x\ny ", nullptr, 2, 2, 3, "x\ny"},
    {"<!--x-->", nullptr, 2, 1, 9, "<!--x-->"},
    // Errors.
    {nullptr, nullptr, 9, 0, 0, "(none)"},
    {"<a><", nullptr, 4, 1, 5, "(none)"},
    {"<a>\n\xC3\xA4 < >", nullptr, 4, 2, 5, "(none)"},
    {"<\"a\">", nullptr, 4, 1, 2, "(none)"},
    {"<?"
     "?>",
     nullptr, 4, 1, 3, "(none)"},
    {"<a></>", nullptr, 5, 1, 6, "(none)"},
    {"<a></", nullptr, 5, 1, 6, "(none)"},
    {"<a/>\r\n</a>", nullptr, 6, 2, 1, "(none)"},
    {"<a><b></c></b></a>", nullptr, 6, 1, 7, "(none)"},
    {"<a><b></a></b>", nullptr, 6, 1, 11, "(none)"},
    {"<a><!-- x</a>", nullptr, 7, 1, 4, "(none)"},
    {"<![CDATA[x]]", nullptr, 7, 1, 1, "(none)"},
    {"<a b", nullptr, 8, 1, 5, "(none)"},
    {"<a <b/>", nullptr, 8, 1, 4, "(none)"},
    {"<a =b/>", nullptr, 8, 1, 4, "(none)"},
    {"<a b=>", nullptr, 8, 1, 6, "(none)"},
    {"<a b==c>", nullptr, 8, 1, 6, "(none)"},
    {"<a 'b'/>", nullptr, 8, 1, 4, "(none)"},
    {"<a b='<'/>", nullptr, 8, 1, 7, "(none)"},
    {"<a>x > y</a>", nullptr, 8, 1, 6, "(none)"},
    {"<a>x /> y</a>", nullptr, 8, 1, 6, "(none)"},
    {"<a></a b>", nullptr, 8, 1, 8, "(none)"},
    {"<!DOCTYPE a [<!ELEMENT a ANY>]><a/>", nullptr, 8, 1, 31, "(none)"},
    {"<a>x &#65</a>", nullptr, 12, 1, 6, "(none)"},
    {"<a b='y\n&#x;'/>", nullptr, 12, 2, 1, "(none)"},
    // The element asked for.
    {"<b/>", "a", 11, 0, 0, "(none)"},
    {"", "a", 11, 0, 0, "(none)"},
    {"<a><b></a>", "c", 11, 0, 0, "(none)"},
    {"<b", "a", 8, 1, 3, "(none)"},
    {"<a><b/></a>", "A", 0, 0, 0, "<a><b/></a>"},
    {"<a><b/></a>", "", 0, 0, 0, "<a><b/></a>"},
    {"<a>x<b/><B c='1'/></a>", "B", 0, 0, 0, "<b/>"},
    {"<?xml?><!--x-->\n<b/><a>y</a>", "a", 0, 0, 0, "<a>y</a>"},
    {"<a><b></a>", "b", 1, 1, 7, "<b/>"},
};

INSTANTIATE_TEST_SUITE_P(All, ParseError, testing::ValuesIn(malformed));

struct EntityCase {
    const char* text;
    const char* decoded;  // null: an unknown entity
};

TEST(Entities, AreDecodedInUtf8) {
    const EntityCase rows[] = {
        {"x &foo; y", "x &foo; y"},
        {"&AMP;&Lt;&gt;&QUOT;&apos;", "&<>\"'"},
        {"&amp;lt; &am &", "&lt; &am &"},
        {"&#65;&#x42;&#X43;", "ABC"},
        {"&#xe4;&#8364;&#x1F600;", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"&#x7f;&#x80;&#x7FF;&#x800;&#xFFFF;&#x10000;&#x10FFFF;",
         "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
        {"&#", "&#"},
        {"\xC3&lt;", "\xC3<"},
        {"&#;", nullptr},
        {"&#x;", nullptr},
        {"&#6", nullptr},
        {"&#6a;", nullptr},
        {"&#xg;", nullptr},
        {"&#0;", nullptr},
        {"&#x110000;", nullptr},
        {"&#4294967361;", nullptr},
        {"&#xD800;", nullptr},
    };
    for (const EntityCase& row : rows) {
        XMLResults results{};
        const XMLNode node =
            XMLNode::parseString((std::string("<a>") + row.text + "</a>").c_str(), "a", &results);
        EXPECT_STREQ(node.text(), row.decoded) << row.text;
        EXPECT_EQ(results.error, row.decoded == nullptr ? XMLError::unknownEntity : XMLError::none);
    }
}

TEST(Entities, AreLimitedToOneByteInOtherEncodings) {
    XMLSettings settings;
    settings.encoding = XMLEncoding::singleByte;
    const SettingsGuard guard(settings);
    XMLResults results{};
    EXPECT_STREQ(XMLNode::parseString("<a>&#xE9;</a>").text(), "\xE9");
    XMLNode::parseString("<a>\xC3\xA4&#256;</a>", nullptr, &results);
    EXPECT_EQ(results.error, XMLError::characterAbove255);
    EXPECT_EQ(results.column, 6);  // both bytes in front are characters
}

struct TextCase {
    const char* text;
    bool dropWhitespace;
    bool merge;
    std::vector<const char*> texts;
    int clears;
};

TEST(Texts, AreTrimmedAndMergedBySettings) {
    const TextCase rows[] = {
        {"<a>x<!--1-->y</a>", true, true, {"xy"}, 0},
        {"<a> x <!--1--> &lt;y <!----> z<!--3--></a>", true, true, {"x<yz"}, 1},
        {"<a>x<!--1--> <!--2-->y</a>", true, true, {"x", "y"}, 2},
        {"<a>x<![CDATA[1]]>y</a>", true, true, {"x", "y"}, 1},
        {"<a>x<b/><!--1-->y</a>", true, true, {"x", "y"}, 1},
        {"<a><!--1-->y<b>z</b></a>", true, true, {"y"}, 1},
        {"<a>x<!--1-->y</a>", true, false, {"x", "y"}, 1},
        {"<a> x <b/>\n</a>", false, true, {" x ", "\n"}, 0},
        {"<a><b/></a>", false, true, {}, 0},
        {"<a> x <!--1--> y</a>", false, true, {" x  y"}, 0},
    };
    for (const TextCase& row : rows) {
        XMLSettings settings;
        settings.dropWhitespace = row.dropWhitespace;
        settings.mergeTextsAroundComments = row.merge;
        const SettingsGuard guard(settings);
        const XMLNode node = XMLNode::parseString(row.text);
        ASSERT_EQ(node.textCount(), static_cast<int>(row.texts.size())) << row.text;
        for (size_t i = 0; i < row.texts.size(); ++i) {
            EXPECT_STREQ(node.text(static_cast<int>(i)), row.texts[i]) << row.text;
        }
        EXPECT_EQ(node.clearCount(), row.clears) << row.text;
    }
}

TEST(Texts, MergedLengthsHoldForWriting) {
    EXPECT_EQ(written(XMLNode::parseString("<a>&lt;<!-- -->&amp;<!-- -->'</a>")),
              "<a>&lt;&amp;&apos;</a>");
}

const char nasty[] =
    "\xEF\xBB\xBF<?xml version='1.0' encoding=\"UTF-8\"?>\n<!DOCTYPE a><!-- c -->\n"
    "<ZelvDocRoot v=\"1&#x32;\" w='&quot;' x y=z/>text \xE2\x82\xAC &amp; &#8364; \"q > r\" it's"
    "<a b = 'c' ><PRE> </b> </PRE><![CDATA[ ]] ]]><b>1<!-- - -->2</B></a>\xF0\x9F\xC3</a>";

TEST(Hostile, EveryPrefixAndEveryDamagedByteIsTaken) {
    // The text is an exact allocation, so that a sanitizer sees a read beyond its end.
    const size_t length = std::strlen(nasty);
    for (size_t cut = 0; cut <= length; ++cut) {
        const auto text = std::make_unique<char[]>(cut + 1);
        std::memcpy(text.get(), nasty, cut);
        XMLResults results{};
        for (const char damage : std::string_view("\0<>/\"'&=\xF4", 9)) {
            if (cut > 0) {
                text[cut - 1] = damage;
            }
            const XMLNode node = XMLNode::parseString(text.get(), nullptr, &results);
            EXPECT_EQ(node.isEmpty(), results.error >= XMLError::noXmlData) << text.get();
            EXPECT_EQ(written(node) == "(none)", node.isEmpty());
        }
    }
}

TEST(Hostile, WrittenTextsComeBackTheSame) {
    XMLNode node = XMLNode::createTopNode("a");
    node.addAttribute("b", "\"<'>&amp;\xC3");
    node.addText("\xC3<c/>&#65;\xE2\x82\xAC\xF0&");
    const XMLNode back = XMLNode::parseString(written(node, 1).c_str());
    EXPECT_STREQ(back.attribute(0)->value, node.attribute(0)->value);
    EXPECT_STREQ(back.text(), node.text());
    EXPECT_EQ(back.childCount(), 0);
}

TEST(Hostile, NestingIsNotLimitedByTheStack) {
    constexpr int levels = 200000;
    std::string text;
    for (int i = 0; i < levels; ++i) {
        text += "<a>";
    }
    XMLResults results{};
    const std::string open = text;
    for (int i = 1; i < levels; ++i) {
        text += "</a>";
    }
    text += "</A>";
    XMLNode top = XMLNode::parseString(text.c_str(), "a", &results);
    EXPECT_EQ(results.error, XMLError::none);
    const std::string back = written(top);
    EXPECT_EQ(back.size(), text.size() - 3);  // the innermost element is written as <a/>
    EXPECT_EQ(back.substr(3 * (levels - 2), 11), "<a><a/></a>");
    // Indented, each level adds a tab to each line: more than a text can hold.
    int size = 1;
    EXPECT_EQ(top.createString(1, &size), nullptr);
    EXPECT_EQ(size, 0);

    top = XMLNode::parseString(open.c_str(), nullptr, &results);
    EXPECT_EQ(results.error, XMLError::unmatchedEndTagWarning);
    EXPECT_EQ(results.column, 3 * levels + 1);
    int depth = 0;
    for (XMLNode node = top; !node.isEmpty(); node = node.childNode(0)) {
        ++depth;
    }
    EXPECT_EQ(depth, levels);
}

TEST(Assertions, NameTheParser) {
    EXPECT_DEATH(support::xml::ParseXMLElement(nullptr), "xmlParser.*ParseXMLElement");
}

}  // namespace
