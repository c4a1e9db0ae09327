#include "arbor/foundation/CData.h"

#include <gtest/gtest.h>

#include <sstream>
#include <streambuf>
#include <string>

namespace {

std::string cdata(const char16_t* text)
{
    std::ostringstream out;
    Plinth::putCData(out, text);
    return out.str();
}

std::string attribute(const char16_t* text)
{
    std::ostringstream out;
    Plinth::putAttributeData(out, text);
    return out.str();
}

std::string attribute(const char* bytes)
{
    std::ostringstream out;
    Plinth::putAttributeData(out, bytes);
    return out.str();
}

// Counts the calls that hand bytes to the stream buffer and keeps the bytes.
class CountingBuffer final : public std::streambuf {
public:
    std::string bytes;
    int writes = 0;

protected:
    std::streamsize xsputn(const char* s, std::streamsize n) override
    {
        ++writes;
        bytes.append(s, static_cast<std::size_t>(n));
        return n;
    }
    int_type overflow(int_type c) override
    {
        ++writes;
        if (c != traits_type::eof()) bytes.push_back(static_cast<char>(c));
        return c;
    }
};

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
        { "two and three bytes", u"\u00E9\u20AC", "\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xAC" },
        { "pair", u"\U0001F600", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80" },
        { "highest pair", u"\U0010FFFF", "\xF4\x8F\xBF\xBF", "\xF4\x8F\xBF\xBF" },
        { "lone lead", u"a\xD800z", "a\xEF\xBF\xBDz", "a\xEF\xBF\xBDz" },
        { "lone trail", u"\xDFFF", "\xEF\xBF\xBD", "\xEF\xBF\xBD" },
        { "reversed pair", u"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD",
            "\xEF\xBF\xBD\xEF\xBF\xBD" },
        { "controls", u"\x01\x1F\x7F", "\xEF\xBF\xBD\xEF\xBF\xBD\x7F",
            "\xEF\xBF\xBD\xEF\xBF\xBD\x7F" },
        { "non-characters", u"\xFFFE\xFFFF\xFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" },
        { "empty", u"", "", "" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(cdata(c.text), c.asText);
        EXPECT_EQ(attribute(c.text), c.asAttribute);
    }
}

TEST(CDataTest, NarrowAttributeCopiesUtf8AndEscapes)
{
    EXPECT_EQ(attribute("caf\xC3\xA9 & \"<\xF0\x9F\x98\x80>\"\t\n\r"),
        "caf\xC3\xA9 &amp; &quot;&lt;\xF0\x9F\x98\x80&gt;&quot;&#9;&#10;&#13;");
}

TEST(CDataTest, NullWritesNothingAndReturnsStream)
{
    std::ostringstream out;
    EXPECT_EQ(&Plinth::putCData(out, nullptr), &out);
    EXPECT_EQ(&Plinth::putAttributeData(out, static_cast<const char16_t*>(nullptr)), &out);
    EXPECT_EQ(&Plinth::putAttributeData(out, static_cast<const char*>(nullptr)), &out);
    EXPECT_EQ(&Plinth::putCData(out, u"x"), &out);
    EXPECT_EQ(out.str(), "x");
}

// Long texts cross the writer's internal buffer at every offset of a repeated pattern, so an
// escape or a multi-byte sequence is cut at the boundary in some repetition.
TEST(CDataTest, LongTextsSurviveBufferBoundaries)
{
    const std::u16string pattern = u"ab&\u00E9\U0001F600\r<\u20AC\x01\"\n";
    const std::string common = "ab&amp;\xC3\xA9\xF0\x9F\x98\x80&#13;&lt;\xE2\x82\xAC\xEF\xBF\xBD";
    const std::string text = common + "\"\n";
    const std::string attr = common + "&quot;&#10;";
    for (std::size_t shift = 0; shift < 8; ++shift) {
        SCOPED_TRACE(shift);
        std::u16string input(shift, u'x');
        std::string expected(shift, 'x');
        std::string expectedAttr(shift, 'x');
        for (int i = 0; i < 800; ++i) {
            input += pattern;
            expected += text;
            expectedAttr += attr;
        }
        EXPECT_EQ(cdata(input.c_str()), expected);
        EXPECT_EQ(attribute(input.c_str()), expectedAttr);
    }
}

TEST(CDataTest, WritesInLargeChunks)
{
    const std::u16string plain(20000, u'a');
    CountingBuffer buffer;
    std::ostream out(&buffer);
    Plinth::putCData(out, plain.c_str());
    EXPECT_EQ(buffer.bytes, std::string(20000, 'a'));
    EXPECT_LE(buffer.writes, 8);

    const std::string narrow(20000, 'b');
    CountingBuffer narrowBuffer;
    std::ostream narrowOut(&narrowBuffer);
    Plinth::putAttributeData(narrowOut, narrow.c_str());
    EXPECT_EQ(narrowBuffer.bytes, narrow);
    EXPECT_LE(narrowBuffer.writes, 8);
}
