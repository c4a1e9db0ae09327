#include "tests/range/RangeFixture.h"

#include <climits>
#include <tuple>

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
        t = appendText(root(), u"abcdef");
        events.clear();
    }
};

// How a child replacement moves the points (p, so)-(p, eo); more cases run under undo below.
TEST_F(RangeUpkeepTest, ChildReplacementMovesPointsInTheParent)
{
    const auto x = [&] { return document().makeElement("x"); };
    const std::tuple<unsigned long, unsigned long, std::function<void()>, const char*> cases[] = {
        { 1, 4, [&] { p->replaceChildren(c[4], 2, nullptr); }, "(p,1)-(p,4)" },
        { 1, 4, [&] { p->removeChild(c[1]); }, "(p,1)-(p,3)" }, // the start at the run
        { 1, 4, [&] { p->removeChild(c[3]); }, "(p,1)-(p,3)" }, // the end right behind it
        { 1, 4, [&] { p->replaceChildren(c[0], 6, nullptr); }, "(p,0)-(p,0)" },
        { 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[1]); }, "(p,1)-(p,6)" },
        { 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[0]); }, "(p,3)-(p,6)" },
        { 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[4]); }, "(p,1)-(p,4)" }, // at the end
        { 1, 4, [&] { p->appendChild(fragmentXY().get()); }, "(p,1)-(p,4)" },
        { 2, 2, [&] { p->insertBefore(x(), c[2]); }, "(p,2)-(p,2)" },
        { 1, 4, [&] { p->replaceChild(x(), c[2]); }, "(p,1)-(p,4)" },
        { 2, 3, [&] { p->replaceChild(x(), c[2]); }, "(p,2)-(p,2)" }, // the selected node
    };
    for (const auto& [so, eo, edit, expected] : cases) {
        SCOPED_TRACE(expected);
        rebuild();
        Ref<Range> r = range(p, so, p, eo);
        edit();
        EXPECT_EQ(points(r.get()), expected);
    }
}

// Points inside a removed subtree move to where it was; points in other subtrees or in a text that
// is not edited stay, and of a range with one point in an edited text only that point moves.
TEST_F(RangeUpkeepTest, RemovalMovesOnlyThePointsInsideTheRun)
{
    TestElement* g2 = appendElement(c[2], "g2");
    TestElement* deep = appendElement(g2, "deep");
    TestElement* g3 = appendElement(c[3], "g3");
    TestElement* g4 = appendElement(c[4], "g4");
    appendElement(g4, "h");
    TestElement* g0 = appendElement(c[0], "g0");
    appendElement(c[5], "g5");
    Ref<Range> startInside = range(g2, 0, p, 5);
    Ref<Range> endInside = range(p, 1, g3, 0);
    Ref<Range> bothDeep = range(deep, 0, deep, 0);
    Ref<Range> behind = selectedRange(g4, 0, g4, 1);
    Ref<Range> ahead = selectedRange(g0, 0, c[0], 1);
    Ref<Range> halfText = range(t, 3, root(), 2); // only the start follows the text
    events.clear();

    p->replaceChildren(c[1], 3, nullptr); // c1, c2, c3
    c[5]->removeChild(c[5]->firstChild());
    t->deleteData(0, 2);
    EXPECT_EQ(points(startInside.get()), "(p,1)-(p,2)");
    EXPECT_EQ(points(endInside.get()), "(p,1)-(p,1)");
    EXPECT_EQ(points(bothDeep.get()), "(p,1)-(p,1)");
    EXPECT_EQ(points(behind.get()), "(g4,0)-(g4,1)");
    EXPECT_EQ(points(ahead.get()), "(g0,0)-(c0,1)");
    EXPECT_EQ(points(halfText.get()), "(t,1)-(root,2)");
    for (const std::string& line : events.lines())
        EXPECT_EQ(line.find("Selection"), std::string::npos) << line;
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

// Undo and redo move the points as any change does: nodes put back at the end point come in
// behind it, and text put back is not taken into the range.
TEST_F(RangeUpkeepTest, RangesFollowUndoAndRedo)
{
    struct Case {
        bool inText;
        unsigned long so, eo;
        std::function<void()> edit;
        const char *done, *undone, *redone;
    };
    const Case cases[] = {
        { false, 1, 4, [&] { p->insertBefore(fragmentXY().get(), c[2]); }, "(p,1)-(p,6)",
            "(p,1)-(p,4)", "(p,1)-(p,6)" },
        { false, 1, 4, [&] { p->replaceChildren(c[2], 2, nullptr); }, "(p,1)-(p,2)", "(p,1)-(p,2)",
            "(p,1)-(p,2)" },
        { false, 1, 4, [&] { p->removeChild(c[0]); }, "(p,0)-(p,3)", "(p,0)-(p,4)", "(p,0)-(p,3)" },
        { true, 1, 4, [&] { t->replaceData(2, 2, u"xyz"); }, "(t,1)-(t,2)", "(t,1)-(t,2)",
            "(t,1)-(t,2)" },
        { false, 1, 4,
            [&] {
                p->insertBefore(document().makeElement("x"), c[0]);
                p->removeChild(c[5]);
            },
            "(p,2)-(p,5)", "(p,1)-(p,4)", "(p,2)-(p,5)" },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.done);
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

// A selected range announces its new points before the tree changes, and the range list hears
// every change before the host's observers, which find the ranges moved and the tree as it was.
TEST_F(RangeUpkeepTest, SelectedRangeAnnouncesDuringTheBeforeEvent)
{
    Ref<Range> r = selectedRange(p, 1, p, 4);
    Ref<Range> rText = selectedRange(t, 1, t, 4);
    Ref<Range> quiet = range(p, 1, p, 4);
    Ref<Range> quietText = range(t, 1, t, 3);
    std::vector<std::string> seen;
    CallbackObserver watcher;
    watcher.react = [&](Arbor::DomEvent& event) {
        if (event.type == Arbor::tok_BeforeSelectionChange
            || event.type == Arbor::tok_AfterSelectionChange)
            seen.push_back(std::to_string(p->items()) + " " + xml(t));
        if (event.type == Arbor::tok_BeforeReplaceChildren
            || event.type == Arbor::tok_BeforeReplaceText)
            seen.push_back(points(quiet.get()) + " " + points(quietText.get()));
    };
    document().addObserver(&watcher);
    p->replaceChildren(c[2], 2, nullptr);
    t->replaceData(2, 2, u"xyz");
    const std::vector<std::string> announced = { "BeforeSelectionChange((p,1)-(p,2))",
        "AfterSelectionChange", "BeforeReplaceChildren(p,child=c2,new=null,count=2)",
        "AfterReplaceChildren(p)", "BeforeSelectionChange((t,1)-(t,2))", "AfterSelectionChange",
        "BeforeReplaceText(t,2,2,\"xyz\")", "AfterReplaceText(t)" };
    EXPECT_EQ(events.take(), announced);
    const std::vector<std::string> untouched = { "6 abcdef", "6 abcdef", "(p,1)-(p,2) (t,1)-(t,3)",
        "4 abcdef", "4 abcdef", "(p,1)-(p,2) (t,1)-(t,2)" };
    EXPECT_EQ(seen, untouched);
    document().removeObserver(&watcher);
}

} // namespace
