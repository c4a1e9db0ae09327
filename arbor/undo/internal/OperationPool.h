#ifndef ARBOR_UNDO_INTERNAL_OPERATION_POOL_H
#define ARBOR_UNDO_INTERNAL_OPERATION_POOL_H

// Internal: not exported and not part of the umbrella header.

#include <cstddef>

namespace Arbor {

/// Memory for the model operations of one undo stack: fixed-size slots cut in order from blocks
/// that the pool owns, so recording a change costs no allocation of its own most of the time. A
/// freed slot goes on the pool's free list, which is used before the rest of the newest block;
/// when the last live slot is freed (the history was cleared or trimmed to nothing), every block
/// but the newest is let go and the newest is cut again from its start.
///
/// Blocks grow from a few slots for a short history to a largest size for a long one. Blocks that
/// a pool lets go wait, by size, in lists shared by all pools for the next history that grows as
/// long, and stay with the process like the node pools' chunks: a history made again and again
/// (a document rebuilt and dropped) takes no memory from the system in the steady state, so it
/// makes the allocator neither map pages afresh nor merge its small free chunks for a large
/// request.
///
/// The word in front of every object names its pool (null: the global heap), so `release` finds
/// where memory goes back from the address alone. Slots start on 16-byte boundaries and objects
/// start 8 bytes into their slot, behind that word, unless their size is a multiple of 16: only
/// such classes can need 16-byte alignment, and they start 16 bytes in. Sanitizer and Valgrind
/// runs make no pool (`make` answers null) and allocate every operation from the global heap, so
/// a use after free stays visible to them.
class OperationPool {
public:
    /// Size of a slot.
    static constexpr std::size_t slotSize = 80;

    /// A new empty pool, or null when pooling is off in this process (sanitizers, Valgrind).
    static OperationPool* make();
    /// Lets every block go; all slots must have been released.
    ~OperationPool();
    OperationPool(const OperationPool&) = delete;
    OperationPool& operator=(const OperationPool&) = delete;

    /// Memory for an object of `size` bytes from this pool, or from the global heap when `pool`
    /// is null or the object does not fit a slot. Throws `std::bad_alloc`.
    static void* allocate(OperationPool* pool, std::size_t size)
    {
        if (!pool || !fits(size)) return fromHeap(size);
        void* object = static_cast<unsigned char*>(pool->take()) + offsetFor(size);
        owner(object) = pool;
        return object;
    }
    /// Where an object of `size` bytes starts in its slot: behind the owner word, or 16 bytes in
    /// when its size allows it to need that alignment.
    static constexpr std::size_t offsetFor(std::size_t size)
    {
        return size % alignment == 0 ? alignment : sizeof(OperationPool*);
    }
    /// Whether an object of `size` bytes fits a slot.
    static constexpr bool fits(std::size_t size) { return offsetFor(size) + size <= slotSize; }
    /// Gives back memory that `allocate` handed out.
    static void release(void* object) noexcept;

    /// A block of slots (defined with the pool).
    struct Block;

private:
    static constexpr std::size_t alignment = alignof(std::max_align_t);

    struct Slot {
        Slot* nextFree;
    };

    Slot* freeSlots = nullptr;
    Block* blocks = nullptr;
    // The part of the newest block that no slot has been cut from yet.
    unsigned char* uncut = nullptr;
    unsigned char* blockEnd = nullptr;
    std::size_t liveSlots = 0;

    OperationPool() = default;
    void* take()
    {
        void* slot;
        if (freeSlots) {
            slot = freeSlots;
            freeSlots = freeSlots->nextFree;
        } else if (uncut != blockEnd) {
            slot = uncut;
            uncut += slotSize;
            // Records are written once, one after the other: ask for the lines a few records
            // ahead, so a long history does not wait for each line it writes.
            __builtin_prefetch(uncut + 4 * slotSize, 1);
        } else {
            slot = cutFromNewBlock();
        }
        ++liveSlots;
        return slot;
    }
    void give(void* slot) noexcept;
    void* cutFromNewBlock();
    static void* fromHeap(std::size_t size);
    static OperationPool*& owner(void* object) { return static_cast<OperationPool**>(object)[-1]; }
};

} // namespace Arbor

#endif
