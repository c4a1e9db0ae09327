#include "arbor/xml/XmlLoader.h"
#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace {

std::string encodingFixture(const std::string& name)
{
    return std::string(ARBOR_XML_FIXTURES "/encodings/") + name;
}

std::string read(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// How loading `data` (or the file at `path`) fails: "message at line:column", or "loaded".
std::string error(const std::string& data, const std::string& path = "")
{
    try {
        if (path.empty())
            Arbor::loadXml(data.data(), data.size());
        else
            Arbor::loadXmlFile(path);
    } catch (const Arbor::XmlParseError& e) {
        return std::string(e.message()) + " at " + std::to_string(e.line) + ":"
            + std::to_string(e.column);
    }
    return "loaded";
}

} // namespace

// Each file holds <t a="X">X</t> in its encoding, named by its declaration or told by its first
// bytes: one per family of single-byte code pages, the multi-byte East Asian encodings (one with
// a three-byte sequence), encodings converted as a whole (stateful, GB18030 with a character
// beyond the BMP, EBCDIC, UTF-32) and the Unicode forms with and without byte order mark.
TEST(XmlEncodingTest, LoadsEachEncodingFromFileStreamAndMemory)
{
    struct Case {
        const char* file;
        const char* text;
    };
    const Case cases[] = {
        { "windows-1251.xml", "Привет, мир" },
        { "iso-8859-7.xml", "Καλημέρα" },
        { "koi8-r.xml", "Привет" },
        { "ibm866.xml", "Пример" },
        { "x-mac-cyrillic.xml", "Москва" },
        { "tis-620.xml", "ภาษาไทย" },
        { "shift_jis.xml", "日本語テキスト" },
        { "euc-jp.xml", "日本語 丂" },
        { "euc-kr.xml", "한국어" },
        { "gb2312.xml", "中文" },
        { "big5.xml", "中文字" },
        { "iso-2022-jp.xml", "日本語" },
        { "gb18030.xml", "中文 \U00020000" },
        { "ibm500.xml", "Grüße [!]" },
        { "utf-32-bom.xml", "Grüße \U0001F600" },
        { "utf-16be-nobom.xml", "Grüße \U0001F600" },
        { "utf-16le-bom.xml", "Grüße" },
        { "utf-8-bom.xml", "Grüße" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const std::string path = encodingFixture(c.file);
        const std::string data = read(path);
        std::istringstream in(data);
        Plinth::Ref<Arbor::BasicDocument> loaded[] = { Arbor::loadXmlFile(path), Arbor::loadXml(in),
            Arbor::loadXml(data.data(), data.size()) };
        for (const auto& document : loaded) {
            Arbor::Element* t = document->documentElement()->asElement();
            ASSERT_NE(t, nullptr);
            EXPECT_EQ(Arbor::getAttributeUtf8(t, Arbor::Token("a")), c.text);
            ASSERT_NE(t->firstChild(), nullptr);
            EXPECT_EQ(Arbor::textUtf8(t->firstChild()->asText()), c.text);
        }
    }
}

// Positions count the characters of the input as written, whether the parser reads the bytes
// through a table or the input is converted first; a byte that is no character of the encoding
// is an error at its own place, and an encoding nobody converts is named.
TEST(XmlEncodingTest, ErrorsArePlacedInTheInputAsWritten)
{
    struct Case {
        const char* file;
        unsigned long line;
        unsigned long column;
        const char* message;
    };
    const Case cases[] = {
        { "bad-shift_jis.xml", 2, 9, "mismatched tag" },
        { "bad-iso-2022-jp.xml", 3, 6, "mismatched tag" },
        { "bad-byte-windows-1253.xml", 2, 6, "not well-formed (invalid token)" },
        { "bad-byte-gb18030.xml", 2, 6, "invalid or incomplete character in encoding GB18030" },
        { "unknown.xml", 1, 31, "unknown encoding: no-such-encoding" },
    };
    for (const Case& c : cases) {
        EXPECT_EQ(error("", encodingFixture(c.file)),
            c.message + (" at " + std::to_string(c.line) + ":" + std::to_string(c.column)))
            << c.file;
    }
    // The same mistake in UTF-8 is reported at the same place.
    EXPECT_EQ(error("<?xml version=\"1.0\"?>\n<t>日本語</u>\n"), "mismatched tag at 2:9");
    // Input of only the four bytes of a UTF-32 "<" is still read as UTF-32.
    for (const std::string& data : { std::string("<\0\0\0", 4), std::string("\0\0\0<", 4) })
        EXPECT_EQ(error(data), error("<"));
    // A two-byte encoding is read through its table, so a bad pair is the parser's invalid token.
    EXPECT_EQ(error("<?xml version=\"1.0\" encoding=\"Shift_JIS\"?><t>\x81\x7f</t>"),
        "not well-formed (invalid token) at 1:46");
    // Converted whole, the place of a bad byte counts CR LF, CR and LF as one line end each.
    EXPECT_EQ(error("<?xml version='1.0' encoding='GB18030'?>\r\n<t>\r\r\nx\n\xE9\x81\xFF</t>"),
        "invalid or incomplete character in encoding GB18030 at 5:2");
}

TEST(XmlEncodingTest, EncodingNamesIgnoreCaseAndKnowCommonAliases)
{
    for (const char* name : { "WINDOWS-1252", "windows-1252", "CP1252", "Latin1", "iso_8859-1" }) {
        SCOPED_TRACE(name);
        const std::string data
            = std::string("<?xml version=\"1.0\" encoding=\"") + name + "\"?><t>caf\xe9</t>";
        Plinth::Ref<Arbor::BasicDocument> document = Arbor::loadXml(data.data(), data.size());
        EXPECT_EQ(Arbor::textUtf8(document->documentElement()->firstChild()->asText()), "café");
    }
}
