// Tricky texts, values and markup written by the library, compact and indented, and parsed back
// by an independent XML parser, which must see the same items, texts and attribute values.

#include "tests/support/Host.h"

#include <algorithm>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sstream>
#include <string>

namespace {

std::string chars(const xmlChar* s) { return s ? reinterpret_cast<const char*>(s) : ""; }

// Every node but white-space text, one line each, in document order: "<e a=[value]>" and "</e>"
// around an element's children, "name [content]" for the others ("comment", "text" or a target).
void describe(xmlNode* node, std::string& out)
{
    for (; node; node = node->next) {
        const std::string name = chars(node->name);
        if (node->type == XML_DTD_NODE) {
            auto* dtd = reinterpret_cast<xmlDtd*>(node);
            out += "doctype " + name + " [" + chars(dtd->ExternalID) + "] [" + chars(dtd->SystemID)
                + "]\n";
        } else if (node->type == XML_ELEMENT_NODE) {
            xmlChar* value = xmlGetProp(node, reinterpret_cast<const xmlChar*>("a"));
            out += "<" + name + (value ? " a=[" + chars(value) + "]>\n" : ">\n");
            xmlFree(value);
            describe(node->children, out);
            out += "</" + name + ">\n";
        } else if (node->type != XML_TEXT_NODE
            || chars(node->content).find_first_not_of(" \n\t") != std::string::npos) {
            out += name + " [" + chars(node->content) + "]\n";
        }
    }
}

const char* const narrow = "\"caf\xC3\xA9\" & <\xF0\x9F\x98\x80>\t\r\n]]>&lt;";

struct Case {
    const char16_t* text; // written as text and as a UTF-16 value; null: only `value`
    std::string utf8; // what the parser must read back
    Arbor::Variant value = Arbor::Variant();
};

} // namespace

TEST(ReadbackTest, DocumentComesBackFromAParser)
{
    const Case cases[] = {
        { u"a & b < c > d <a href=\"x\">&amp;</a>", "a & b < c > d <a href=\"x\">&amp;</a>" },
        { u"&amp; &#13;", "&amp; &#13;" },
        { u"x]]>y", "x]]>y" },
        { u"\"'\"'", "\"'\"'" },
        { u"\ta\nb\rc\r\nd\n\r", "\ta\nb\rc\r\nd\n\r" },
        { u"  two  spaces  ", "  two  spaces  " },
        { u"\u00E9\u4E2D\uFFFD", "\xC3\xA9\xE4\xB8\xAD\xEF\xBF\xBD" },
        { u"x\U0001F600\U00010000\U0010FFFF", "x\xF0\x9F\x98\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF" },
        { u"a\xD800"
          u"b\xDC00",
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD" },
        { u"\x01\x08\x0B\x0C\x1F", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD" },
        { u"\xFFFE\xFFFF", "\xEF\xBF\xBD\xEF\xBF\xBD" },
        { nullptr, "\xEF\xBF\xBD\t\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD",
            Arbor::StringVariant("\x01\t\x1F\xEF\xBF\xBE\xEF\xBF\xBF\xFF") },
        { u"", "" },
        { nullptr, narrow, Arbor::StringVariant(narrow) },
        { nullptr, "", Arbor::Variant() },
        { nullptr, "-1.5e-07", Arbor::DoubleVariant(-1.5e-7) },
    };
    Plinth::Ref<Arbor::BasicDocument> doc(new Arbor::BasicDocument);
    doc->prolog()->appendChild(doc->createProcessingInstruction("xml-stylesheet", u"href='a'"));
    doc->prolog()->appendChild(
        doc->createDocumentType("r", "-//A//B", "it's.dtd", "<!ENTITY e \"v\">"));
    doc->prolog()->appendChild(doc->createComment(u" <&> caf\u00e9 - \U0001F600 "));
    Arbor::Element* r = static_cast<Arbor::Element*>(doc->appendChild(doc->createElement("r")));
    r->appendChild(doc->createComment(u"-x-y"));
    Arbor::Node* e = r->appendChild(doc->createElement("e"));
    e->appendChild(doc->createProcessingInstruction("p", u"a?b> ?"));
    e->appendChild(doc->createTextNode(u"t"));
    std::string expected = "xml-stylesheet [href='a']\ndoctype r [-//A//B] [it's.dtd]\n"
                           "comment [ <&> caf\xC3\xA9 - \xF0\x9F\x98\x80 ]\n"
                           "<r>\ncomment [-x-y]\n<e>\np [a?b> ?]\ntext [t]\n</e>\n";
    // Each case on an element of its own: the value as attribute "a" and the text as the
    // element's content, split over two text nodes.
    for (const Case& c : cases) {
        auto* v = static_cast<Arbor::Element*>(r->appendChild(doc->createElement("v")));
        v->setAttribute("a", c.text ? Arbor::UStringVariant(c.text) : c.value);
        expected += "<v a=[" + c.utf8 + "]>\n";
        if (c.text) {
            const std::u16string data = c.text;
            v->appendChild(doc->createTextNode(data.substr(0, 1).c_str()));
            v->appendChild(
                doc->createTextNode(data.substr(std::min<size_t>(1, data.size())).c_str()));
            if (!c.utf8.empty()) expected += "text [" + c.utf8 + "]\n";
        }
        expected += "</v>\n";
    }
    doc->epilog()->appendChild(doc->createComment(nullptr));
    doc->epilog()->appendChild(doc->createProcessingInstruction("end", nullptr));
    expected += "</r>\ncomment []\nend []\n";

    std::ostringstream indented;
    Arbor::XmlWriter({ false, true, "  " }).write(indented, doc.get());
    for (const std::string& output : { xml(doc.get()), indented.str() }) {
        SCOPED_TRACE(output);
        xmlDoc* parsed = xmlReadMemory(output.data(), static_cast<int>(output.size()), "r.xml",
            "UTF-8", XML_PARSE_NONET | XML_PARSE_NOWARNING);
        ASSERT_NE(parsed, nullptr);
        std::string seen;
        describe(parsed->children, seen);
        xmlFreeDoc(parsed);
        EXPECT_EQ(seen, expected);
    }
    doc->tearDown();
}
