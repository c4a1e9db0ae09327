#include "tests/range/RangeFixture.h"

using Arbor::Range;
using Plinth::Ref;

namespace {

class RangeBatchDetachTest : public RangeTest {
protected:
    void SetUp() override
    {
        RangeTest::SetUp();
        makeChildren(6);
    }
};

const char* const parked = "(#document,0)-(#document,0)";

// That parked ranges stay at the document's start is checked by the reliability interpreter;
// here that parking and unparking are silent and last until the outer batch ends.
TEST_F(RangeBatchDetachTest, BatchParksRangesUntilTheySetAgain)
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
    Ref<Range> madeInBatch(document().createRange(false));
    document().beginBatchChanges();
    document().endBatchChanges();
    EXPECT_EQ(events.take(), std::vector<std::string> { "beforeBatch" });
    for (Range* r : { held.get(), selected.get(), selectedUnheld, madeInBatch.get() }) {
        EXPECT_EQ(points(r), parked);
        EXPECT_TRUE(r->isSuspended()) << "an inner batch ends nothing";
    }

    document().endBatchChanges();
    EXPECT_EQ(events.take(), std::vector<std::string> { "afterBatch" });
    for (Range* r : { held.get(), selected.get(), selectedUnheld, madeInBatch.get() }) {
        EXPECT_EQ(points(r), parked);
        EXPECT_FALSE(r->isSuspended());
    }
    selected->setEnd(p, 2);
    const std::vector<std::string> announced
        = { "BeforeSelectionChange((#document,0)-(p,2))", "AfterSelectionChange" };
    EXPECT_EQ(events.take(), announced);
}

TEST_F(RangeBatchDetachTest, DetachingASelectedRangeDeselectsIt)
{
    Ref<Range> r = selectedRange(p, 1, p, 4);
    r->detach();
    EXPECT_EQ(events.take(), std::vector<std::string> { "BeforeDeselect" });
    EXPECT_FALSE(r->isSelected());
    EXPECT_TRUE(r->isDetached());

    // Through unObserve, as the document's teardown does; a second call does nothing.
    Ref<Range> s = selectedRange(p, 1, p, 4);
    s->unObserve(Arbor::Token());
    EXPECT_EQ(events.take(), std::vector<std::string> { "BeforeDeselect" });
    EXPECT_TRUE(s->isDetached());
    s->unObserve(Arbor::tok_BeforeReplaceText);
    EXPECT_EQ(s->refCount, 2u);

    // Silently: stays selected and keeps the selection's reference.
    Ref<Range> quiet = selectedRange(p, 1, p, 4);
    events.clear();
    quiet->detachSilent();
    EXPECT_TRUE(quiet->isSelected());
    EXPECT_EQ(quiet->refCount, 3u);
    EXPECT_TRUE(events.lines().empty());
}

} // namespace
