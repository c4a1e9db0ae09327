#include "arbor/arbor.h"
#include "arbor/xml/XmlLoader.h"
#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

Plinth::Ref<Arbor::BasicDocument> load(
    const std::string& text, const Arbor::XmlLoadOptions& options = {})
{
    return Arbor::loadXml(text.data(), text.size(), options);
}

const char* const declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

} // namespace

// Comments, processing instructions and the document type stay where they were, in the prolog,
// the content and the epilog, and are written back there.
TEST(XmlMarkupTest, KeepsCommentsInstructionsAndDoctypeInPlace)
{
    struct Case {
        const char* input;
        const char* written; // after the declaration line
    };
    const Case cases[] = {
        { "<!--a--><?p x?><r/><!--z-->", "<!--a-->\n<?p x?>\n<r></r>\n<!--z-->\n" },
        { "<r>x<!-- c -->y<?go now?>z<![CDATA[<w>]]></r>",
            "<r>x<!-- c -->y<?go now?>z&lt;w&gt;</r>\n" },
        { "<?xml version='1.0'?>\n<!DOCTYPE r PUBLIC '-//A//B' 'r.dtd' [\n <!ENTITY e 'E'>\n "
          "<!-- in the subset --><?q?>\n]>\n<r a='1'>&e;</r>",
            "<!DOCTYPE r PUBLIC \"-//A//B\" \"r.dtd\" [\n <!ENTITY e 'E'>\n <!-- in the subset "
            "--><?q?>\n]>\n<r a=\"1\">E</r>\n" },
        { "<!DOCTYPE r SYSTEM 'r.dtd'><!--after doctype--><r/>",
            "<!DOCTYPE r SYSTEM \"r.dtd\">\n<!--after doctype-->\n<r></r>\n" },
        // Defaults declared in the subset are not added: the subset brings them back.
        { "<!DOCTYPE r [<!ATTLIST r d CDATA 'x'>]><r/>",
            "<!DOCTYPE r [<!ATTLIST r d CDATA 'x'>]>\n<r></r>\n" },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.input);
        Plinth::Ref<Arbor::BasicDocument> document = load(c.input);
        const std::string written = xml(document.get());
        EXPECT_EQ(written, declaration + std::string(c.written));
        // What is written loads back as the same document.
        EXPECT_EQ(xml(load(written).get()), written);
    }
    EXPECT_EQ(load(cases[2].input)->doctype()->internalSubset(),
        "\n <!ENTITY e 'E'>\n <!-- in the subset --><?q?>\n");
}

TEST(XmlMarkupTest, OptionsSkipCommentsAndInstructions)
{
    const std::string input = "<!--a--><?p?><r>x<!--c-->y<?q?>z</r><!--e-->";
    struct Case {
        bool comments;
        bool instructions;
        const char* written;
        unsigned long items; // of <r>: joined text is one node
    };
    const Case cases[] = {
        { false, true, "<?p?>\n<r>xy<?q?>z</r>\n", 3 },
        { true, false, "<!--a-->\n<r>x<!--c-->yz</r>\n<!--e-->\n", 3 },
        { false, false, "<r>xyz</r>\n", 1 },
    };
    for (const Case& c : cases) {
        Arbor::XmlLoadOptions options;
        options.keepComments = c.comments;
        options.keepProcessingInstructions = c.instructions;
        Plinth::Ref<Arbor::BasicDocument> document = load(input, options);
        EXPECT_EQ(xml(document.get()), declaration + std::string(c.written));
        EXPECT_EQ(document->documentElement()->items(), c.items);
    }
}

TEST(XmlMarkupTest, SourcePositionsOfLoadedNodes)
{
    const std::string input = "<?xml version=\"1.0\"?>\n<!--top-->\n<r>\n  <a x='1'>t&amp;u</a>"
                              "<?pi d?><!--c-->\n  <b/><![CDATA[ta]]>il</r>";
    Arbor::XmlLoadOptions options;
    options.recordPositions = true;
    Plinth::Ref<Arbor::BasicDocument> document = load(input, options);
    Arbor::Node* r = document->documentElement();
    Arbor::Node* a = r->findChild(Arbor::Token("a"));
    struct Case {
        Arbor::Node* node;
        unsigned long line;
        unsigned long column;
    };
    const Case cases[] = {
        { document->prolog()->firstChild(), 2, 1 }, // the comment before the root
        { r, 3, 1 }, { r->firstChild(), 3, 4 }, // the white space after <r>
        { a, 4, 3 }, { a->firstChild(), 4, 12 },
        { a->nextSibling(), 4, 23 }, // the processing instruction
        { a->nextSibling()->nextSibling(), 4, 31 }, // the comment
        { r->findChild(Arbor::Token("b")), 5, 3 },
        { r->lastChild(), 5, 7 }, // "tail", from its CDATA section on
    };
    for (const Case& c : cases) {
        const Arbor::XmlSourcePosition at = Arbor::sourcePosition(c.node);
        EXPECT_EQ(at.line, c.line) << c.node->nodeName().name;
        EXPECT_EQ(at.column, c.column) << c.node->nodeName().name;
    }

    // Nodes made or copied later, and every node of a load without the option, have none.
    Plinth::Ref<Arbor::Node> copy(a->cloneNode(true));
    EXPECT_EQ(Arbor::sourcePosition(copy.get()).line, 0u);
    EXPECT_EQ(Arbor::sourcePosition(load(input)->documentElement()).line, 0u);

    // A destroyed node leaves the table: a new node at its address has no position.
    const void* gone = a;
    r->removeChild(a);
    for (int i = 0; i < 1000; ++i) {
        Plinth::Ref<Arbor::Element> fresh(document->createElement("a"));
        if (fresh.get() == gone) {
            EXPECT_EQ(Arbor::sourcePosition(fresh.get()).line, 0u);
            break;
        }
    }
}
