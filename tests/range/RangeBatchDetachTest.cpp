#include "tests/range/RangeFixture.h"

using Arbor::Node;
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

TEST_F(RangeBatchDetachTest, BatchParksRangesUntilTheySetAgain)
{
    Ref<Range> held = range(p, 1, p, 4);
    Ref<Range> selected = selectedRange(c[0], 0, p, 5);
    Range* selectedUnheld = document().createRange(true);
    selectedUnheld->setEnd(p, 2);
    document().createRange(false)->setEnd(p, 3); // held by nobody: purged
    Node* list = held->parentNode();
    ASSERT_EQ(list->items(), 4u);
    events.clear();

    document().beginBatchChanges();
    EXPECT_EQ(events.take(), std::vector<std::string> { "beforeBatch" })
        << "parking announces nothing";
    EXPECT_EQ(list->items(), 3u);
    for (Range* r : { held.get(), selected.get(), selectedUnheld }) {
        EXPECT_EQ(points(r), parked);
        EXPECT_TRUE(r->isSuspended());
    }

    // Checks still run, but nothing moves.
    held->setEnd(c[0], 0);
    held->setStart(&document(), 0);
    selected->setEnd(p, 2);
    expectDomError(1, [&] { held->setEnd(c[0], 1); });
    expectRangeError(1, [&] { held->setStart(p, 1); });
    p->removeChild(c[0]);
    Ref<Range> madeInBatch(document().createRange(false));
    EXPECT_TRUE(madeInBatch->isSuspended());
    for (Range* r : { held.get(), selected.get(), selectedUnheld, madeInBatch.get() })
        EXPECT_EQ(points(r), parked);

    document().beginBatchChanges();
    document().endBatchChanges();
    EXPECT_TRUE(held->isSuspended()) << "an inner batch ends nothing";
    EXPECT_TRUE(events.lines().empty());

    document().endBatchChanges();
    EXPECT_EQ(events.take(), std::vector<std::string> { "afterBatch" });
    for (Range* r : { held.get(), selected.get(), selectedUnheld, madeInBatch.get() }) {
        EXPECT_EQ(points(r), parked);
        EXPECT_FALSE(r->isSuspended());
    }
    expectRangeError(1, [&] { held->setStart(p, 1); });
    held->setEnd(p, 4);
    held->setStart(p, 1);
    EXPECT_EQ(points(held.get()), "(p,1)-(p,4)");
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

    // Suspended: no event.
    Ref<Range> parkedRange = selectedRange(p, 1, p, 4);
    document().beginBatchChanges();
    events.clear();
    parkedRange->detach();
    EXPECT_TRUE(events.lines().empty());
    EXPECT_FALSE(parkedRange->isSelected());
    document().endBatchChanges();

    // Silently: stays selected and keeps the selection's reference.
    Ref<Range> quiet = selectedRange(p, 1, p, 4);
    events.clear();
    quiet->detachSilent();
    EXPECT_TRUE(quiet->isSelected());
    EXPECT_EQ(quiet->refCount, 3u);
    EXPECT_TRUE(events.lines().empty());
}

} // namespace
