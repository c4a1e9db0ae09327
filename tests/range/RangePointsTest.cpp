#include "tests/range/RangeFixture.h"

using Arbor::Node;
using Arbor::Range;
using Plinth::Ref;

namespace {

using RangePointsTest = RangeTest;

// Where each setter puts the points is checked after every random step by the reliability
// interpreter; here what it does not see: the first points, collapse, the common ancestor, the
// kind of compare that is not one of the four, and which error wins.
TEST_F(RangePointsTest, NewRangeCollapseAndCommonAncestor)
{
    Ref<Range> r(document().createRange(false));
    EXPECT_EQ(points(r.get()), "(#document,0)-(#document,0)");
    EXPECT_TRUE(r->collapsed());
    EXPECT_EQ(r->commonAncestorContainer(), &document());
    EXPECT_FALSE(r->isSelected() || r->isSuspended() || r->isDetached());
    EXPECT_TRUE(document().createRange(true)->isSelected());
    EXPECT_TRUE(events.lines().empty()) << "becoming selected is not announced";
    expectRangeError(1, [&] { r->setStart(c[1], 0); }); // the end is set first

    TestText* t = appendText(c[1], u"abcd");
    r = range(t, 2, c[2], 0);
    EXPECT_FALSE(r->collapsed());
    EXPECT_EQ(r->commonAncestorContainer(), p);
    r->collapse(false);
    EXPECT_EQ(points(r.get()), "(c2,0)-(c2,0)");
    r = range(t, 1, t, 3);
    EXPECT_FALSE(r->collapsed());
    EXPECT_EQ(r->commonAncestorContainer(), t);
    Ref<Range> other = range(t, 2, t, 4);
    for (int how : { 4, 7, -1 })
        EXPECT_EQ(r->compareBoundaryPoints(how, other.get()), 0) << how;
    r->collapse(true);
    EXPECT_EQ(points(r.get()), "(t,1)-(t,1)");
    EXPECT_TRUE(r->collapsed());

    r->detach();
    const std::function<void()> refused[] = { [&] { r->collapse(true); }, [&] { r->collapsed(); },
        [&] { r->commonAncestorContainer(); }, [&] { r->selectNode(c[0]); },
        [&] { r->selectNodeContents(nullptr); }, [&] { r->cloneRange(true); },
        [&] { r->cloneNode(true); } };
    for (const auto& call : refused)
        expectDomError(11, call);
}

TEST_F(RangePointsTest, ChecksRunInOrderAndChangeNothing)
{
    Ref<TestElement> foreign(otherDocument().makeElement("o"));
    Ref<TestElement> orphan(document().makeElement("orphan"));
    appendElement(orphan.get(), "inner");
    Ref<Range> dead(document().createRange(false));
    dead->detach();
    Ref<Range> foreignRange(otherDocument().createRange(false));
    Ref<Range> outside(document().createRange(false));
    outside->selectNodeContents(orphan.get()); // compares nothing, so it can leave the tree
    const Ref<Range> r = selectedRange(p, 1, p, 4);
    // A code above 100 is a RangeException's code plus 100.
    const std::pair<long, std::function<void()>> cases[] = {
        { 11, [&] { dead->setStart(foreign.get(), 99); } }, // detached before wrong document
        { 11, [&] { dead->setEnd(p, 1); } },
        { 4, [&] { r->setStart(foreign.get(), 99); } }, // wrong document before index
        { 4, [&] { r->setEnd(foreign.get(), 0); } },
        { 8, [&] { r->setStart(nullptr, 0); } },
        { 1, [&] { r->setStart(c[5], 1); } }, // index before order
        { 1, [&] { r->setEnd(p, 7); } },
        { 1, [&] { r->setStart(orphan.get(), 2); } }, // index before common ancestor
        { 4, [&] { r->setStart(orphan.get(), 0); } }, // no common ancestor
        { 4, [&] { r->setEnd(orphan.get(), 0); } },
        { 101, [&] { r->setStart(p, 5); } },
        { 101, [&] { r->setEnd(p, 0); } },
        { 4, [&] { r->selectNodeContents(foreign.get()); } },
        { 8, [&] { r->selectNodeContents(nullptr); } },
        { 11, [&] { dead->compareBoundaryPoints(0, r.get()); } },
        { 11, [&] { dead->compareBoundaryPoints(0, foreignRange.get()); } },
        { 8, [&] { r->compareBoundaryPoints(0, nullptr); } },
        { 4, [&] { r->compareBoundaryPoints(0, foreignRange.get()); } },
        { 11, [&] { r->compareBoundaryPoints(0, dead.get()); } },
        { 4, [&] { r->compareBoundaryPoints(0, outside.get()); } },
        { 4, [&] { outside->compareBoundaryPoints(2, r.get()); } },
        { 4, [&] { outside->setEnd(p, 1); } },
    };
    int row = 0;
    for (const auto& [code, call] : cases) {
        SCOPED_TRACE("row " + std::to_string(row++));
        if (code > 100)
            expectRangeError(code - 100, call);
        else
            expectDomError(code, call);
        EXPECT_EQ(points(r.get()), "(p,1)-(p,4)");
        EXPECT_EQ(points(outside.get()), "(orphan,0)-(orphan,1)");
        EXPECT_TRUE(events.take().empty());
    }
    // The node forms check the node, then that it has a parent.
    const std::function<void(Range*, Node*)> forms[] = {
        [](Range* r, Node* n) { r->setStartBefore(n); },
        [](Range* r, Node* n) { r->setStartAfter(n); },
        [](Range* r, Node* n) { r->setEndBefore(n); },
        [](Range* r, Node* n) { r->setEndAfter(n); },
        [](Range* r, Node* n) { r->selectNode(n); },
    };
    for (const auto& call : forms) {
        SCOPED_TRACE("form " + std::to_string(row++));
        expectRangeError(2, [&] { call(r.get(), orphan.get()); });
        expectRangeError(2, [&] { call(r.get(), &document()); });
        expectDomError(4, [&] { call(r.get(), foreign.get()); });
        expectDomError(8, [&] { call(r.get(), nullptr); });
        expectDomError(11, [&] { call(dead.get(), orphan.get()); });
        EXPECT_EQ(points(r.get()), "(p,1)-(p,4)");
    }
}

// A selected range announces a move before storing it and holds itself meanwhile; a call that
// moves no point, and any call on an unselected range, announces nothing.
TEST_F(RangePointsTest, SelectedRangeAnnouncesNewPointsBeforeStoringThem)
{
    Ref<Range> r = selectedRange(p, 1, p, 4);
    Ref<Range> plain = range(p, 1, p, 4);
    std::vector<std::string> seen;
    CallbackObserver watcher;
    watcher.react = [&](Arbor::DomEvent&) {
        seen.push_back(points(r.get()) + " " + std::to_string(r->refCount));
    };
    document().addObserver(&watcher);
    r->change(r->startContainer, r->startOffset, r->endContainer, r->endOffset);
    r->setStart(p, 1);
    plain->setEnd(p, 5);
    plain->collapse(false);
    r->collapse(true);
    r->collapse(true);
    r->setEnd(c[2], 0);
    const std::vector<std::string> announced = { "BeforeSelectionChange((p,1)-(p,1))",
        "AfterSelectionChange", "BeforeSelectionChange((p,1)-(c2,0))", "AfterSelectionChange" };
    EXPECT_EQ(events.take(), announced);
    // Inside its events the range is held once more (list, selection, test and change).
    const std::vector<std::string> held
        = { "(p,1)-(p,4) 4", "(p,1)-(p,1) 4", "(p,1)-(p,1) 4", "(p,1)-(c2,0) 4" };
    EXPECT_EQ(seen, held);
    document().removeObserver(&watcher);
}

} // namespace
