#include "tests/support/Host.h"

#include <functional>
#include <string>

namespace {

class PrologTest : public ::testing::Test {
protected:
    Plinth::Ref<Arbor::BasicDocument> doc { new Arbor::BasicDocument };

    void TearDown() override { doc->tearDown(); }

    Arbor::Comment* comment(const char16_t* data) { return doc->createComment(data); }
    Arbor::ProcessingInstruction* pi(const char* target, const char16_t* data)
    {
        return doc->createProcessingInstruction(Arbor::Token(target), data);
    }
};

const char declaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

} // namespace

TEST_F(PrologTest, WrittenInTheirPlacesOutsideTheChildList)
{
    EXPECT_EQ(xml(doc.get()), std::string(declaration) + "\n")
        << "as a plain document without them";
    Arbor::DocumentMisc* prolog = doc->prolog();
    prolog->appendChild(pi("xml-stylesheet", u"href=\"s.css\""));
    prolog->appendChild(doc->createDocumentType("html", "-//W3C//DTD XHTML 1.0 Strict//EN",
        "http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd"));
    prolog->appendChild(comment(u" head "));
    doc->appendChild(doc->createElement("html"));
    doc->epilog()->appendChild(comment(u"end"));
    doc->epilog()->appendChild(pi("done", nullptr));

    EXPECT_EQ(doc->documentElement()->nodeName(), Arbor::Token("html"));
    EXPECT_EQ(doc->items(), 1u);
    ASSERT_NE(doc->doctype(), nullptr);
    EXPECT_EQ(doc->doctype()->nodeType(), 10);
    EXPECT_EQ(doc->doctype()->systemId(), "http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd");
    EXPECT_EQ(prolog->nodeType(), Arbor::DOCUMENT_MISC_NODE);
    EXPECT_FALSE(prolog->firstChild()->isDocumentChild());
    EXPECT_EQ(xml(doc.get()),
        std::string(declaration)
            + "<?xml-stylesheet href=\"s.css\"?>\n"
              "<!DOCTYPE html PUBLIC \"-//W3C//DTD XHTML 1.0 Strict//EN\" "
              "\"http://www.w3.org/TR/xhtml1/DTD/xhtml1-strict.dtd\">\n"
              "<!-- head -->\n<html></html>\n<!--end-->\n<?done?>\n");
    // Items outside the content change at once, with nothing to undo.
    doc->clearUndoStack();
    static_cast<Arbor::Comment*>(prolog->lastChild())->setData(u"h");
    EXPECT_FALSE(doc->canUndo());
    prolog->removeChild(prolog->firstChild());
    EXPECT_EQ(prolog->items(), 2u);
}

TEST_F(PrologTest, DocumentTypeForms)
{
    struct Case {
        const char* name;
        const char* publicId;
        const char* systemId;
        const char* subset;
        const char* written; // null: INVALID_CHARACTER_ERR
    };
    const Case cases[] = {
        { "a", "", "", "", "<!DOCTYPE a>" },
        { "a", "", "a.dtd", "", "<!DOCTYPE a SYSTEM \"a.dtd\">" },
        { "a", "", "it\"s", "", "<!DOCTYPE a SYSTEM 'it\"s'>" },
        { "a", "", "", "<!ENTITY e \"x\">", "<!DOCTYPE a [<!ENTITY e \"x\">]>" },
        { "a:b", "p 'id'", "s", "\n", "<!DOCTYPE a:b PUBLIC \"p 'id'\" \"s\" [\n]>" },
        { "1a", "", "", "", nullptr },
        { "a", "p", "", "", nullptr },
        { "a", "bad\"", "s", "", nullptr },
        { "a", "", "'\"", "", nullptr },
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name + std::string(" ") + c.publicId + " " + c.systemId);
        const auto make
            = [&] { return doc->createDocumentType(c.name, c.publicId, c.systemId, c.subset); };
        if (!c.written) {
            expectDomError(5, [&] { delete make(); });
            continue;
        }
        Plinth::Ref<Arbor::DocumentType> type(make());
        EXPECT_EQ(xml(type.get()), c.written);
        Plinth::Ref<Arbor::Node> copy(type->cloneNode(false));
        EXPECT_EQ(xml(copy.get()), c.written);
    }
}

// Only comments, processing instructions and (in the prolog) one document type are taken; a
// refusal changes nothing.
TEST_F(PrologTest, RefusesOtherNodes)
{
    Arbor::DocumentMisc* prolog = doc->prolog();
    Arbor::DocumentMisc* epilog = doc->epilog();
    Arbor::Node* type = doc->createDocumentType("a");
    prolog->appendChild(type);
    prolog->appendChild(comment(u"c"));
    const std::string before = xml(doc.get());
    using Make = std::function<Arbor::Node*()>;
    const std::pair<Arbor::DocumentMisc*, Make> refused[] = {
        { prolog, [&] { return doc->createElement("e"); } },
        { prolog, [&] { return doc->createTextNode(u"t"); } },
        { prolog, [&] { return doc->createDocumentType("b"); } },
        { epilog, [&] { return doc->createDocumentType("b"); } },
        { epilog, [&] { return doc->createTextNode(u"\n"); } },
    };
    for (const auto& [misc, make] : refused) {
        Plinth::Ref<Arbor::Node> node(make());
        expectDomError(3, [&] { misc->appendChild(node.get()); });
        EXPECT_EQ(node->parentNode(), nullptr);
        EXPECT_EQ(xml(doc.get()), before);
    }
    // A fragment with one wrong node is refused as a whole.
    Plinth::Ref<Arbor::DocumentFragment> fragment(doc->createDocumentFragment());
    fragment->appendChild(comment(u"ok"));
    fragment->appendChild(doc->createElement("no"));
    Plinth::Ref<Arbor::Node> head(fragment->firstChild());
    expectDomError(3, [&] { epilog->appendChild(fragment.get()); });
    EXPECT_EQ(epilog->firstChild(), nullptr);
    // The document type may be replaced by another one.
    prolog->replaceChild(doc->createDocumentType("b"), type);
    EXPECT_EQ(doc->doctype()->nodeName(), Arbor::Token("b"));
    EXPECT_EQ(prolog->items(), 2u);
}
