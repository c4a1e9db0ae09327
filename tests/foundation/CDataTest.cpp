#include "arbor/foundation/CData.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

std::string cdata(const char16_t* text)
{
    std::ostringstream out;
    Plinth::putCData(out, text);
    return out.str();
}

template <class Char> std::string attribute(const Char* text)
{
    std::ostringstream out;
    Plinth::putAttributeData(out, text);
    return out.str();
}

} // namespace

TEST(CDataTest, EncodesAndEscapes)
{
    struct Case {
        const char* name;
        const char16_t* text;
        const char* asText;
        const char* asAttribute;
    };
    const Case cases[] = {
        { "plain", u"plain text", "plain text", "plain text" },
        { "markup", u"a&b<c>d", "a&amp;b&lt;c&gt;d", "a&amp;b&lt;c&gt;d" },
        { "section end", u"]]>", "]]&gt;", "]]&gt;" },
        { "quote", u"say \"hi\" 'x'", "say \"hi\" 'x'", "say &quot;hi&quot; 'x'" },
        { "whitespace", u"\t\r\n", "\t&#13;\n", "&#9;&#13;&#10;" },
        { "two and three bytes", u"\u0080\u00E9\u20AC", "\xC2\x80\xC3\xA9\xE2\x82\xAC",
            "\xC2\x80\xC3\xA9\xE2\x82\xAC" },
        { "pair", u"\U0001F600", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80" },
        { "highest pair", u"\U0010FFFF", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF" },
        { "lone lead", u"a\xD800z", "a\xEF\xBF\xBDz", "a\xEF\xBF\xBDz" },
        { "lone trails", u"a\xDFFF\xDC00", "a\xEF\xBF\xBD\xEF\xBF\xBD",
            "a\xEF\xBF\xBD\xEF\xBF\xBD" },
        { "reversed pair", u"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD",
            "\xEF\xBF\xBD\xEF\xBF\xBD" },
        { "controls", u"\x01\x1F\x7F", "\xEF\xBF\xBD\xEF\xBF\xBD\x7F",
            "\xEF\xBF\xBD\xEF\xBF\xBD\x7F" },
        { "non-characters", u"\xFFFE\xFFFF\xFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" },
        { "empty", u"", "", "" },
        { "null", nullptr, "", "" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(cdata(c.text), c.asText);
        EXPECT_EQ(attribute(c.text), c.asAttribute);
    }
    EXPECT_EQ(attribute("caf\xC3\xA9 & \"<\xF0\x9F\x98\x80>\"\t\n\r"),
        "caf\xC3\xA9 &amp; &quot;&lt;\xF0\x9F\x98\x80&gt;&quot;&#9;&#10;&#13;");
    EXPECT_EQ(attribute(static_cast<const char*>(nullptr)), "");
}

// Long texts cross the writer's internal buffer at every offset of a repeated pattern, so an
// escape or a multi-byte sequence is cut at the boundary in some repetition; long plain runs fill
// the buffer to its end.
TEST(CDataTest, LongTextsSurviveBufferBoundaries)
{
    const std::u16string pattern = u"ab&\u00E9\U0001F600\r<\u20AC\x01\"\n";
    const std::string common = "ab&amp;\xC3\xA9\xF0\x9F\x98\x80&#13;&lt;\xE2\x82\xAC\xEF\xBF\xBD";
    for (std::size_t shift = 0; shift < 8; ++shift) {
        SCOPED_TRACE(shift);
        std::u16string input(shift, u'x');
        std::string expected(shift, 'x');
        std::string expectedAttr(shift, 'x');
        for (int i = 0; i < 800; ++i) {
            input += pattern;
            expected += common + "\"\n";
            expectedAttr += common + "&quot;&#10;";
        }
        EXPECT_EQ(cdata(input.c_str()), expected);
        EXPECT_EQ(attribute(input.c_str()), expectedAttr);
    }
    EXPECT_EQ(cdata(std::u16string(20000, u'a').c_str()), std::string(20000, 'a'));
    EXPECT_EQ(attribute(std::string(20000, 'b').c_str()), std::string(20000, 'b'));
}
