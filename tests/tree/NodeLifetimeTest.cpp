#include "tests/support/Host.h"

#include <climits>

using NodeLifetimeTest = HostTest;

// Leaks show at the teardown, which counts the host objects alive.
TEST_F(NodeLifetimeTest, LongSiblingRunIsReleasedWithoutRecursion)
{
    Plinth::Ref<TestElement> parent(document().makeElement("p"));
    appendText(parent.get(), u"first");
    for (int i = 0; i < 1000000; ++i)
        appendText(parent.get(), nullptr);
    // A held node deep in the run survives and ends the part that dies.
    TestText* held = appendText(parent.get(), u"held");
    held->ref();
    appendText(parent.get(), u"after");

    parent->replaceChildren(parent->firstChild(), ULONG_MAX, nullptr);
    EXPECT_EQ(children(parent.get()), "");
    EXPECT_EQ(held->previous, nullptr);
    EXPECT_EQ(held->refCount, 1u);
    EXPECT_EQ(siblings(held), "'held' 'after'");
    // A clean chain head: inserted alone, the rest of its chain goes.
    root()->appendChild(held);
    EXPECT_EQ(children(root()), "'held'");
    held->unref();
}

TEST_F(NodeLifetimeTest, DeepChainIsReleasedWithoutRecursion)
{
    const long live = liveHostObjects();
    const int depth = 200000;
    // Built from the bottom up, so no insertion walks the whole depth.
    TestElement* top = document().makeElement("e");
    TestElement* middle = nullptr;
    for (int level = 1; level < depth; ++level) {
        TestElement* above = document().makeElement("e");
        above->appendChild(top);
        top = above;
        if (level == depth / 2) middle = top;
    }
    top->ref();
    middle->ref();
    ASSERT_EQ(liveHostObjects(), live + depth);

    top->unref();
    EXPECT_EQ(middle->parent, nullptr);
    EXPECT_EQ(middle->refCount, 1u);
    EXPECT_EQ(middle->items(), 1u);
    EXPECT_EQ(liveHostObjects(), live + depth / 2 + 1) << "the held node keeps its subtree";

    // Also through a sibling chain: a text whose next sibling carries the deep subtree.
    Plinth::Ref<TestElement> holder(document().makeElement("holder"));
    appendText(holder.get(), u"t");
    holder->appendChild(middle);
    middle->unref();
}
