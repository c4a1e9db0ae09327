// Writes tricky texts as element content and attribute values, parses the result with an
// independent XML parser and checks that the same text comes back.

#include "arbor/foundation/CData.h"

#include <gtest/gtest.h>

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <sstream>
#include <string>

namespace {

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
struct CharsFree {
    void operator()(xmlChar* chars) const { xmlFree(chars); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocFree>;
using CharsPtr = std::unique_ptr<xmlChar, CharsFree>;

std::string str(const CharsPtr& chars)
{
    return chars ? reinterpret_cast<const char*>(chars.get()) : "<<null>>";
}

// Parses `xml` strictly; null when it is not well-formed.
DocPtr parse(const std::string& xml)
{
    return DocPtr(xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "readback.xml", "UTF-8",
        XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
}

struct ReadBack {
    bool wellFormed = false;
    std::string content;
    std::string attribute;
};

ReadBack readBack(const std::string& content, const std::string& attribute)
{
    ReadBack result;
    DocPtr doc = parse("<r a=\"" + attribute + "\">" + content + "</r>");
    if (!doc) return result;
    xmlNode* root = xmlDocGetRootElement(doc.get());
    result.wellFormed = true;
    result.content = str(CharsPtr(xmlNodeGetContent(root)));
    result.attribute = str(CharsPtr(xmlGetProp(root, reinterpret_cast<const xmlChar*>("a"))));
    return result;
}

} // namespace

TEST(CDataReadBackTest, TextComesBackFromAParser)
{
    struct Case {
        const char* name;
        const char16_t* text;
        const char* utf8; // what a parser must read back
    };
    const Case cases[] = {
        { "markup characters", u"a & b < c > d", "a & b < c > d" },
        { "entity look-alike", u"&amp; &#13;", "&amp; &#13;" },
        { "section end", u"x]]>y", "x]]>y" },
        { "quotes", u"\"'\"", "\"'\"" },
        { "carriage return", u"a\rb", "a\rb" },
        { "CRLF", u"a\r\nb", "a\r\nb" },
        { "tab and line feed", u"\ta\n\tb\n", "\ta\n\tb\n" },
        { "spaces kept", u"  two  spaces  ", "  two  spaces  " },
        { "BMP", u"\u00E9\u4E2D\uFFFD", "\xC3\xA9\xE4\xB8\xAD\xEF\xBF\xBD" },
        { "non-BMP", u"\U0001F600\U00010000\U0010FFFF",
            "\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF" },
        { "unpaired lead", u"a\xD800", "a\xEF\xBF\xBD" },
        { "unpaired trail", u"\xDC00z", "\xEF\xBF\xBDz" },
        { "controls", u"\x01\x08\x0B\x0C\x1F",
            "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" },
        { "non-characters", u"\xFFFE\xFFFF", "\xEF\xBF\xBD\xEF\xBF\xBD" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::ostringstream content;
        std::ostringstream attribute;
        Plinth::putCData(content, c.text);
        Plinth::putAttributeData(attribute, c.text);
        const ReadBack back = readBack(content.str(), attribute.str());
        ASSERT_TRUE(back.wellFormed) << content.str() << " / " << attribute.str();
        EXPECT_EQ(back.content, c.utf8);
        EXPECT_EQ(back.attribute, c.utf8);
    }
}

TEST(CDataReadBackTest, NarrowAttributeComesBackFromAParser)
{
    const char* value = "\"caf\xC3\xA9\" & <\xF0\x9F\x98\x80>\t\r\n]]>";
    std::ostringstream attribute;
    Plinth::putAttributeData(attribute, value);
    const ReadBack back = readBack("", attribute.str());
    ASSERT_TRUE(back.wellFormed) << attribute.str();
    EXPECT_EQ(back.attribute, value);
}
