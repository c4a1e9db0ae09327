#include "tests/support/Host.h"

// Faults the random operations found, each reduced to the smallest sequence that shows it.

using HistoryRegressionTest = HostTest;

// Removing a run of children keeps the run, as a parentless chain, in the undo record. Moving one
// of its nodes into the tree cuts it out of that chain without any record; undoing the move puts
// the node back alone, so undoing the removal must either restore the whole run or refuse with
// INVALID_STATE_ERR: silently restoring part of it (and destroying the rest) loses content.
TEST_F(HistoryRegressionTest, UndoOfARemovedRunSurvivesReuseOfOneOfItsNodes)
{
    for (int reused : { 0, 1, 2 }) {
        SCOPED_TRACE("node " + std::to_string(reused) + " of the run reused");
        Arbor::Node* run[]
            = { appendText(root(), u"a"), appendElement(root(), "b"), appendText(root(), u"c") };
        Arbor::Node* holder = appendElement(root(), "h");
        const std::string before = xml(&document());
        document().newUndoTask();
        root()->replaceChildren(run[0], 3, nullptr);
        document().newUndoTask();
        holder->appendChild(run[reused]);
        long code = 0;
        try {
            document().undo();
            document().undo();
        } catch (const Arbor::DomException& e) {
            code = e.code;
        }
        EXPECT_TRUE(code == 0 || code == Arbor::DomException::INVALID_STATE_ERR) << code;
        EXPECT_EQ(code == 0 ? xml(&document()) : before, before) << "undo restored part of the run";
        while (Arbor::Node* child = root()->firstChild())
            root()->removeChild(child);
        document().clearUndoStack();
    }
}

// Undoing a task puts removed attributes back where they were, also when the task added a new
// attribute after the removal (the new one is removed first, then the old one returns).
TEST_F(HistoryRegressionTest, UndoRestoresAttributeOrderAfterARemovalAndANewAttribute)
{
    const Arbor::Token a("a"), b("b"), c("c");
    root()->setAttribute(a, Arbor::LongVariant(1));
    root()->setAttribute(b, Arbor::LongVariant(2));
    const std::string before = xml(root());
    document().newUndoTask();
    root()->removeAttribute(a);
    root()->setAttribute(c, Arbor::LongVariant(3));
    document().undo();
    EXPECT_EQ(xml(root()), before);
}

// A range is never a child: inserting one is refused before anything changes, so the range stays
// in its document's list and keeps following the document (tearDown detaches it).
TEST_F(HistoryRegressionTest, RefusedRangeInsertionLeavesTheRangeInItsList)
{
    Plinth::Ref<Arbor::Range> range(document().createRange(false));
    Arbor::Node* list = range->parentNode();
    expectDomError(
        Arbor::DomException::HIERARCHY_REQUEST_ERR, [&] { root()->appendChild(range.get()); });
    EXPECT_EQ(range->parentNode(), list);
    document().tearDown();
    EXPECT_TRUE(range->isDetached());
}
