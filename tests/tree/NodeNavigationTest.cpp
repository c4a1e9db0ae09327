#include "tests/support/Host.h"

#include <climits>

using NodeNavigationTest = HostTest;

// Child positions and common ancestors are checked against the tree by the random operations and
// the ranges; here the counts along a run, also of a parentless chain, and lookups that miss.
TEST_F(NodeNavigationTest, CountsAndLookups)
{
    TestElement* a = appendElement(root(), "a");
    TestText* text = appendText(root(), u"t");
    TestElement* y = appendElement(root(), "y");
    appendElement(root(), "a");
    EXPECT_EQ(Arbor::Node::countFollowing(a), 4u);
    EXPECT_EQ(Arbor::Node::countFollowing(y), 2u);
    EXPECT_EQ(Arbor::Node::countFollowing(nullptr), 0u);
    EXPECT_EQ(root()->items(), 4u);
    EXPECT_EQ(a->items(), 0u);
    Plinth::Ref<TestText> loose(document().makeText(u"abc"));
    loose->splitText(1);
    EXPECT_EQ(Arbor::Node::countFollowing(loose.get()), 2u);
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    EXPECT_FALSE(fragment->hasAttributes());
    EXPECT_FALSE(document().hasAttributes());

    EXPECT_EQ(root()->findChild(Arbor::Token("a")), a) << "the first of several";
    EXPECT_EQ(root()->findChild(Arbor::Token("y")), y);
    EXPECT_EQ(root()->findChild(Arbor::Token("#text")), text);
    EXPECT_EQ(root()->findChild(Arbor::Token("z")), nullptr);
    EXPECT_EQ(a->findChild(Arbor::Token("x")), nullptr);
    EXPECT_EQ(root()->findChild(4ul), nullptr) << "index equal to the number of children";
    EXPECT_EQ(root()->findChild(ULONG_MAX), nullptr);
    EXPECT_EQ(text->findChild(0ul), nullptr);
}
