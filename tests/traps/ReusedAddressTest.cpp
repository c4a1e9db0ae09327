// A replay never acts on a node other than the one it recorded, whether the node died through a
// change outside the content, a raw replacement inside it, or a change no history records: here a
// new element takes the address of one just destroyed, as any allocator may do.

#include "arbor/document/internal/NodeWatch.h"
#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <vector>

using ReusedAddressTest = HostTest;

namespace {

// The block of the last PooledElement destroyed, which the next one takes.
struct Spare {
    void* block = nullptr;
    ~Spare() { ::operator delete(block); }
} spare;

class PooledElement final : public Arbor::BasicElement {
public:
    using BasicElement::BasicElement;

    static void* operator new(std::size_t size)
    {
        void* block = spare.block ? spare.block : ::operator new(size);
        spare.block = nullptr;
        return block;
    }
    static void operator delete(void* block)
    {
        ::operator delete(spare.block);
        spare.block = block;
    }
};

} // namespace

TEST_F(ReusedAddressTest, ReplayRefusesANewNodeAtARecordedInsertionPointsAddress)
{
    Arbor::Element* parent = appendElement(root(), "p");
    parent->appendChild(new PooledElement(&document(), "x"));
    Arbor::Node* y = parent->appendChild(new PooledElement(&document(), "y"));
    document().newUndoTask();
    parent->removeChild(parent->firstChild()); // undo inserts x again before y
    document().newUndoTask();
    Plinth::Ref<Arbor::Node> keep(parent);
    root()->removeChild(parent);

    // Outside the content nothing is recorded: y dies, and z takes its place and its address.
    parent->removeChild(y);
    Arbor::Node* z = parent->appendChild(new PooledElement(&document(), "z"));
    ASSERT_EQ(z, y) << "the freed block is reused";

    document().undo(); // p comes back
    EXPECT_EQ(children(root()), "p");
    events.clear();
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
    EXPECT_EQ(children(parent), "z");
    EXPECT_TRUE(events.lines().empty());
    keep.reset();
}

// p holds x, y; removing x records y as the place where undo puts x back. A raw replacement
// inside the content then destroys y and puts z at its address.
TEST_F(ReusedAddressTest, RawReplacementInTheContentCannotLendARecordedAddress)
{
    Arbor::Element* p = appendElement(root(), "p");
    p->appendChild(new PooledElement(&document(), "x"));
    Arbor::Node* y = p->appendChild(new PooledElement(&document(), "y"));
    document().newUndoTask();
    p->removeChild(p->firstChild());
    p->replaceChildrenRaw(y, 1, nullptr);
    Arbor::Node* z = new PooledElement(&document(), "z");
    ASSERT_EQ(z, y) << "the freed block is reused";
    p->replaceChildrenRaw(nullptr, 0, z);

    events.clear();
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
    EXPECT_EQ(children(p), "z");
    EXPECT_TRUE(events.lines().empty());
}

// An operation recorded after the reuse names the new node; unrecorded changes elsewhere after
// it (here on a detached element) must not make its replay refuse.
TEST_F(ReusedAddressTest, NodeBornAtAFreedAddressAfterTheDeathReplays)
{
    Arbor::Element* p = appendElement(root(), "p");
    Arbor::Node* y = p->appendChild(new PooledElement(&document(), "y"));
    document().newUndoTask();
    p->appendChild(new PooledElement(&document(), "w")); // keeps a history alive
    p->replaceChildrenRaw(y, 1, nullptr);
    Arbor::Node* z = new PooledElement(&document(), "z");
    ASSERT_EQ(z, y);
    p->replaceChildrenRaw(p->firstChild(), 0, z);
    p->insertBefore(new PooledElement(&document(), "q"), z);
    document().newUndoTask();
    p->removeChild(p->firstChild()); // records z as where q goes back
    Plinth::Ref<Arbor::Node> detached(new PooledElement(&document(), "d"));
    detached->appendChild(new PooledElement(&document(), "e"));
    detached->removeChild(detached->firstChild());
    // Many deaths after the unrecorded change: the log of deaths grows and its places collide.
    std::vector<Plinth::Ref<Arbor::Node>> many;
    for (int i = 0; i < 300; ++i)
        many.emplace_back(document().makeText(u"n"));
    many.clear();

    document().undo();
    EXPECT_EQ(children(p), "q z w");
    document().redo();
    EXPECT_EQ(children(p), "z w");
}

TEST_F(ReusedAddressTest, NodeWatchersHearEveryDestructionOfTheirDocument)
{
    struct Watcher : Arbor::NodeWatcher {
        int heard = 0; // nodes that still knew their document
        int ends = 0;
        void nodeDestroyed(Arbor::Node* node) noexcept override
        {
            heard += node->document != nullptr;
        }
        void documentDestroyed(Arbor::Document*) noexcept override { ++ends; }
    } first, second;
    Plinth::Ref<TestDocument> doc(new TestDocument);
    Arbor::addNodeWatcher(doc.get(), &first);
    Arbor::addNodeWatcher(doc.get(), &second);
    Arbor::addNodeWatcher(doc.get(), &first); // once only
    Arbor::Node* element = doc->makeElement("e");
    element->appendChild(doc->makeElement("f"));
    element->removeChild(element->firstChild());
    EXPECT_EQ(first.heard, 1);
    doc->appendChild(element);
    Arbor::removeNodeWatcher(doc.get(), &second);
    doc->tearDown();
    doc.reset();
    EXPECT_EQ(first.heard, 3) << "the range list and the document element die too";
    EXPECT_EQ(first.ends, 1);
    EXPECT_EQ(second.heard, 1);
    EXPECT_EQ(second.ends, 0);
}

// Operations that leave the history early (here the oldest task, dropped by the limit) do not end
// the watch of the ones still kept: an unrecorded change later does not make their replay refuse.
TEST_F(ReusedAddressTest, TrimmedHistoryStillReplaysAfterAnUnrecordedChange)
{
    document().maxUndoTasks(2);
    Arbor::Element* p = appendElement(root(), "p");
    document().newUndoTask();
    appendElement(p, "x");
    document().newUndoTask();
    appendElement(p, "y");
    Plinth::Ref<Arbor::Node> detached(document().makeElement("d"));
    appendElement(detached.get(), "e");
    document().undo();
    document().undo();
    EXPECT_EQ(xml(root()), "<root><p></p></root>");
    EXPECT_FALSE(document().canUndo());
}

// The node before which undo puts a removed child back has left the parent alive, through a raw
// removal no history records: the replay finds it is no child there any more and refuses.
TEST_F(ReusedAddressTest, InsertionPointMovedAwayRefusesTheReplay)
{
    for (const std::string kept : { "a", "" }) {
        Arbor::Element* p = appendElement(root(), "p");
        if (!kept.empty()) appendElement(p, kept.c_str());
        Arbor::Node* x = appendElement(p, "x");
        Plinth::Ref<Arbor::Node> b(appendElement(p, "b"));
        document().newUndoTask();
        p->removeChild(x);
        p->replaceChildrenRaw(b.get(), 1, nullptr);
        expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
        EXPECT_EQ(children(p), kept);
    }
}

// The second node of the run a redo removes has left the parent alive, unrecorded: the redo
// refuses.
TEST_F(ReusedAddressTest, RunMovedAwayRefusesTheRedo)
{
    Arbor::Element* p = appendElement(root(), "p");
    Arbor::Node* b = appendElement(p, "b");
    Plinth::Ref<Arbor::Node> c(appendElement(p, "c"));
    appendElement(p, "d");
    document().newUndoTask();
    p->replaceChildren(b, 2, nullptr);
    document().undo();
    p->replaceChildrenRaw(c.get(), 1, nullptr);
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().redo(); });
    EXPECT_EQ(children(p), "b d");
}
