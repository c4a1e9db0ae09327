#include "tests/range/RangeFixture.h"

#include <climits>
#include <sstream>

using Arbor::Node;
using Arbor::Range;
using Plinth::Ref;

namespace {

class RangePointsTest : public RangeTest {
protected:
    void SetUp() override
    {
        RangeTest::SetUp();
        makeChildren(6);
        events.clear();
    }

    /// A detached range the test holds.
    Ref<Range> detachedRange()
    {
        Ref<Range> made(document().createRange(false));
        made->detach();
        return made;
    }
};

// A new range is collapsed at the document start and takes its end first: setting the start
// beyond it fails. selectNode and selectNodeContents do not compare with the old points.
TEST_F(RangePointsTest, NewRangeIsCollapsedAtTheDocumentStart)
{
    Ref<Range> r(document().createRange(false));
    EXPECT_EQ(points(r.get()), "(#document,0)-(#document,0)");
    EXPECT_TRUE(r->collapsed());
    EXPECT_EQ(r->commonAncestorContainer(), &document());
    EXPECT_FALSE(r->isSelected() || r->isSuspended() || r->isDetached());
    EXPECT_TRUE(document().createRange(true)->isSelected());
    EXPECT_TRUE(events.lines().empty()) << "becoming selected is not announced";

    expectRangeError(1, [&] { r->setStart(c[1], 0); });
    EXPECT_EQ(points(r.get()), "(#document,0)-(#document,0)");
    r->setEnd(p, 4);
    r->setStart(p, 1);
    EXPECT_EQ(points(r.get()), "(p,1)-(p,4)");
    Ref<Range> s(document().createRange(false));
    s->selectNode(c[2]);
    EXPECT_EQ(points(s.get()), "(p,2)-(p,3)");
    s = Ref<Range>(document().createRange(false));
    s->selectNodeContents(p);
    EXPECT_EQ(points(s.get()), "(p,0)-(p,6)");
}

TEST_F(RangePointsTest, SettersAcceptEveryPointInOrder)
{
    struct Case {
        const char* what;
        std::function<void(Range*)> set;
        const char* expected;
    };
    const Case cases[] = {
        { "start onto the end", [&](Range* r) { r->setStart(p, 4); }, "(p,4)-(p,4)" },
        { "end onto the start", [&](Range* r) { r->setEnd(p, 1); }, "(p,1)-(p,1)" },
        { "end at items()", [&](Range* r) { r->setEnd(p, 6); }, "(p,1)-(p,6)" },
        { "start inside a child before the end", [&](Range* r) { r->setStart(c[0], 0); },
            "(c0,0)-(p,4)" },
        { "end inside a child after the start", [&](Range* r) { r->setEnd(c[3], 0); },
            "(p,1)-(c3,0)" },
        { "start at the document", [&](Range* r) { r->setStart(&document(), 0); },
            "(#document,0)-(p,4)" },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Ref<Range> r = selectedRange(p, 1, p, 4);
        test.set(r.get());
        EXPECT_EQ(points(r.get()), test.expected);
        const std::vector<std::string> expected
            = { "BeforeSelectionChange(" + std::string(test.expected) + ")",
                  "AfterSelectionChange" };
        EXPECT_EQ(events.take(), expected);
    }
}

TEST_F(RangePointsTest, SetterChecksRunInOrderAndChangeNothing)
{
    Ref<TestElement> foreign(otherDocument().makeElement("o"));
    Ref<TestElement> orphan(document().makeElement("orphan"));
    Ref<Range> dead = detachedRange();
    struct Case {
        const char* what;
        bool rangeError;
        long code;
        std::function<void(Range*)> call;
    };
    const Case cases[] = {
        { "detached before wrong document", false, 11,
            [&](Range*) { dead->setStart(foreign.get(), 99); } },
        { "detached end", false, 11, [&](Range*) { dead->setEnd(p, 1); } },
        { "wrong document before index", false, 4,
            [&](Range* r) { r->setStart(foreign.get(), 99); } },
        { "wrong document end", false, 4, [&](Range* r) { r->setEnd(foreign.get(), 0); } },
        { "null node", false, 8, [&](Range* r) { r->setStart(nullptr, 0); } },
        { "index before order (start)", false, 1, [&](Range* r) { r->setStart(c[5], 1); } },
        { "index before order (end)", false, 1, [&](Range* r) { r->setEnd(c[0], 1); } },
        { "index past items()", false, 1, [&](Range* r) { r->setEnd(p, 7); } },
        { "index before common ancestor", false, 1,
            [&](Range* r) { r->setStart(orphan.get(), 1); } },
        { "no common ancestor (start)", false, 4, [&](Range* r) { r->setStart(orphan.get(), 0); } },
        { "no common ancestor (end)", false, 4, [&](Range* r) { r->setEnd(orphan.get(), 0); } },
        { "start one beyond the end", true, 1, [&](Range* r) { r->setStart(p, 5); } },
        { "start in a child behind the end", true, 1, [&](Range* r) { r->setStart(c[4], 0); } },
        { "end one before the start", true, 1, [&](Range* r) { r->setEnd(p, 0); } },
        { "end at the document start", true, 1, [&](Range* r) { r->setEnd(&document(), 0); } },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Ref<Range> r = selectedRange(p, 1, p, 4);
        if (test.rangeError)
            expectRangeError(test.code, [&] { test.call(r.get()); });
        else
            expectDomError(test.code, [&] { test.call(r.get()); });
        EXPECT_EQ(points(r.get()), "(p,1)-(p,4)");
        EXPECT_TRUE(events.take().empty());
    }
}

TEST_F(RangePointsTest, BeforeAndAfterFormsUseTheParentAndPosition)
{
    struct Case {
        const char* what;
        std::function<void(Range*)> set;
        const char* expected; // null: BAD_BOUNDARYPOINTS_ERR
    };
    const Case cases[] = {
        { "setStartBefore", [&](Range* r) { r->setStartBefore(c[2]); }, "(p,2)-(p,4)" },
        { "setStartAfter", [&](Range* r) { r->setStartAfter(c[2]); }, "(p,3)-(p,4)" },
        { "setEndBefore", [&](Range* r) { r->setEndBefore(c[2]); }, "(p,1)-(p,2)" },
        { "setEndAfter", [&](Range* r) { r->setEndAfter(c[2]); }, "(p,1)-(p,3)" },
        { "setStartAfter the end's child", [&](Range* r) { r->setStartAfter(c[3]); },
            "(p,4)-(p,4)" },
        { "setStartAfter behind the end", [&](Range* r) { r->setStartAfter(c[4]); }, nullptr },
        { "setEndBefore ahead of the start", [&](Range* r) { r->setEndBefore(c[0]); }, nullptr },
        { "setEndAfter the document element", [&](Range* r) { r->setEndAfter(root()); },
            "(p,1)-(#document,1)" },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        Ref<Range> r = range(p, 1, p, 4);
        if (test.expected) {
            test.set(r.get());
            EXPECT_EQ(points(r.get()), test.expected);
        } else {
            expectRangeError(1, [&] { test.set(r.get()); });
            EXPECT_EQ(points(r.get()), "(p,1)-(p,4)");
        }
    }
}

TEST_F(RangePointsTest, NodeFormsRefuseParentlessNodesAfterTheOtherChecks)
{
    Ref<TestElement> orphan(document().makeElement("orphan"));
    Ref<TestElement> foreign(otherDocument().makeElement("o"));
    Ref<Range> dead = detachedRange();
    const std::function<void(Range*, Node*)> forms[] = {
        [](Range* r, Node* n) { r->setStartBefore(n); },
        [](Range* r, Node* n) { r->setStartAfter(n); },
        [](Range* r, Node* n) { r->setEndBefore(n); },
        [](Range* r, Node* n) { r->setEndAfter(n); },
        [](Range* r, Node* n) { r->selectNode(n); },
    };
    int form = 0;
    for (const auto& call : forms) {
        SCOPED_TRACE("form " + std::to_string(form++));
        Ref<Range> r = range(p, 1, p, 4);
        expectRangeError(2, [&] { call(r.get(), orphan.get()); });
        expectRangeError(2, [&] { call(r.get(), &document()); });
        expectDomError(4, [&] { call(r.get(), foreign.get()); });
        expectDomError(8, [&] { call(r.get(), nullptr); });
        expectDomError(11, [&] { call(dead.get(), orphan.get()); });
        EXPECT_EQ(points(r.get()), "(p,1)-(p,4)");
    }
}

TEST_F(RangePointsTest, CollapseSelectAndCommonAncestor)
{
    TestText* t = appendText(c[1], u"abcd");
    Ref<Range> r = range(p, 1, p, 3);
    r->collapse(true);
    EXPECT_EQ(points(r.get()), "(p,1)-(p,1)");
    EXPECT_TRUE(r->collapsed());

    r = range(p, 1, p, 3);
    EXPECT_FALSE(r->collapsed());
    r->collapse(false);
    EXPECT_EQ(points(r.get()), "(p,3)-(p,3)");

    r->selectNode(c[2]);
    EXPECT_EQ(points(r.get()), "(p,2)-(p,3)");
    r->selectNode(root());
    EXPECT_EQ(points(r.get()), "(#document,0)-(#document,1)");
    r->selectNodeContents(t);
    EXPECT_EQ(points(r.get()), "(t,0)-(t,4)");
    r->selectNodeContents(c[0]);
    EXPECT_EQ(points(r.get()), "(c0,0)-(c0,0)");

    r = range(t, 2, c[2], 0);
    EXPECT_EQ(r->commonAncestorContainer(), p);
    r = range(t, 1, t, 3);
    EXPECT_EQ(r->commonAncestorContainer(), t);

    Ref<TestElement> foreign(otherDocument().makeElement("o"));
    expectDomError(4, [&] { r->selectNodeContents(foreign.get()); });
    expectDomError(8, [&] { r->selectNodeContents(nullptr); });
    EXPECT_EQ(points(r.get()), "(t,1)-(t,3)");

    r->detach();
    expectDomError(11, [&] { r->collapse(true); });
    expectDomError(11, [&] { r->collapsed(); });
    expectDomError(11, [&] { r->commonAncestorContainer(); });
    expectDomError(11, [&] { r->selectNode(c[0]); });
    expectDomError(11, [&] { r->selectNodeContents(foreign.get()); });
}

TEST_F(RangePointsTest, CompareBoundaryPointsPicksThePointsByHow)
{
    Ref<Range> a = range(p, 1, p, 3);
    Ref<Range> b = range(p, 3, p, 5);
    struct Case {
        int how;
        int aToB;
        int bToA;
    };
    const Case cases[] = {
        { 0, -1, 1 }, // start / start
        { 1, -1, 0 }, // start / end
        { 2, -1, 1 }, // end / end
        { 3, 0, 1 }, // end / start
        { 4, 0, 0 },
        { 7, 0, 0 },
        { -1, 0, 0 },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE("how " + std::to_string(test.how));
        EXPECT_EQ(a->compareBoundaryPoints(test.how, b.get()), test.aToB);
        EXPECT_EQ(b->compareBoundaryPoints(test.how, a.get()), test.bToA);
    }
    EXPECT_EQ(a->compareBoundaryPoints(0, a.get()), 0);
}

TEST_F(RangePointsTest, CompareBoundaryPointsChecks)
{
    Ref<Range> a = range(p, 1, p, 3);
    Ref<Range> dead = detachedRange();
    Ref<Range> foreign(otherDocument().createRange(false));
    Ref<TestElement> orphan(document().makeElement("orphan"));
    appendElement(orphan.get(), "inner");
    Ref<Range> outside(document().createRange(false));
    outside->selectNodeContents(orphan.get()); // compares nothing, so it can leave the tree

    expectDomError(11, [&] { dead->compareBoundaryPoints(0, a.get()); });
    expectDomError(11, [&] { dead->compareBoundaryPoints(0, foreign.get()); });
    expectDomError(8, [&] { a->compareBoundaryPoints(0, nullptr); });
    expectDomError(4, [&] { a->compareBoundaryPoints(0, foreign.get()); });
    expectDomError(11, [&] { a->compareBoundaryPoints(0, dead.get()); });
    expectDomError(4, [&] { a->compareBoundaryPoints(0, outside.get()); });
    expectDomError(4, [&] { outside->compareBoundaryPoints(2, a.get()); });
    expectDomError(4, [&] { outside->setEnd(p, 1); });
    EXPECT_EQ(points(outside.get()), "(orphan,0)-(orphan,1)");
}

TEST_F(RangePointsTest, SelectedRangeAnnouncesNewPointsBeforeStoringThem)
{
    Ref<Range> r = selectedRange(p, 1, p, 4);
    std::vector<std::string> seen;
    CallbackObserver watcher;
    watcher.react = [&](Arbor::DomEvent& event) {
        seen.push_back(std::string(event.type.name) + " sees " + points(r.get()) + " count "
            + std::to_string(r->refCount));
    };
    document().addObserver(&watcher);

    r->change(r->startContainer, r->startOffset, r->endContainer, r->endOffset);
    r->setStart(p, 1);
    r->collapse(true);
    r->collapse(true);
    const std::vector<std::string> collapsed
        = { "BeforeSelectionChange((p,1)-(p,1))", "AfterSelectionChange" };
    EXPECT_EQ(events.take(), collapsed) << "only the collapse moved a point";

    seen.clear();
    r->setEnd(c[2], 0);
    const std::vector<std::string> moved
        = { "BeforeSelectionChange((p,1)-(c2,0))", "AfterSelectionChange" };
    EXPECT_EQ(events.take(), moved);
    // Inside its events the range is held once more (list + selection + test + change).
    const std::vector<std::string> watched = { "BeforeSelectionChange sees (p,1)-(p,1) count 4",
        "AfterSelectionChange sees (p,1)-(c2,0) count 4" };
    EXPECT_EQ(seen, watched);

    Ref<Range> plain = range(p, 1, p, 4);
    events.clear();
    plain->setEnd(p, 5);
    plain->collapse(false);
    EXPECT_TRUE(events.lines().empty()) << "an unselected range announces nothing";
    document().removeObserver(&watcher);
}

} // namespace
