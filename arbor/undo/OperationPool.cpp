#include "arbor/undo/internal/OperationPool.h"

#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/ReplaceTextOperation.h"

#include <algorithm>
#include <new>

#if defined(__has_include)
#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#define ARBOR_HAVE_VALGRIND_H 1
#endif
#endif

// The library's own operations all fit a slot.
static_assert(sizeof(Arbor::ReplaceChildrenOperation) <= Arbor::OperationPool::slotPayload);
static_assert(sizeof(Arbor::ReplaceTextOperation) <= Arbor::OperationPool::slotPayload);
static_assert(sizeof(Arbor::SetAttributeOperation) <= Arbor::OperationPool::slotPayload);
static_assert(sizeof(Arbor::RemoveAttributeOperation) <= Arbor::OperationPool::slotPayload);

namespace {

constexpr std::size_t slotSize
    = Arbor::OperationPool::headerSize + Arbor::OperationPool::slotPayload;
// Blocks grow from a few slots for a short history to this many for a long one, so the cost of
// allocating a block (a large request may make the allocator merge its free chunks first) is
// spread over many operations.
constexpr std::size_t firstBlockSlots = 16;
constexpr std::size_t maxBlockSlots = 512;

// The header in front of an object: the pool it came from, or null for the global heap.
Arbor::OperationPool*& owner(void* slot) { return *static_cast<Arbor::OperationPool**>(slot); }

bool pooling()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return false;
#elif defined(ARBOR_HAVE_VALGRIND_H)
    return RUNNING_ON_VALGRIND == 0;
#else
    return true;
#endif
}

} // namespace

struct Arbor::OperationPool::Block {
    Block* next;
    std::size_t slotCount;
    // The slots follow the header.
    unsigned char* slots() { return reinterpret_cast<unsigned char*>(this) + sizeof(Block); }
};

bool Arbor::OperationPool::enabled()
{
    static const bool on = pooling();
    return on;
}

Arbor::OperationPool::~OperationPool()
{
    while (Block* block = blocks) {
        blocks = block->next;
        ::operator delete(block);
    }
}

void* Arbor::OperationPool::allocate(OperationPool* pool, std::size_t size)
{
    void* slot;
    if (pool && size <= slotPayload && enabled()) {
        slot = pool->take();
    } else {
        pool = nullptr;
        slot = ::operator new(headerSize + size);
    }
    owner(slot) = pool;
    return static_cast<unsigned char*>(slot) + headerSize;
}

void Arbor::OperationPool::release(void* object) noexcept
{
    if (!object) return;
    void* slot = static_cast<unsigned char*>(object) - headerSize;
    if (OperationPool* pool = owner(slot))
        pool->give(slot);
    else
        ::operator delete(slot);
}

void* Arbor::OperationPool::take()
{
    if (!freeSlots) addBlock();
    Slot* slot = freeSlots;
    freeSlots = slot->nextFree;
    ++liveSlots;
    return slot;
}

void Arbor::OperationPool::give(void* memory) noexcept
{
    auto* slot = static_cast<Slot*>(memory);
    slot->nextFree = freeSlots;
    freeSlots = slot;
    if (--liveSlots != 0 || !blocks->next) return;
    // Nothing lives in the pool any more: keep the newest block for the next operations.
    while (Block* old = blocks->next) {
        blocks->next = old->next;
        ::operator delete(old);
    }
    freeSlots = nullptr;
    thread(blocks);
}

void Arbor::OperationPool::addBlock()
{
    static_assert(sizeof(Block) % alignof(std::max_align_t) == 0, "slots stay aligned");
    const std::size_t count
        = blocks ? std::min(blocks->slotCount * 2, maxBlockSlots) : firstBlockSlots;
    auto* block = static_cast<Block*>(::operator new(sizeof(Block) + count * slotSize));
    block->slotCount = count;
    block->next = blocks;
    blocks = block;
    thread(block);
}

// Puts the block's slots on the free list, the first slot of the block first.
void Arbor::OperationPool::thread(Block* block)
{
    for (std::size_t i = block->slotCount; i-- > 0;) {
        auto* slot = reinterpret_cast<Slot*>(block->slots() + i * slotSize);
        slot->nextFree = freeSlots;
        freeSlots = slot;
    }
}
