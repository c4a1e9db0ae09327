#include "tests/range/RangeFixture.h"

using Arbor::DomEvent;
using Arbor::Node;
using Arbor::Range;
using Plinth::Ref;

namespace {

class SelectionTest : public RangeTest {
protected:
    /// A change of the document through a model operation (which purges the range list).
    void edit() { appendElement(root(), "e"); }
};

TEST_F(SelectionTest, PurgeReleasesRangesHeldByNobody)
{
    Node* list = document().createRange(false)->parentNode();
    const auto left = [&] { // the ranges left after a change
        edit();
        return list->items();
    };
    Ref<Range> held(document().createRange(false));
    ASSERT_EQ(left(), 1u);
    EXPECT_FALSE(held->isDetached());
    held.reset();
    EXPECT_EQ(left(), 0u);
    Range* selected = document().createRange(true); // held by the selection until deselected
    ASSERT_EQ(left(), 1u);
    selected->deselect();
    EXPECT_EQ(left(), 0u);

    // Undo and redo do not purge; both batch boundaries do.
    document().newUndoTask();
    edit();
    Range* replayed = document().createRange(false);
    document().undo();
    document().redo();
    ASSERT_EQ(list->items(), 1u);
    EXPECT_FALSE(replayed->isDetached());
    document().beginBatchChanges();
    EXPECT_EQ(list->items(), 0u);
    document().createRange(false);
    document().endBatchChanges();
    EXPECT_EQ(list->items(), 0u);
}

TEST_F(SelectionTest, WalksAndDeselectsTheSelectedRangesInListOrder)
{
    Range* silent = document().createRange(true);
    silent->detachSilent(); // detached but still selected: skipped, and not announced
    Range* a = document().createRange(true);
    Range* unselected = document().createRange(false);
    Range* b = document().createRange(true);
    Range* d = document().createRange(true);
    EXPECT_EQ(document().firstSelectedRange(), a);
    EXPECT_EQ(document().nextSelectedRange(unselected), b);
    std::vector<Range*> seen;
    for (Range* range : Arbor::selectedRanges(&document()))
        seen.push_back(range);
    EXPECT_EQ(seen, (std::vector<Range*> { a, b, d }));
    EXPECT_EQ(document().nextSelectedRange(d), nullptr);
    expectDomError(8, [&] { document().nextSelectedRange(nullptr); });
    Ref<Range> foreign(otherDocument().createRange(true));
    expectDomError(4, [&] { document().nextSelectedRange(foreign.get()); });

    std::vector<std::pair<Node*, bool>> heard; // target, still selected while announced
    CallbackObserver watcher;
    watcher.react = [&](DomEvent& event) {
        if (event.type == Arbor::tok_BeforeDeselect)
            heard.emplace_back(event.target, static_cast<Range*>(event.target)->isSelected());
    };
    document().addObserver(&watcher);

    document().deselectRanges();
    const std::vector<std::pair<Node*, bool>> expected = { { a, true }, { b, true }, { d, true } };
    EXPECT_EQ(heard, expected);
    for (Range* r : { a, b, silent, d })
        EXPECT_FALSE(r->isSelected());
    document().removeObserver(&watcher);

    // A second call and a call within a batch announce nothing.
    Ref<Range> held = selectedRange(p, 1, p, 2);
    document().beginBatchChanges();
    events.clear();
    for (int i = 0; i < 2; ++i)
        document().deselectRanges();
    EXPECT_TRUE(events.lines().empty());
    EXPECT_FALSE(held->isSelected());
    document().endBatchChanges();
}

// An observer may deselect or detach the range from inside its selection events: a detach
// cancels the event for the observers behind it, the operation completes all the same, and the
// selection's reference is dropped exactly once.
TEST_F(SelectionTest, ObserverThatDeselectsOrDetachesFromInside)
{
    enum Action { SetStart, Deselect, DeselectAll, Detach, DetachSilently };
    const std::string change = "BeforeSelectionChange((p,2)-(p,4))";
    const std::string gone = "BeforeDeselect";
    struct Case { // heard by the observers registered before and after the reacting one
        Action outer, inner;
        std::vector<std::string> heard, laterHears;
        bool selected, detached;
    };
    const Case cases[] = {
        { SetStart, Detach, { change, gone }, { gone }, false, true },
        { SetStart, Deselect, { change, gone }, { gone, change }, false, false },
        { SetStart, DetachSilently, { change }, {}, true, true }, // no after-event either
        { Deselect, Deselect, { gone }, { gone }, false, false },
        { Deselect, Detach, { gone }, {}, false, true },
        { Detach, Deselect, { gone }, { gone }, false, true },
        { Detach, Detach, { gone }, {}, false, true },
        { DeselectAll, Deselect, { gone }, { gone }, false, false },
        { DeselectAll, Detach, { gone }, {}, false, true },
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(std::to_string(test.outer) + " " + std::to_string(test.inner));
        Ref<Range> r = selectedRange(p, 1, p, 4);
        const auto act = [&](Action action) {
            if (action == SetStart) r->setStart(p, 2);
            if (action == Deselect) r->deselect();
            if (action == DeselectAll) document().deselectRanges();
            if (action == Detach) r->detach();
            if (action == DetachSilently) r->detachSilent();
        };
        const Arbor::Token trigger
            = test.outer == SetStart ? Arbor::tok_BeforeSelectionChange : Arbor::tok_BeforeDeselect;
        CallbackObserver reactor;
        reactor.react = [&](DomEvent& event) {
            if (event.type == trigger) act(test.inner);
        };
        EventLog later;
        document().addObserver(&reactor);
        document().addObserver(&later);
        act(test.outer);
        EXPECT_EQ(events.take(), test.heard);
        EXPECT_EQ(later.lines(), test.laterHears);
        EXPECT_EQ(r->isSelected(), test.selected);
        EXPECT_EQ(r->isDetached(), test.detached);
        document().removeObserver(&reactor);
        document().removeObserver(&later);
    }
}

// That parked ranges stay at the document's start is checked by the reliability interpreter;
// here that parking and unparking are silent and last until the outer batch ends.
TEST_F(SelectionTest, BatchParksRangesUntilTheySetAgain)
{
    Ref<Range> held = range(p, 1, p, 4);
    Ref<Range> selected = selectedRange(c[0], 0, p, 5);
    Range* selectedUnheld = document().createRange(true);
    selectedUnheld->setEnd(p, 2);
    events.clear();

    document().beginBatchChanges();
    // Checks still run, but nothing moves.
    held->setEnd(c[0], 0);
    selected->setEnd(p, 2);
    expectDomError(1, [&] { held->setEnd(c[0], 1); });
    expectRangeError(1, [&] { held->setStart(p, 1); });
    p->removeChild(c[0]);
    for (const bool outerEnds : { false, true }) {
        document().beginBatchChanges(); // an inner batch ends nothing
        document().endBatchChanges();
        if (outerEnds) document().endBatchChanges();
        EXPECT_EQ(
            events.take(), std::vector<std::string> { outerEnds ? "afterBatch" : "beforeBatch" });
        for (Range* r : { held.get(), selected.get(), selectedUnheld })
            EXPECT_EQ(r->isSuspended(), !outerEnds);
    }
    selected->setEnd(p, 2);
    const std::vector<std::string> announced
        = { "BeforeSelectionChange((#document,0)-(p,2))", "AfterSelectionChange" };
    EXPECT_EQ(events.take(), announced);
}

// Where the copies' points are is checked by the reliability interpreter.
// Copies are made silently at the end of the list; tearing down detaches and releases every
// range without announcing it.
TEST_F(SelectionTest, ClonesAndTearDown)
{
    Ref<Range> selectedHeld = selectedRange(p, 1, c[3], 0);
    Range* unselected = selectedHeld->cloneRange(false);
    EXPECT_EQ(selectedHeld->parentNode()->lastChild(), unselected);
    EXPECT_EQ(document().nextSelectedRange(selectedHeld.get()), selectedHeld->cloneNode(false));
    EXPECT_FALSE(static_cast<Range*>(unselected->cloneNode(true))->isSelected());
    EXPECT_TRUE(events.lines().empty()) << "copies are made without events";
    document().createRange(true)->selectNode(c[0]);
    Ref<Range> held = range(c[1], 0, p, 3);
    Ref<Range> own(new Range(&document(), false, false)); // the host's own range
    events.clear();

    document().tearDown();
    for (const std::string& line : events.lines())
        EXPECT_EQ(line.find("Deselect"), std::string::npos) << line;
    EXPECT_EQ(document().createRange(true), nullptr);
    EXPECT_EQ(document().firstSelectedRange(), nullptr);
    for (Range* r : { selectedHeld.get(), held.get() })
        EXPECT_TRUE(r->isDetached() && !r->isSelected() && !r->parentNode());
    EXPECT_EQ(own->cloneRange(false), nullptr);
    EXPECT_EQ(own->cloneNode(false), nullptr);
    own->detachSilent();
    EXPECT_EQ(document().refCount, 1u) << "no range holds the document any more";
}

// A selected range may hold the last references on its document. Moving it off the document
// still announces the move, and the document goes only afterwards, leaving the host's range
// detached.
TEST_F(SelectionTest, RangeReleasingItsDocumentAnnouncesFirst)
{
    auto* own = new TestDocument;
    Ref<Range> r(own->createRange(true));
    TestElement* top = appendElement(own, "top");
    EventLog heard;
    own->addObserver(&heard);

    r->selectNodeContents(top);
    const std::vector<std::string> expected = { "BeforeSelectionChange((top,0)-(top,0))",
        "AfterSelectionChange", "beforeBatch", "unObserve(all)" };
    EXPECT_EQ(heard.lines(), expected);
    EXPECT_TRUE(r->isDetached() && !r->isSelected());
}

} // namespace
