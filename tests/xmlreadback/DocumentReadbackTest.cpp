// Writes a whole document built from awkward text and attribute values, parses it with an
// independent XML parser and checks that the parser sees the same tree.

#include "tests/support/Host.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <string>

namespace {

using DocumentReadbackTest = HostTest;

struct DocFree {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};

std::string utf8(const char16_t* data)
{
    std::string out;
    Arbor::BasicElement::appendValueText(out, Arbor::UStringVariant(data));
    return out;
}

// Both trees are written as <name a=[value]>'text'...</>, with neighbouring text nodes joined
// and empty ones left out, as a parser reports them.
void flushText(std::string& text, std::string& out)
{
    if (!text.empty()) out += "'" + text + "'";
    text.clear();
}

void describe(Arbor::Node* node, std::string& out)
{
    auto* element = static_cast<Arbor::BasicElement*>(node->asElement());
    out += "<" + std::string(element->tagName().name);
    for (unsigned long i = 0; i < element->attributeCount(); ++i) {
        out += " " + std::string(element->attributeAt(i).first.name) + "=[";
        Arbor::BasicElement::appendValueText(out, element->attributeAt(i).second);
        out += "]";
    }
    out += ">";
    std::string text;
    for (Arbor::Node* child = node->firstChild(); child; child = child->nextSibling()) {
        if (Arbor::Text* t = child->asText()) {
            if (t->data()) text += utf8(t->data());
            continue;
        }
        flushText(text, out);
        describe(child, out);
    }
    flushText(text, out);
    out += "</>";
}

std::string chars(const xmlChar* s) { return s ? reinterpret_cast<const char*>(s) : ""; }

void describe(xmlNode* node, std::string& out)
{
    out += "<" + chars(node->name);
    for (xmlAttr* attribute = node->properties; attribute; attribute = attribute->next) {
        xmlChar* value = xmlNodeListGetString(node->doc, attribute->children, 1);
        out += " " + chars(attribute->name) + "=[" + chars(value) + "]";
        xmlFree(value);
    }
    out += ">";
    std::string text;
    for (xmlNode* child = node->children; child; child = child->next) {
        if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
            text += chars(child->content);
            continue;
        }
        flushText(text, out);
        if (child->type == XML_ELEMENT_NODE)
            describe(child, out);
        else
            out += "?" + std::to_string(child->type);
    }
    flushText(text, out);
    out += "</>";
}

TEST_F(DocumentReadbackTest, ParserSeesTheSameTree)
{
    root()->setAttribute("markup", Arbor::UStringVariant(u"<a href=\"x\">&amp;</a> ]]>"));
    root()->setAttribute("quotes", Arbor::UStringVariant(u"\"'\"'"));
    root()->setAttribute("spacing", Arbor::UStringVariant(u"\ta\r\nb\rc\n"));
    root()->setAttribute("astral", Arbor::UStringVariant(u"\U0001F600\U00010000\U0010FFFD"));
    root()->setAttribute("number", Arbor::DoubleVariant(0.1));

    TestElement* p = appendElement(root(), "p");
    p->setAttribute("lang", Arbor::StringVariant("en"));
    appendText(p, u"a < b && c > d ]]> e");
    appendText(p, u"");
    appendText(p, u" \"quoted\" 'single'");
    TestElement* pre = appendElement(root(), "pre");
    appendText(pre, u"\tline1\r\nline2\rline3\n\r");
    appendElement(root(), "empty");
    TestElement* list = appendElement(root(), "list");
    for (const char16_t* item : { u"x\U0001F600y", u"&lt; stays text", u"\u00E9\u4E2D\uFFFD" }) {
        TestElement* entry = appendElement(list, "item");
        entry->setAttribute("text", Arbor::UStringVariant(item));
        appendText(entry, item);
    }
    appendText(root(), u"tail");
    appendText(root(), u" & end\r");

    const std::string written = xml(&document());
    std::unique_ptr<xmlDoc, DocFree> parsed(
        xmlReadMemory(written.data(), static_cast<int>(written.size()), "document.xml", nullptr,
            XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
    ASSERT_NE(parsed, nullptr) << written;
    xmlNode* element = xmlDocGetRootElement(parsed.get());
    ASSERT_NE(element, nullptr);
    EXPECT_EQ(element->next, nullptr);

    std::string expected;
    describe(root(), expected);
    std::string actual;
    describe(element, actual);
    EXPECT_EQ(actual, expected) << written;
}

} // namespace
