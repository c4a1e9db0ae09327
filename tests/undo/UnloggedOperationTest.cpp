#include "tests/support/Host.h"

namespace {

using UnloggedOperationTest = HostTest;

// Removes `a` (of children a, b) while the history keeps nothing, with an observer that raises
// the limit meanwhile, so the removal is recorded after all; its undo inserts `a` before `b`,
// which it does not count.
void removeWhileLimitRises(Arbor::Document& document, Arbor::Node* parent, Arbor::Node* a)
{
    document.maxUndoTasks(0);
    CallbackObserver raise;
    raise.react = [&](Arbor::DomEvent&) {
        if (document.maxUndoTasks() == 0) document.maxUndoTasks(10);
    };
    document.addObserver(&raise, Arbor::tok_AfterReplaceChildren);
    parent->removeChild(a);
    document.removeObserver(&raise);
}

// A change made while the history keeps nothing needs no watch over dying nodes; kept after all,
// it replays while no unrecorded change of children has happened, and refuses once one has, even
// when a new node sits where its insertion point was.
TEST_F(UnloggedOperationTest, RecordedWhileTheHistoryKeptNothing)
{
    TestElement* a = appendElement(root(), "a");
    TestElement* b = appendElement(root(), "b");
    removeWhileLimitRises(document(), root(), a);
    ASSERT_TRUE(document().canUndo());
    document().undo();
    EXPECT_EQ(root()->firstChild(), a);
    EXPECT_EQ(a->nextSibling(), b);

    removeWhileLimitRises(document(), root(), a);
    root()->replaceChildrenRaw(b, 1, nullptr); // b dies; the pool may hand its place on
    Arbor::Node* c = document().createElement(Arbor::Token("c", true));
    root()->replaceChildrenRaw(nullptr, 0, c);
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
    EXPECT_EQ(root()->firstChild(), c);
    EXPECT_EQ(c->nextSibling(), nullptr);
}

} // namespace
