#include "tests/support/Host.h"

using CloneTest = HostTest;

namespace {

using Arbor::Node;
using Arbor::Token;

// The XML of a node and its children (a fragment writes nothing itself).
std::string content(Node* node)
{
    std::string out = xml(node);
    for (Node* child = node->firstChild(); node->asFragment() && child; child = child->next)
        out += xml(child);
    return out;
}

const char* stringOf(const Arbor::Variant& value)
{
    const Arbor::Variant* typed = value.dynamicCast(Arbor::StringVariant::runtimeClass());
    return typed ? static_cast<const Arbor::StringVariant*>(typed)->val() : nullptr;
}

} // namespace

// A copy is a new unlinked node of the same document, made without an event or an undo record; a
// shallow copy has no children, a deep copy shares the attribute values, and changing a copy
// leaves its source alone. The element is a plain BasicElement, so the library's own copy runs.
TEST_F(CloneTest, CopiesAreNewUnlinkedNodesMadeSilently)
{
    auto* e = new Arbor::BasicElement(&document(), Token("e"));
    root()->appendChild(e);
    e->setAttribute(Token("s"), Arbor::StringVariant("shared"));
    appendText(e, u"x");
    appendElement(e, "b")->setAttribute(Token("k"), Arbor::BoolVariant(true));
    TestText* text = appendText(root(), u"abc");
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    appendText(appendElement(fragment.get(), "a"), u"in a");
    Plinth::Ref<TestText> empty(document().makeText(nullptr));
    document().clearUndoStack();
    events.clear();

    const std::pair<Node*, const char*> cases[] = { { e, "<e s=\"shared\"></e>" },
        { root(), "<root></root>" }, { fragment.get(), "" }, { text, "abc" }, { empty.get(), "" } };
    for (const auto& [source, shallow] : cases) {
        for (bool deep : { false, true }) {
            SCOPED_TRACE(label(source) + (deep ? " deep" : " shallow"));
            const std::string was = content(source);
            Plinth::Ref<Node> copy(source->cloneNode(deep));
            EXPECT_EQ(copy->document, &document());
            EXPECT_EQ(content(copy.get()), deep ? was : shallow);
            if (Arbor::Text* copied = copy->asText()) {
                EXPECT_EQ(copied->data() == nullptr, source == empty.get());
                copied->appendData(u"!");
            }
            if (Arbor::Element* element = copy->asElement()) {
                EXPECT_EQ(stringOf(element->getAttribute(Token("s"))),
                    stringOf(source->asElement()->getAttribute(Token("s"))));
                element->removeAttributeRaw(Token("s"));
            }
            for (Node* child = copy->firstChild(); child; child = child->next)
                if (child->asText()) child->asText()->appendData(u"!");
            if (copy->firstChild()) copy->removeChild(copy->firstChild());
            EXPECT_EQ(content(source), was);
            EXPECT_TRUE(events.lines().empty());
            EXPECT_FALSE(document().canUndo());
        }
    }
    EXPECT_EQ(document().cloneNode(true), nullptr);
    EXPECT_EQ(document().cloneNode(false), nullptr);
}
