// Tricky texts and values written by the library and parsed back by an independent XML parser,
// which must see the same tree, texts and attribute values.

#include "arbor/foundation/CData.h"
#include "tests/support/Host.h"

#include <algorithm>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <sstream>
#include <string>

namespace {

using ReadbackTest = HostTest;
using Doc = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

Doc parse(const std::string& text)
{
    return Doc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "readback.xml", "UTF-8",
                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
}

std::string take(xmlChar* chars)
{
    const std::string text = chars ? reinterpret_cast<const char*>(chars) : "<<null>>";
    xmlFree(chars);
    return text;
}

std::string attribute(xmlNode* node)
{
    return take(xmlGetProp(node, reinterpret_cast<const xmlChar*>("a")));
}

const char* const narrow = "\"caf\xC3\xA9\" & <\xF0\x9F\x98\x80>\t\r\n]]>&lt;";

struct Case {
    const char* name;
    const char16_t* text; // written as text and as a UTF-16 value; null: only `value`
    std::string utf8; // what the parser must read back
    Arbor::Variant value = Arbor::Variant();
    bool elementValue = true; // also written as a value of an element of the document
};

const Case cases[] = {
    { "markup", u"a & b < c > d <a href=\"x\">&amp;</a>", "a & b < c > d <a href=\"x\">&amp;</a>" },
    { "entity look-alike", u"&amp; &#13;", "&amp; &#13;" },
    { "section end", u"x]]>y", "x]]>y" },
    { "quotes", u"\"'\"'", "\"'\"'" },
    { "tabs and line ends", u"\ta\nb\rc\r\nd\n\r", "\ta\nb\rc\r\nd\n\r" },
    { "spaces kept", u"  two  spaces  ", "  two  spaces  " },
    { "BMP", u"\u00E9\u4E2D\uFFFD", "\xC3\xA9\xE4\xB8\xAD\xEF\xBF\xBD" },
    { "non-BMP", u"x\U0001F600\U00010000\U0010FFFF",
        "x\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF" },
    { "unpaired surrogates",
        u"a\xD800"
        u"b\xDC00",
        "a\xEF\xBF\xBD"
        "b\xEF\xBF\xBD" },
    { "controls", u"\x01\x08\x0B\x0C\x1F",
        "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD", {}, false },
    { "non-characters", u"\xFFFE\xFFFF", "\xEF\xBF\xBD\xEF\xBF\xBD", {}, false },
    { "empty text", u"", "" },
    { "narrow string", nullptr, narrow, Arbor::StringVariant(narrow) },
    { "empty variant", nullptr, "", Arbor::Variant() },
    { "double", nullptr, "-1.5e-07", Arbor::DoubleVariant(-1.5e-7) },
};

} // namespace

// Every case on an element of one document: the value as attribute "a" and a text as the
// element's content, split over two text nodes. The parser must find each element with both.
TEST_F(ReadbackTest, DocumentComesBackFromAParser)
{
    for (const Case& c : cases) {
        TestElement* e = appendElement(root(), "e");
        if (c.elementValue) e->setAttribute("a", c.text ? Arbor::UStringVariant(c.text) : c.value);
        if (!c.text) continue;
        const std::u16string data = c.text;
        appendText(e, data.substr(0, 1).c_str());
        appendText(e, data.substr(std::min<size_t>(1, data.size())).c_str());
    }
    const std::string written = xml(&document());
    Doc parsed = parse(written);
    ASSERT_NE(parsed, nullptr) << written;
    xmlNode* element = xmlDocGetRootElement(parsed.get());
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->next, nullptr);
    xmlNode* child = element->children;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_NE(child, nullptr);
        ASSERT_EQ(child->type, XML_ELEMENT_NODE);
        EXPECT_EQ(attribute(child), c.elementValue ? c.utf8 : "<<null>>");
        EXPECT_EQ(take(xmlNodeGetContent(child)), c.text ? c.utf8 : "");
        child = child->next;
    }
    EXPECT_EQ(child, nullptr);
}

// The character-data writers on their own: content and UTF-16 values, and narrow values.
TEST(CDataReadbackTest, WritersComeBackFromAParser)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::ostringstream content;
        std::ostringstream value;
        if (c.text) {
            Plinth::putCData(content, c.text);
            Plinth::putAttributeData(value, c.text);
        } else {
            Plinth::putAttributeData(value, c.utf8.c_str());
        }
        const std::string written = "<r a=\"" + value.str() + "\">" + content.str() + "</r>";
        Doc parsed = parse(written);
        ASSERT_NE(parsed, nullptr) << written;
        xmlNode* r = xmlDocGetRootElement(parsed.get());
        EXPECT_EQ(attribute(r), c.utf8);
        EXPECT_EQ(take(xmlNodeGetContent(r)), c.text ? c.utf8 : "");
    }
}
