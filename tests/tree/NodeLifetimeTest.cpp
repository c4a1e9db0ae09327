#include "tests/support/Host.h"

#include <climits>
#include <string>
#include <vector>

using NodeLifetimeTest = HostTest;

// Which of five children the caller holds when their parent dies. The unheld children before the
// first held one die; from that one on, the children live on as a parentless chain, since each
// holds the next.
TEST_F(NodeLifetimeTest, SurvivorsOfADestroyedParent)
{
    const char* patterns[] = { "x....", "....x", ".x.x.", "xx..x", "..xxx", "....." };
    for (const char* pattern : patterns) {
        SCOPED_TRACE(pattern);
        const long live = liveHostObjects();
        TestElement* parent = document().makeElement("p");
        parent->ref();
        std::vector<TestElement*> kids;
        for (int i = 0; pattern[i]; ++i) {
            kids.push_back(appendElement(parent, std::string(1, char('a' + i)).c_str()));
            appendElement(kids.back(), "grandchild");
            if (pattern[i] == 'x') kids.back()->ref();
        }
        const size_t firstHeld = std::string(pattern).find('x');
        parent->unref();

        std::string expected;
        for (size_t i = firstHeld; i < kids.size(); ++i) {
            expected += (i > firstHeld ? " " : "") + label(kids[i]);
            const unsigned long links = (pattern[i] == 'x' ? 1 : 0) + (i > firstHeld ? 1 : 0);
            EXPECT_EQ(kids[i]->refCount, links) << label(kids[i]);
            EXPECT_EQ(children(kids[i]), "grandchild") << "a survivor keeps its own children";
        }
        if (firstHeld != std::string::npos) {
            EXPECT_EQ(siblings(kids[firstHeld]), expected);
        }
        const long survivors = firstHeld == std::string::npos ? 0 : kids.size() - firstHeld;
        EXPECT_EQ(liveHostObjects(), live + 2 * survivors);
        for (size_t i = 0; i < kids.size(); ++i) {
            if (pattern[i] == 'x') kids[i]->unref();
        }
        EXPECT_EQ(liveHostObjects(), live);
    }
}

// Leaks show at the teardown, which counts the host objects alive.
TEST_F(NodeLifetimeTest, LongSiblingRunIsReleasedWithoutRecursion)
{
    Plinth::Ref<TestElement> parent(document().makeElement("p"));
    appendText(parent.get(), u"first");
    for (int i = 0; i < 100000; ++i)
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

TEST_F(NodeLifetimeTest, ParentOfAMillionChildren)
{
    TestElement* parent = document().makeElement("p");
    parent->ref();
    for (int i = 0; i < 1000000; ++i)
        appendText(parent, nullptr);
    parent->unref();
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
