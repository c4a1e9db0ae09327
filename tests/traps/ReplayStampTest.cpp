// Replays after changes of children that no history records: a direct raw replacement inside the
// content, and one on a detached node. Elements come from a pool that hands out the most recently
// freed slot first, so a new element takes the address of one just destroyed.

#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

using ReplayStampTest = HostTest;

namespace {

class ReusingElement final : public Arbor::BasicElement {
public:
    using BasicElement::BasicElement;

    static void* operator new(std::size_t size)
    {
        if (size > slotSize || freeSlots == 0) throw std::bad_alloc();
        return slots[--freeSlots];
    }
    static void operator delete(void* slot) { slots[freeSlots++] = slot; }

    static void reset()
    {
        for (std::size_t i = 0; i < slotCount; ++i)
            slots[i] = storage + i * slotSize;
        freeSlots = slotCount;
    }

private:
    static constexpr std::size_t slotSize = 256;
    static constexpr std::size_t slotCount = 6;
    alignas(std::max_align_t) static inline unsigned char storage[slotSize * slotCount];
    static inline void* slots[slotCount];
    static inline std::size_t freeSlots = 0;
};

} // namespace

// p holds x, y; removing x records y as the place where undo puts x back. A raw replacement
// inside the content then destroys y and puts z at its address.
TEST_F(ReplayStampTest, RawReplacementInTheContentCannotLendARecordedAddress)
{
    ReusingElement::reset();
    Arbor::Element* p = appendElement(root(), "p");
    p->appendChild(new ReusingElement(&document(), "x"));
    Arbor::Node* y = p->appendChild(new ReusingElement(&document(), "y"));
    document().newUndoTask();
    p->removeChild(p->firstChild());
    p->replaceChildrenRaw(y, 1, nullptr);
    Arbor::Node* z = new ReusingElement(&document(), "z");
    ASSERT_EQ(z, y) << "the pool reuses the freed slot";
    p->replaceChildrenRaw(nullptr, 0, z);

    events.clear();
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
    EXPECT_EQ(children(p), "z");
    EXPECT_TRUE(events.lines().empty());
}

// An operation recorded after the reuse names the new node; unrecorded changes elsewhere after
// it (here on a detached element) must not make its replay refuse.
TEST_F(ReplayStampTest, NodeBornAtAFreedAddressAfterTheDeathReplays)
{
    ReusingElement::reset();
    Arbor::Element* p = appendElement(root(), "p");
    Arbor::Node* y = p->appendChild(new ReusingElement(&document(), "y"));
    document().newUndoTask();
    p->appendChild(new ReusingElement(&document(), "w")); // keeps a history alive
    p->replaceChildrenRaw(y, 1, nullptr);
    Arbor::Node* z = new ReusingElement(&document(), "z");
    ASSERT_EQ(z, y);
    p->replaceChildrenRaw(p->firstChild(), 0, z);
    p->insertBefore(new ReusingElement(&document(), "q"), z);
    document().newUndoTask();
    p->removeChild(p->firstChild()); // records z as where q goes back
    Plinth::Ref<Arbor::Node> detached(new ReusingElement(&document(), "d"));
    detached->appendChild(new ReusingElement(&document(), "e"));
    detached->removeChild(detached->firstChild());

    document().undo();
    EXPECT_EQ(children(p), "q z w");
    document().redo();
    EXPECT_EQ(children(p), "z w");
}
