// A replay never acts on a node other than the one it recorded: elements here come from a pool
// that hands out the most recently freed slot first, so a new element takes the address of one
// just destroyed, as any allocator may do.

#include "arbor/document/internal/NodeWatch.h"
#include "tests/support/Host.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <new>
#include <string>
#include <vector>

using ReusedAddressTest = HostTest;

namespace {

class PooledElement final : public Arbor::BasicElement {
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
    static constexpr std::size_t slotCount = 8;
    alignas(std::max_align_t) static inline unsigned char storage[slotSize * slotCount];
    static inline void* slots[slotCount];
    static inline std::size_t freeSlots = 0;
};

} // namespace

TEST_F(ReusedAddressTest, ReplayRefusesANewNodeAtARecordedInsertionPointsAddress)
{
    PooledElement::reset();
    static_assert(sizeof(PooledElement) <= 256, "pool slots hold an element");
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
    ASSERT_EQ(z, y) << "the pool reuses the freed slot";

    document().undo(); // p comes back
    EXPECT_EQ(children(root()), "p");
    events.clear();
    expectDomError(Arbor::DomException::INVALID_STATE_ERR, [&] { document().undo(); });
    EXPECT_EQ(children(parent), "z");
    EXPECT_TRUE(events.lines().empty());
    keep.reset();
}

TEST_F(ReusedAddressTest, NodeWatchersHearEveryDestructionOfTheirDocument)
{
    struct Watcher : Arbor::NodeWatcher {
        std::vector<std::string> heard;
        int ends = 0;
        void nodeDestroyed(Arbor::Node* node) noexcept override
        {
            heard.push_back(node->document ? "node" : "?");
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
    EXPECT_EQ(first.heard.size(), 1u);
    doc->appendChild(element);
    Arbor::removeNodeWatcher(doc.get(), &second);
    doc->tearDown();
    doc.reset();
    EXPECT_EQ(first.heard.size(), 3u) << "the range list and the document element die too";
    EXPECT_EQ(first.ends, 1);
    EXPECT_EQ(second.heard.size(), 1u);
    EXPECT_EQ(second.ends, 0);
}
