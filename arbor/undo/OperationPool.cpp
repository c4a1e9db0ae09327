#include "arbor/undo/internal/OperationPool.h"

#include "arbor/foundation/internal/Pooling.h"
#include "arbor/undo/AttributeOperation.h"
#include "arbor/undo/ReplaceChildrenOperation.h"
#include "arbor/undo/ReplaceDataOperation.h"
#include "arbor/undo/ReplaceTextOperation.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <new>

// The library's own operations all fit a slot.
static_assert(Arbor::OperationPool::fits(sizeof(Arbor::ReplaceChildrenOperation)));
static_assert(Arbor::OperationPool::fits(sizeof(Arbor::ReplaceTextOperation)));
static_assert(Arbor::OperationPool::fits(sizeof(Arbor::SetAttributeOperation)));
static_assert(Arbor::OperationPool::fits(sizeof(Arbor::RemoveAttributeOperation)));
static_assert(Arbor::OperationPool::fits(sizeof(Arbor::ReplaceDataOperation)));
static_assert(Arbor::OperationPool::slotSize % alignof(std::max_align_t) == 0);

namespace {

// Blocks grow from a few slots for a short history, doubling, to this many for a long one, so
// the cost of getting a block is spread over many operations.
constexpr std::size_t firstBlockSlots = 16;
constexpr std::size_t blockSizes = 6;
constexpr std::size_t maxBlockSlots = firstBlockSlots << (blockSizes - 1);

std::size_t sizeIndex(std::size_t slotCount)
{
    std::size_t index = 0;
    while ((firstBlockSlots << index) < slotCount)
        ++index;
    return index;
}

} // namespace

struct Arbor::OperationPool::Block {
    Block* next;
    std::size_t slotCount;
    // The slots follow the header.
    unsigned char* slots() { return reinterpret_cast<unsigned char*>(this) + sizeof(Block); }
};

namespace {

using Block = Arbor::OperationPool::Block;

// Blocks that no pool uses, by size, shared by the pools of every thread.
struct SpareBlocks {
    std::mutex lock;
    Block* first[blockSizes] = {};
};

SpareBlocks& spareBlocks()
{
    static SpareBlocks* spare = new SpareBlocks; // never destroyed: pools may outlive statics
    return *spare;
}

Block* takeSpare(std::size_t slotCount)
{
    SpareBlocks& spare = spareBlocks();
    const std::lock_guard<std::mutex> hold(spare.lock);
    Block*& first = spare.first[sizeIndex(slotCount)];
    Block* block = first;
    if (block) first = block->next;
    return block;
}

void letGo(Block* block) noexcept
{
    SpareBlocks& spare = spareBlocks();
    const std::lock_guard<std::mutex> hold(spare.lock);
    Block*& first = spare.first[sizeIndex(block->slotCount)];
    block->next = first;
    first = block;
}

} // namespace

Arbor::OperationPool* Arbor::OperationPool::make()
{
    return Plinth::poolingEnabled() ? new OperationPool : nullptr;
}

Arbor::OperationPool::~OperationPool()
{
    while (Block* block = blocks) {
        blocks = block->next;
        letGo(block);
    }
}

// Heap memory has the same word in front of the object, which starts 16 bytes in.
void* Arbor::OperationPool::fromHeap(std::size_t size)
{
    void* object = static_cast<unsigned char*>(::operator new(alignment + size)) + alignment;
    owner(object) = nullptr;
    return object;
}

void Arbor::OperationPool::release(void* object) noexcept
{
    if (!object) return;
    OperationPool* pool = owner(object);
    if (!pool) {
        ::operator delete(static_cast<unsigned char*>(object) - alignment);
        return;
    }
    // The slot is the 16-byte boundary at or before the owner word.
    const auto word = reinterpret_cast<std::uintptr_t>(&owner(object));
    pool->give(reinterpret_cast<void*>(word & ~std::uintptr_t(alignment - 1)));
}

void Arbor::OperationPool::give(void* memory) noexcept
{
    auto* slot = static_cast<Slot*>(memory);
    slot->nextFree = freeSlots;
    freeSlots = slot;
    if (--liveSlots != 0) return;
    // Nothing lives in the pool any more: keep the newest block for the next operations.
    while (Block* old = blocks->next) {
        blocks->next = old->next;
        letGo(old);
    }
    freeSlots = nullptr;
    uncut = blocks->slots();
}

void* Arbor::OperationPool::cutFromNewBlock()
{
    static_assert(sizeof(Block) % alignof(std::max_align_t) == 0, "slots stay aligned");
    const std::size_t count
        = blocks ? std::min(blocks->slotCount * 2, maxBlockSlots) : firstBlockSlots;
    Block* block = takeSpare(count);
    if (!block) {
        block = static_cast<Block*>(::operator new(sizeof(Block) + count * slotSize));
        block->slotCount = count;
    }
    block->next = blocks;
    blocks = block;
    uncut = block->slots() + slotSize;
    blockEnd = block->slots() + count * slotSize;
    return block->slots();
}
