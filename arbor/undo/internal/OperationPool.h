#ifndef ARBOR_UNDO_INTERNAL_OPERATION_POOL_H
#define ARBOR_UNDO_INTERNAL_OPERATION_POOL_H

// Internal: not exported and not part of the umbrella header.

#include <cstddef>

namespace Arbor {

/// Memory for the model operations of one undo stack: fixed-size slots carved from blocks that
/// the pool owns, so recording a change costs no allocation of its own most of the time. A freed
/// slot goes back on the pool's free list for the next operation; when the last live slot is
/// freed (the history was cleared or trimmed to nothing), every block but the newest goes back
/// to the system.
///
/// Every slot, and every operation allocated outside a pool, starts with a header that names its
/// pool (null: the global heap), so `release` finds where memory goes back from the address
/// alone. Sanitizer and Valgrind runs allocate every operation from the global heap, so a use
/// after free stays visible to them.
class OperationPool {
public:
    /// Size of the header in front of every object; keeps the object aligned as `new` would.
    static constexpr std::size_t headerSize = alignof(std::max_align_t);
    /// Largest object served from slots; larger ones go to the global heap.
    static constexpr std::size_t slotPayload = 80;

    OperationPool() = default;
    /// Frees every block; all slots must have been released.
    ~OperationPool();
    OperationPool(const OperationPool&) = delete;
    OperationPool& operator=(const OperationPool&) = delete;

    /// Memory for an object of `size` bytes from this pool, or from the global heap when `pool`
    /// is null, pooling is off or the object does not fit a slot. Throws `std::bad_alloc`.
    static void* allocate(OperationPool* pool, std::size_t size);
    /// Gives back memory that `allocate` handed out.
    static void release(void* object) noexcept;

    /// Whether operations are pooled in this process (not under a sanitizer or Valgrind).
    static bool enabled();

private:
    struct Slot {
        Slot* nextFree;
    };
    struct Block;

    Slot* freeSlots = nullptr;
    Block* blocks = nullptr;
    std::size_t liveSlots = 0;

    void* take();
    void give(void* slot) noexcept;
    void addBlock();
    void thread(Block* block);
};

} // namespace Arbor

#endif
