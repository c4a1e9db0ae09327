#include "tests/support/Host.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <string>

using AttributeReadbackTest = HostTest;

// Values are written once on the document element and parsed back by an XML parser, which
// normalises literal tabs, line feeds and carriage returns in attribute values to spaces: only
// escaped ones survive.
TEST_F(AttributeReadbackTest, ParserReadsBackEveryValue)
{
    struct Case {
        const char* name;
        Arbor::Variant value;
        std::string expected;
    };
    const Case cases[] = {
        { "markup", Arbor::UStringVariant(u"<a href=\"x\">&amp;</a>"), "<a href=\"x\">&amp;</a>" },
        { "end of a CDATA section", Arbor::UStringVariant(u"]]>"), "]]>" },
        { "both quotes", Arbor::UStringVariant(u"\"'\"'"), "\"'\"'" },
        { "tabs and line ends", Arbor::UStringVariant(u"\ta\nb\rc\r\nd\n\r"),
            "\ta\nb\rc\r\nd\n\r" },
        { "spaces", Arbor::UStringVariant(u"  two  spaces "), "  two  spaces " },
        { "non-BMP", Arbor::UStringVariant(u"x\U0001F600y\U00010000\U0010FFFD"),
            u8"x\U0001F600y\U00010000\U0010FFFD" },
        { "unpaired surrogates",
            Arbor::UStringVariant(u"a\xD800"
                                  u"b\xDC00"),
            u8"a\uFFFDb\uFFFD" },
        { "narrow string", Arbor::StringVariant(u8"&lt;<>\"\t\n\r\u00E9"),
            u8"&lt;<>\"\t\n\r\u00E9" },
        { "empty", Arbor::Variant(), "" },
        { "double", Arbor::DoubleVariant(-1.5e-7), "-1.5e-07" },
    };
    const int count = sizeof cases / sizeof cases[0];
    for (int i = 0; i < count; ++i)
        root()->setAttribute(Arbor::Token(("v" + std::to_string(i)).c_str()), cases[i].value);

    const std::string text = xml(&document());
    std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> parsed(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "attributes.xml", nullptr,
            XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
        xmlFreeDoc);
    ASSERT_NE(parsed, nullptr) << text;
    xmlNode* element = xmlDocGetRootElement(parsed.get());
    ASSERT_NE(element, nullptr);

    int attributes = 0;
    for (xmlAttr* a = element->properties; a; a = a->next)
        ++attributes;
    EXPECT_EQ(attributes, count);
    for (int i = 0; i < count; ++i) {
        SCOPED_TRACE(cases[i].name);
        const std::string name = "v" + std::to_string(i);
        xmlChar* value = xmlGetProp(element, reinterpret_cast<const xmlChar*>(name.c_str()));
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(value)), cases[i].expected);
        xmlFree(value);
    }
}
