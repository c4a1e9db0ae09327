#include "tests/range/RangeFixture.h"

#include <climits>

using Arbor::Node;
using Arbor::Range;
using Plinth::Ref;

namespace {

class RangeUpkeepTest : public RangeTest {
protected:
    TestText* t = nullptr;

    /// A fresh p with c0..c5 and a fresh text "abcdef" behind it, both under the document element.
    void rebuild()
    {
        c.clear();
        makeChildren(6);
        t = appendText(root(), u"abcdef");
        events.clear();
    }

    void SetUp() override
    {
        RangeTest::SetUp();
        rebuild();
    }
};

struct Case {
    const char* what;
    unsigned long so, eo; // points of a range (x, so)-(x, eo) in p (child cases) or t (text cases)
    std::function<void()> edit;
    const char* expected;
};

TEST_F(RangeUpkeepTest, ChildReplacementMovesPointsInTheParent)
{
    const Case cases[] = {
        { "remove c2 c3", 1, 4, [&] { p->replaceChildren(c[2], 2, nullptr); }, "(p,1)-(p,2)" },
        { "remove c0", 1, 4, [&] { p->removeChild(c[0]); }, "(p,0)-(p,3)" },
        { "remove c4 c5", 1, 4, [&] { p->replaceChildren(c[4], 2, nullptr); }, "(p,1)-(p,4)" },
        { "remove c1 (start at the run)", 1, 4, [&] { p->removeChild(c[1]); }, "(p,1)-(p,3)" },
        { "remove c3 (end right behind)", 1, 4, [&] { p->removeChild(c[3]); }, "(p,1)-(p,3)" },
        { "remove all", 1, 4, [&] { p->replaceChildren(c[0], 6, nullptr); }, "(p,0)-(p,0)" },
        { "insert two before c2", 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[2]); },
            "(p,1)-(p,6)" },
        { "insert two before c1", 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[1]); },
            "(p,1)-(p,6)" },
        { "insert two before c0", 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[0]); },
            "(p,3)-(p,6)" },
        { "insert two before c4 (at the end)", 1, 4,
            [&] { p->insertBefore(fragmentXY().get(), c[4]); }, "(p,1)-(p,4)" },
        { "append two", 1, 4, [&] { p->appendChild(fragmentXY().get()); }, "(p,1)-(p,4)" },
        { "collapsed at the insertion point", 2, 2,
            [&] { p->insertBefore(document().makeElement("x"), c[2]); }, "(p,2)-(p,2)" },
        { "replace c2 inside", 1, 4, [&] { p->replaceChild(document().makeElement("x"), c[2]); },
            "(p,1)-(p,4)" },
        { "replace the selected node", 2, 3,
            [&] { p->replaceChild(document().makeElement("x"), c[2]); }, "(p,2)-(p,2)" },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.what);
        rebuild();
        Ref<Range> r = range(p, test.so, p, test.eo);
        test.edit();
        EXPECT_EQ(points(r.get()), test.expected);
    }
}

TEST_F(RangeUpkeepTest, PointsInsideARemovedSubtreeMoveToTheRun)
{
    TestElement* g2 = appendElement(c[2], "g2");
    TestElement* deep = appendElement(g2, "deep");
    TestElement* g3 = appendElement(c[3], "g3");
    Ref<Range> startInside = range(g2, 0, p, 5);
    Ref<Range> endInside = range(p, 1, g3, 0);
    Ref<Range> bothDeep = range(deep, 0, deep, 0);
    p->replaceChildren(c[1], 3, nullptr); // c1, c2, c3
    EXPECT_EQ(points(startInside.get()), "(p,1)-(p,2)");
    EXPECT_EQ(points(endInside.get()), "(p,1)-(p,1)");
    EXPECT_EQ(points(bothDeep.get()), "(p,1)-(p,1)");
}

// How points in an edited text move is checked after every random edit by the reliability
// interpreter; here only that a text holding one of the points moves only that one.
TEST_F(RangeUpkeepTest, TextHoldingOnePointMovesOnlyThatOne)
{
    Ref<Range> r = range(t, 2, root(), root()->items());
    const std::string end = "(root," + std::to_string(root()->items()) + ")";
    t->deleteData(0, 4);
    EXPECT_EQ(points(r.get()), "(t,0)-" + end);
}

TEST_F(RangeUpkeepTest, UpkeepArithmeticDoesNotWrap)
{
    Ref<Range> r = range(t, 1, t, 4);
    r->beforeReplaceText(t, 2, ULONG_MAX, nullptr);
    EXPECT_EQ(points(r.get()), "(t,1)-(t,2)");
    r->beforeReplaceText(t, ULONG_MAX, ULONG_MAX, u"ab");
    EXPECT_EQ(points(r.get()), "(t,1)-(t,2)");
    r->beforeReplaceText(t, 0, ULONG_MAX, u"");
    EXPECT_EQ(points(r.get()), "(t,0)-(t,0)");

    // A run that does not start at a child of the parent lies behind the last child.
    Ref<TestElement> orphan(document().makeElement("orphan"));
    r = range(p, 1, p, 6);
    r->beforeReplaceChildren(p, orphan.get(), ULONG_MAX, nullptr);
    EXPECT_EQ(points(r.get()), "(p,1)-(p,6)");
    r->beforeReplaceChildren(p, c[2], ULONG_MAX, nullptr);
    EXPECT_EQ(points(r.get()), "(p,1)-(p,2)");
}

TEST_F(RangeUpkeepTest, RangesFollowUndoAndRedo)
{
    struct UndoCase {
        const char* what;
        bool inText;
        unsigned long so, eo;
        std::function<void()> edit;
        const char* done;
        const char* undone;
        const char* redone;
    };
    const UndoCase cases[] = {
        { "insert two before c2", false, 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[2]); },
            "(p,1)-(p,6)", "(p,1)-(p,4)", "(p,1)-(p,6)" },
        // Nodes put back at the end point come in behind it.
        { "remove c2 c3", false, 1, 4, [&] { p->replaceChildren(c[2], 2, nullptr); }, "(p,1)-(p,2)",
            "(p,1)-(p,2)", "(p,1)-(p,2)" },
        { "remove c0", false, 1, 4, [&] { p->removeChild(c[0]); }, "(p,0)-(p,3)", "(p,0)-(p,4)",
            "(p,0)-(p,3)" },
        { "insert text", true, 1, 4, [&] { t->insertData(2, u"xyz"); }, "(t,1)-(t,7)",
            "(t,1)-(t,4)", "(t,1)-(t,7)" },
        { "insert at a collapsed point", true, 2, 2, [&] { t->insertData(2, u"xy"); },
            "(t,2)-(t,2)", "(t,2)-(t,2)", "(t,2)-(t,2)" },
        { "replace text", true, 1, 4, [&] { t->replaceData(2, 2, u"xyz"); }, "(t,1)-(t,2)",
            "(t,1)-(t,2)", "(t,1)-(t,2)" },
        { "delete text at the start", true, 1, 4, [&] { t->deleteData(0, 1); }, "(t,0)-(t,3)",
            "(t,0)-(t,4)", "(t,0)-(t,3)" },
        { "two changes in one task", false, 1, 4,
            [&] {
                p->insertBefore(document().makeElement("x"), c[0]);
                p->removeChild(c[5]);
            },
            "(p,2)-(p,5)", "(p,1)-(p,4)", "(p,2)-(p,5)" },
    };
    for (const UndoCase& test : cases) {
        SCOPED_TRACE(test.what);
        rebuild();
        Node* container = test.inText ? static_cast<Node*>(t) : p;
        Ref<Range> r = range(container, test.so, container, test.eo);
        document().newUndoTask();
        test.edit();
        EXPECT_EQ(points(r.get()), test.done);
        document().undo();
        EXPECT_EQ(points(r.get()), test.undone);
        document().redo();
        EXPECT_EQ(points(r.get()), test.redone);
    }
}

TEST_F(RangeUpkeepTest, SelectedRangeAnnouncesDuringTheBeforeEvent)
{
    Ref<Range> r = selectedRange(p, 1, p, 4);
    Ref<Range> quiet = range(p, 1, p, 4);
    Ref<Range> quietText = range(t, 1, t, 3);
    std::vector<std::string> seen;
    CallbackObserver watcher;
    watcher.react = [&](Arbor::DomEvent& event) {
        if (event.type == Arbor::tok_BeforeSelectionChange
            || event.type == Arbor::tok_AfterSelectionChange)
            seen.push_back(std::to_string(p->items()) + " " + xml(t));
        // The range list hears every change first: a host observer finds the ranges moved.
        if (event.type == Arbor::tok_BeforeReplaceChildren)
            seen.push_back("before the removal " + points(quiet.get()));
        if (event.type == Arbor::tok_BeforeReplaceText)
            seen.push_back("before the edit " + points(quietText.get()));
    };
    document().addObserver(&watcher);
    events.clear();

    document().newUndoTask();
    p->replaceChildren(c[2], 2, nullptr);
    const std::vector<std::string> removed
        = { "BeforeSelectionChange((p,1)-(p,2))", "AfterSelectionChange",
              "BeforeReplaceChildren(p,child=c2,new=null,count=2)", "AfterReplaceChildren(p)" };
    EXPECT_EQ(events.take(), removed);
    EXPECT_EQ(points(quiet.get()), "(p,1)-(p,2)");

    document().newUndoTask();
    r->setEnd(t, 4);
    r->setStart(t, 1);
    events.clear();
    t->replaceData(2, 2, u"xyz");
    const std::vector<std::string> replaced = { "BeforeSelectionChange((t,1)-(t,2))",
        "AfterSelectionChange", "BeforeReplaceText(t,2,2,\"xyz\")", "AfterReplaceText(t)" };
    EXPECT_EQ(events.take(), replaced);

    // The tree and the text were still untouched while the selection events ran.
    // (The two setter calls in between account for four of the lines.)
    const std::vector<std::string> untouched
        = { "6 abcdef", "6 abcdef", "before the removal (p,1)-(p,2)", "4 abcdef", "4 abcdef",
              "4 abcdef", "4 abcdef", "4 abcdef", "4 abcdef", "before the edit (t,1)-(t,2)" };
    EXPECT_EQ(seen, untouched);

    // Undo replays the inverse through the same events.
    document().undo();
    const std::vector<std::string> undone
        = { "BeforeReplaceText(t,2,3,\"cd\")", "AfterReplaceText(t)" };
    EXPECT_EQ(events.take(), undone) << "(t,1)-(t,2) does not move";
    r->setEnd(t, 5);
    events.clear();
    document().redo();
    const std::vector<std::string> redone = { "BeforeSelectionChange((t,1)-(t,6))",
        "AfterSelectionChange", "BeforeReplaceText(t,2,2,\"xyz\")", "AfterReplaceText(t)" };
    EXPECT_EQ(events.take(), redone);
    document().removeObserver(&watcher);
}

TEST_F(RangeUpkeepTest, ChangesElsewhereLeaveRangesAlone)
{
    TestElement* g4 = appendElement(c[4], "g4");
    appendElement(g4, "h");
    TestElement* g0 = appendElement(c[0], "g0");
    appendElement(c[5], "g5");
    Ref<Range> behind = selectedRange(g4, 0, g4, 1);
    Ref<Range> ahead = selectedRange(g0, 0, c[0], 1);
    Ref<TestElement> orphan(document().makeElement("orphan"));
    appendElement(orphan.get(), "o1");
    Node* o2 = appendElement(orphan.get(), "o2");
    Ref<Range> outside(document().createRange(false));
    outside->selectNodeContents(orphan.get());
    events.clear();

    p->removeChild(c[1]); // behind: in a sibling subtree behind the run
    c[5]->removeChild(c[5]->firstChild()); // ahead and behind: unrelated subtree
    t->deleteData(0, 2); // neither holds the text
    orphan->removeChild(o2); // outside the content: no event
    EXPECT_EQ(points(behind.get()), "(g4,0)-(g4,1)");
    EXPECT_EQ(points(ahead.get()), "(g0,0)-(c0,1)");
    EXPECT_EQ(points(outside.get()), "(orphan,0)-(orphan,2)");
    for (const std::string& line : events.lines())
        EXPECT_EQ(line.find("Selection"), std::string::npos) << line;
}

} // namespace
