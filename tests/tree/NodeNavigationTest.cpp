#include "tests/support/Host.h"

#include <climits>
#include <vector>

using NodeNavigationTest = HostTest;

namespace {

// Every node of the tree below `node` (itself included).
void collect(Arbor::Node* node, std::vector<Arbor::Node*>& out)
{
    out.push_back(node);
    for (Arbor::Node* child = node->firstChild(); child; child = child->next)
        collect(child, out);
}

} // namespace

// Positions (parentOffset, findChild by index) are checked against the tree by the random
// operations; here the counts along a run, also of a parentless chain.
TEST_F(NodeNavigationTest, Counts)
{
    TestElement* a = appendElement(root(), "a");
    appendElement(root(), "b");
    TestText* c = appendText(root(), u"c");
    EXPECT_EQ(Arbor::Node::countFollowing(a), 3u);
    EXPECT_EQ(Arbor::Node::countFollowing(c), 1u);
    EXPECT_EQ(Arbor::Node::countFollowing(nullptr), 0u);
    EXPECT_EQ(root()->items(), 3u);
    EXPECT_EQ(a->items(), 0u);
    Plinth::Ref<TestText> loose(document().makeText(u"abc"));
    loose->splitText(1);
    EXPECT_EQ(Arbor::Node::countFollowing(loose.get()), 2u);
    Plinth::Ref<Arbor::DocumentFragment> fragment(document().createDocumentFragment());
    EXPECT_FALSE(fragment->hasAttributes());
    EXPECT_FALSE(document().hasAttributes());
}

TEST_F(NodeNavigationTest, FindChildByNameAndIndex)
{
    EXPECT_EQ(root()->findChild(0ul), nullptr);
    EXPECT_EQ(root()->findChild(Arbor::Token("x")), nullptr);

    TestElement* x1 = appendElement(root(), "x");
    TestText* text = appendText(root(), u"t");
    TestElement* y = appendElement(root(), "y");
    appendElement(root(), "x");

    EXPECT_EQ(root()->findChild(Arbor::Token("x")), x1) << "the first of several";
    EXPECT_EQ(root()->findChild(Arbor::Token("y")), y);
    EXPECT_EQ(root()->findChild(Arbor::Token("#text")), text);
    EXPECT_EQ(root()->findChild(Arbor::Token("z")), nullptr);

    EXPECT_EQ(root()->findChild(4ul), nullptr) << "index equal to the number of children";
    EXPECT_EQ(root()->findChild(ULONG_MAX), nullptr);
    EXPECT_EQ(text->findChild(0ul), nullptr);
}

TEST_F(NodeNavigationTest, CommonAncestorContainerLeavesNoMarks)
{
    // root > a > (b > c, d);  detached: e > f
    TestElement* a = appendElement(root(), "a");
    TestElement* b = appendElement(a, "b");
    TestText* c = appendText(b, u"c");
    TestElement* d = appendElement(a, "d");
    Plinth::Ref<TestElement> e(document().makeElement("e"));
    TestElement* f = appendElement(e.get(), "f");

    struct Case {
        const char* name;
        Arbor::Node* a;
        Arbor::Node* b;
        Arbor::Node* expected;
    };
    const Case cases[] = {
        { "same node", c, c, c },
        { "both null", nullptr, nullptr, nullptr },
        { "second null", c, nullptr, nullptr },
        { "first null", nullptr, c, nullptr },
        { "child and parent", c, b, b },
        { "parent and child", b, c, b },
        { "cousins", c, d, a },
        { "document and deep node", &document(), c, &document() },
        { "different trees", c, f, nullptr },
        { "different trees, other way", f, c, nullptr },
        { "different documents", root(), otherDocument().makeElement("o"), nullptr },
    };
    std::vector<Arbor::Node*> all;
    collect(&document(), all);
    collect(e.get(), all);
    for (const Case& test : cases) {
        SCOPED_TRACE(test.name);
        EXPECT_EQ(Arbor::Node::commonAncestorContainer(test.a, test.b), test.expected);
        for (Arbor::Node* node : all)
            ASSERT_EQ(node->mark, 0u) << label(node) << " still marked";
        if (test.b && test.b->document != &document()) {
            EXPECT_EQ(test.b->mark, 0u);
            test.b->unref(); // the other document's element was made for this case only
        }
    }
}
