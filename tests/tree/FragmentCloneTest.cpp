#include "tests/support/Host.h"
#include "tests/tree/TreeCheck.h"

#include <string>
#include <vector>

using FragmentCloneTest = HostTest;

namespace {

// Every node below `node` (not itself), depth first.
void descendants(Arbor::Node* node, std::vector<Arbor::Node*>& out)
{
    for (Arbor::Node* child = node->firstChild(); child; child = child->next) {
        out.push_back(child);
        descendants(child, out);
    }
}

} // namespace

TEST_F(FragmentCloneTest, CloneFragmentShallowAndDeep)
{
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    TestElement* a = appendElement(fragment.get(), "a");
    a->setAttribute(Arbor::Token("k"), Arbor::LongVariant(1));
    appendText(a, u"in a");
    appendText(fragment.get(), u"t");
    appendElement(fragment.get(), "b");
    const std::string source = children(fragment.get());

    Plinth::Ref<Arbor::Node> shallow(fragment->cloneNode(false));
    ASSERT_NE(shallow->asFragment(), nullptr);
    EXPECT_EQ(shallow->document, &document());
    EXPECT_EQ(shallow->items(), 0u);

    Plinth::Ref<Arbor::Node> deep(fragment->cloneNode(true));
    ASSERT_NE(deep->asFragment(), nullptr);
    EXPECT_EQ(children(deep.get()), "a 't' b");
    EXPECT_EQ(children(deep->firstChild()), "'in a'");
    EXPECT_TRUE(deep->firstChild()->asElement()->hasAttribute(Arbor::Token("k")));

    // The copies are new nodes; changing them leaves the source alone.
    std::vector<Arbor::Node*> originals, copies;
    descendants(fragment.get(), originals);
    descendants(deep.get(), copies);
    ASSERT_EQ(originals.size(), copies.size());
    for (size_t i = 0; i < copies.size(); ++i)
        EXPECT_NE(originals[i], copies[i]);
    copies[1]->asText()->appendData(u"!");
    deep->removeChild(deep->firstChild());
    EXPECT_EQ(children(fragment.get()), source);
    EXPECT_EQ(children(a), "'in a'");
}

TEST_F(FragmentCloneTest, DeepCloneOfTheDocumentElementIsSilentAndDetached)
{
    TestElement* a = appendElement(root(), "a");
    appendText(a, u"x");
    appendElement(root(), "b");
    root()->setAttribute(Arbor::Token("id"), Arbor::StringVariant("r"));
    events.clear();
    document().clearUndoStack();

    Plinth::Ref<Arbor::Node> copy(root()->cloneNode(true));
    EXPECT_EQ(xml(copy.get()), xml(root()));
    EXPECT_EQ(copy->parent, nullptr);
    EXPECT_FALSE(copy->isDocumentChild());
    EXPECT_FALSE(copy->firstChild()->isDocumentChild());
    EXPECT_TRUE(events.lines().empty());
    EXPECT_FALSE(document().canUndo());

    Plinth::Ref<Arbor::Node> shallow(root()->cloneNode(false));
    EXPECT_EQ(xml(shallow.get()), "<root id=\"r\"></root>");
    EXPECT_EQ(document().cloneNode(true), nullptr);
}

TEST_F(FragmentCloneTest, CloneChildrenKeepsOrder)
{
    Plinth::Ref<TestElement> source(document().makeElement("s"));
    for (const char* name : { "a", "b", "c", "d" })
        appendElement(source.get(), name);
    Plinth::Ref<TestElement> target(document().makeElement("t"));
    source->cloneChildren(target.get());
    EXPECT_EQ(children(target.get()), "a b c d");
    EXPECT_EQ(children(source.get()), "a b c d");

    // Into a text node: refused at the first copy, which is not leaked.
    Plinth::Ref<TestText> text(document().makeText(u"x"));
    expectDomError(3, [&] { source->cloneChildren(text.get()); });
    EXPECT_EQ(children(source.get()), "a b c d");
}

TEST_F(FragmentCloneTest, FragmentWritesNothingAndEmptiesOnInsertion)
{
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    appendElement(fragment.get(), "a");
    appendText(fragment.get(), u"b");
    EXPECT_EQ(xml(fragment.get()), "");
    EXPECT_EQ(fragment->nodeType(), Arbor::DOCUMENT_FRAGMENT_NODE);
    EXPECT_EQ(fragment->nodeValue(), nullptr);
    EXPECT_FALSE(fragment->hasAttributes());

    root()->appendChild(fragment.get());
    EXPECT_EQ(children(root()), "a 'b'");
    EXPECT_EQ(fragment->firstChild(), nullptr);
    EXPECT_EQ(fragment->lastChild(), nullptr);
    EXPECT_EQ(fragment->items(), 0u);
    EXPECT_EQ(fragment->refCount, 1u) << "the fragment itself is never linked in";
}
