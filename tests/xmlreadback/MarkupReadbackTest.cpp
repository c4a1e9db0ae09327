// Comments, processing instructions and the document type, written compact and indented, read
// back by an independent XML parser in their places.

#include "tests/support/Host.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <sstream>
#include <string>

namespace {

std::string chars(const xmlChar* s) { return s ? reinterpret_cast<const char*>(s) : ""; }

// Every node but white-space text, one line each, in document order: "<e>" and "</e>" around
// an element's children, "name [content]" for the others ("comment", "text" or a target).
void describe(xmlNode* node, std::string& out)
{
    for (; node; node = node->next) {
        const std::string name = chars(node->name);
        if (node->type == XML_DTD_NODE) {
            auto* dtd = reinterpret_cast<xmlDtd*>(node);
            out += "doctype " + name + " [" + chars(dtd->ExternalID) + "] [" + chars(dtd->SystemID)
                + "]\n";
        } else if (node->type == XML_ELEMENT_NODE) {
            out += "<" + name + ">\n";
            describe(node->children, out);
            out += "</" + name + ">\n";
        } else if (node->type != XML_TEXT_NODE
            || chars(node->content).find_first_not_of(" \n\t") != std::string::npos) {
            out += name + " [" + chars(node->content) + "]\n";
        }
    }
}

} // namespace

TEST(MarkupReadbackTest, ParserSeesEveryItemInItsPlace)
{
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
    doc->epilog()->appendChild(doc->createComment(nullptr));
    doc->epilog()->appendChild(doc->createProcessingInstruction("end", nullptr));
    const std::string expected = "xml-stylesheet [href='a']\n"
                                 "doctype r [-//A//B] [it's.dtd]\n"
                                 "comment [ <&> caf\xC3\xA9 - \xF0\x9F\x98\x80 ]\n"
                                 "<r>\ncomment [-x-y]\n<e>\np [a?b> ?]\ntext [t]\n</e>\n</r>\n"
                                 "comment []\nend []\n";

    std::ostringstream indented;
    Arbor::XmlWriter({ false, true, "  " }).write(indented, doc.get());
    for (const std::string& output : { xml(doc.get()), indented.str() }) {
        SCOPED_TRACE(output);
        xmlDoc* parsed = xmlReadMemory(output.data(), static_cast<int>(output.size()), "m.xml",
            nullptr, XML_PARSE_NONET | XML_PARSE_NOWARNING);
        ASSERT_NE(parsed, nullptr);
        std::string seen;
        describe(parsed->children, seen);
        xmlFreeDoc(parsed);
        EXPECT_EQ(seen, expected);
    }
    doc->tearDown();
}
