#include "tests/support/Host.h"

#include <string>
#include <vector>

using CloneTest = HostTest;

namespace {

using Arbor::Node;
using Arbor::Token;

// Every node below `node` (not itself), depth first.
void descendants(Node* node, std::vector<Node*>& out)
{
    for (Node* child = node->firstChild(); child; child = child->next) {
        out.push_back(child);
        descendants(child, out);
    }
}

// The XML of a node, or of each child of a fragment (a fragment writes nothing itself).
std::string content(Node* node)
{
    if (!node->asFragment()) return xml(node);
    std::string out = "fragment:";
    for (Node* child = node->firstChild(); child; child = child->next)
        out += xml(child);
    return out;
}

const char* stringOf(const Arbor::Variant& value)
{
    const Arbor::Variant* typed = value.dynamicCast(Arbor::StringVariant::runtimeClass());
    return typed ? static_cast<const Arbor::StringVariant*>(typed)->val() : nullptr;
}

} // namespace

// A copy is a new node of the same document with no links, made without an event or an undo
// record; a deep copy copies the whole subtree into new nodes and shares the attribute values, and
// changing a copy leaves its source alone. The element is a plain BasicElement, so the library's
// own copy runs for it.
TEST_F(CloneTest, CopiesAreNewUnlinkedNodesMadeSilently)
{
    auto* e = new Arbor::BasicElement(&document(), Token("e"));
    root()->appendChild(e);
    e->setAttribute(Token("s"), Arbor::StringVariant("shared"));
    e->setAttribute(Token("n"), Arbor::LongVariant(1));
    appendText(e, u"x");
    appendElement(e, "b")->setAttribute(Token("k"), Arbor::BoolVariant(true));
    TestText* text = appendText(root(), u"abc");
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    TestElement* a = appendElement(fragment.get(), "a");
    a->setAttribute(Token("k"), Arbor::LongVariant(1));
    appendText(a, u"in a");
    appendText(fragment.get(), u"t");
    appendElement(fragment.get(), "b");
    Plinth::Ref<TestText> empty(document().makeText(nullptr));
    document().clearUndoStack();
    events.clear();

    struct Case {
        Node* source;
        const char* shallow;
    };
    const Case cases[] = {
        { e, "<e s=\"shared\" n=\"1\"></e>" },
        { root(), "<root></root>" },
        { fragment.get(), "fragment:" },
        { text, "abc" },
        { empty.get(), "" },
    };
    for (const Case& c : cases) {
        for (bool deep : { false, true }) {
            SCOPED_TRACE(label(c.source) + (deep ? " deep" : " shallow"));
            const std::string source = content(c.source);
            Plinth::Ref<Node> copy(c.source->cloneNode(deep));
            ASSERT_EQ(copy->nodeType(), c.source->nodeType());
            EXPECT_EQ(copy->document, &document());
            EXPECT_EQ(siblings(copy.get()), label(copy.get())) << "a copy has no links";
            EXPECT_EQ(content(copy.get()), deep ? source : c.shallow);
            std::vector<Node*> originals, copies;
            descendants(c.source, originals);
            descendants(copy.get(), copies);
            ASSERT_EQ(copies.size(), deep ? originals.size() : 0u);
            for (size_t i = 0; i < copies.size(); ++i)
                EXPECT_NE(copies[i], originals[i]);
            if (Arbor::Text* copied = copy->asText()) {
                EXPECT_TRUE(
                    copied->data() == nullptr || copied->data() != c.source->asText()->data());
                EXPECT_EQ(copied->data() == nullptr, c.source == empty.get());
                copied->appendData(u"!");
            }
            if (Arbor::Element* element = copy->asElement()) {
                EXPECT_EQ(stringOf(element->getAttribute(Token("s"))),
                    stringOf(c.source->asElement()->getAttribute(Token("s"))));
                element->setAttributeRaw(Token("n"), Arbor::LongVariant(2));
                element->removeAttributeRaw(Token("s"));
            }
            for (Node* node : copies) {
                if (node->asText()) node->asText()->appendData(u"!");
            }
            if (copy->firstChild()) copy->removeChild(copy->firstChild());
            EXPECT_EQ(content(c.source), source);
            EXPECT_TRUE(events.lines().empty());
            EXPECT_FALSE(document().canUndo());
        }
    }
    EXPECT_EQ(document().cloneNode(true), nullptr);
    EXPECT_EQ(document().cloneNode(false), nullptr);
}
