// Parsing: what becomes of a text, well-formed or not, and where an error is said to be.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "xmlTesting.h"

namespace {

using namespace std::string_literals;

TEST(Parse, WellFormedTextsAreWrittenBack) {
    const std::pair<const char*, const char*> rows[] = {
        {"< a\n b = '1'\t>x<B/></ A\n>", "<a b=\"1\">x<B/></a>"},
        {"<a b='\"' c=\"\" e f=x/y/>", "<a b=\"&quot;\" c=\"\" e f=\"x/y\"/>"},
        {"<a b='x>5\" or</a>", "<a b=\"&apos;x\">5&quot; or</a>"},
        {"<a b='&lt;&#x41;'>&gt;&#66;</a>", "<a b=\"&lt;A\">&gt;B</a>"},
        {"<a>x=y = z /x/ y/</a>", "<a>x=y = z /x/ y/</a>"},
        {"<a>if \"x > y\" or ='/>'</a>", "<a>if &quot;x &gt; y&quot; or =&apos;/&gt;&apos;</a>"},
        {"<a>\t abc \n def\r\n<b/> \n </a>", "<a>abc \n def<b/></a>"},
        {"<?x a='1' ? ><?y?><?z w?><?x a=b?c?>", "<?x a=\"1\"?><?y?><?z w?><?x a=\"b?c\"?>"},
        {"<![CDATA[<b>&lt;]]]]><PRE><i>\n</PRE><a/>", "<![CDATA[<b>&lt;]]]]><PRE><i>\n</PRE><a/>"},
        {"<a><!-- <b> -- > --></a>", "<a><!-- <b> -- > --></a>"},
        {"<'a>x</'a>", "<'a>x</'a>"},
        {"<b/ >x</b/ >", "<b/>x</b/>"},
        {"<longName1>x</longname1>", "<longName1>x</longName1>"},
    };
    for (const auto& [text, back] : rows) {
        XMLResults results{XMLError::cannotWrite, 7, 7};
        EXPECT_EQ(written(XMLNode::parseString(text, nullptr, &results)), back);
        EXPECT_EQ(results.error, XMLError::none) << text;
        EXPECT_EQ(results.line + results.column, 0) << text;
    }
}

TEST(Parse, ErrorsHaveACodeAndAPlace) {
    static constexpr const char* kNone = "(none)";
    const struct {
        const char* text;
        int code;
        int line;
        int column;
        const char* result = kNone;
        const char* tag = nullptr;
    } rows[] = {
        // Warnings: the first one is reported, the tree is there.
        {"<a>\n<b><c></a><d>", 1, 2, 7, "<a><b><c/></b></a><d/>"},
        {"<a><A></a></a><b><c></b>", 1, 1, 21, "<a><A/></a><b><c/></b>"},
        {"", 2, 1, 1, ""},
        {"x\ny ", 2, 2, 3, "x\ny"},
        {nullptr, 9, 0, 0},
        {"<a>\n\xC3\xA4 < >", 4, 2, 5},
        {"<a></>", 5, 1, 6},
        {"<'a></'a>'", 5, 1, 7},
        {"<a/ ></a/>", 8, 1, 9},
        {"<longName1></longName>", 6, 1, 12},
        {"<a/>\r\n</a>", 6, 2, 1},
        {"<a><!-- x</a>", 7, 1, 4},
        {"<a b", 8, 1, 5},
        {"<a b='<'/>", 8, 1, 7},
        {"<a>x > y</a>", 8, 1, 6},
        {"<a>x &#65</a>", 12, 1, 6},
        {"<a b='y\n&#x;'/>", 12, 2, 1},
        // The element asked for.
        {"<b/>", 11, 0, 0, kNone, "a"},
        {"<a><b></a>", 11, 0, 0, kNone, "c"},
        {"<a><b/></a>", 0, 0, 0, "<a><b/></a>", ""},
        {"<a>x<b/><B c='1'/></a>", 0, 0, 0, "<b/>", "B"},
        {"<?xml?><!--x-->\n<b/><a>y</a>", 0, 0, 0, "<a>y</a>", "A"},
    };
    for (const auto& row : rows) {
        XMLResults results{};
        const XMLNode node = XMLNode::parseString(row.text, row.tag, &results);
        EXPECT_EQ(written(node), row.result) << row.text;
        EXPECT_EQ(static_cast<int>(results.error), row.code) << row.text;
        EXPECT_EQ(results.line, row.line) << row.text;
        EXPECT_EQ(results.column, row.column) << row.text;
        EXPECT_EQ(written(XMLNode::parseString(row.text, row.tag)), row.result);
    }
}

TEST(Entities, AreDecodedInUtf8) {
    const std::pair<std::string, const char*> rows[] = {
        {"&AMP;&Lt;&gt;&QUOT;&apos;", "&<>\"'"},
        {"&amp;lt; \xC3&am &#", "&lt; \xC3&am &#"},
        {"&#65;&#x42;&#X43;", "ABC"},
        {"&#x7f;&#x80;&#x7FF;&#x800;&#xFFFF;", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
    };
    for (const auto& [text, decoded] : rows) {
        EXPECT_STREQ(XMLNode::parseString(("<a>" + text + "</a>").c_str(), "a").text(), decoded);
    }
    for (const std::string unknown :
         {"", "x", "6a", "xg", "0", "x110000", "4294967361", "xD800", "xDFFF"}) {
        XMLResults results{};
        XMLNode::parseString(("<a>&#" + unknown + ";</a>").c_str(), "a", &results);
        EXPECT_EQ(results.error, XMLError::unknownEntity) << unknown;
    }
}

TEST(Texts, AreTrimmedAndMerged) {
    const struct {
        const char* text;
        std::string texts;  ///< each between bars
        int clears;
    } rows[] = {
        {"<a>x<!--1-->y</a>", "|xy|", 0},
        {"<a> x <!--1--> &lt;y <!----> z<!--3--></a>", "|x<yz|", 1},
        {"<a>x<!--1--> <!--2-->y</a>", "|x||y|", 2},
        {"<a>x<![CDATA[1]]>y</a>", "|x||y|", 1},
        {"<a>x<b/><!--1-->y</a>", "|x||y|", 1},
        {"<a>x<!--1--><b/>y</a>", "|x||y|", 1},
    };
    for (const auto& row : rows) {
        const XMLNode node = XMLNode::parseString(row.text);
        std::string texts;
        for (int i = 0; i < node.textCount(); ++i) {
            texts += "|"s + node.text(i) + "|";
        }
        EXPECT_EQ(texts, row.texts) << row.text;
        EXPECT_EQ(node.clearCount(), row.clears) << row.text;
    }
}

TEST(Hostile, NestingIsNotLimitedByTheStack) {
    constexpr int kLevels = 200000;
    std::string text;
    for (int i = 0; i < kLevels; ++i) {
        text += "<a>";
    }
    XMLResults results{};
    const XMLNode node = XMLNode::parseString(text.c_str(), nullptr, &results);
    EXPECT_EQ(results.error, XMLError::unmatchedEndTagWarning);
    EXPECT_EQ(results.column, 3 * kLevels + 1);
    const std::string back = written(node);
    EXPECT_EQ(back.size(), 7U * kLevels - 3);  // the innermost element is written as <a/>
    EXPECT_EQ(back.substr(3 * (kLevels - 2), 11), "<a><a/></a>");
    // Indented, each level adds a tab to each line: more than a text can hold.
    int size = 1;
    EXPECT_EQ(node.createString(1, &size), nullptr);
    EXPECT_EQ(size, 0);
}

}  // namespace
