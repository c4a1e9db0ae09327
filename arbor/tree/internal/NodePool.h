#ifndef ARBOR_TREE_INTERNAL_NODE_POOL_H
#define ARBOR_TREE_INTERNAL_NODE_POOL_H

// Internal: not exported and not part of the umbrella header.

#include <cstddef>
#include <new>

namespace Arbor {

/// Memory for the library's own node classes (their class-specific `operator new` and
/// `operator delete` come here). Objects of up to `maxSize` bytes are served in size classes of
/// 8 bytes; larger ones, and every object when pooling is off (sanitizer builds, Valgrind), go to
/// the global heap. A subclass of another size thus lands in its own size class or on the global
/// heap, never in a slot too small for it; slots whose size is a multiple of 16 start on a multiple
/// of 16.
///
/// Each thread keeps a free list per size class and takes and gives slots without a lock. New
/// slots are cut, whatever their size, one after the other from a chunk of the thread's own, so
/// nodes made together (an element and its text) lie together in memory. A slot freed on another
/// thread than the one that made it joins the freeing thread's list; a list that grows past a
/// bound hands a batch of slots to a global list, and when a thread exits its lists and the rest
/// of its chunk go there too, so freed memory is always reused, by any thread. Chunks stay with
/// the pool for the process's lifetime.
class NodePool {
public:
    /// Largest object served from the pool.
    static constexpr std::size_t maxSize = 128;

    /// Memory for an object of `size` bytes. Throws `std::bad_alloc`.
    static void* allocate(std::size_t size);
    /// Gives back memory from `allocate` for an object of the same `size`.
    static void release(void* memory, std::size_t size) noexcept;
};

} // namespace Arbor

/// Defines the allocation functions that `ARBOR_NODE_ALLOCATION` declares in `Class`. The
/// `std::nothrow` form takes the global heap: its deallocation function, run when a constructor
/// throws, is not told the size. Such memory joins the pool when the object is released.
#define ARBOR_NODE_ALLOCATION_DEFINE(Class)                                                        \
    void* Class::operator new(std::size_t size) { return ::Arbor::NodePool::allocate(size); }      \
    void* Class::operator new(std::size_t size, std::align_val_t alignment)                        \
    {                                                                                              \
        return ::operator new(size, alignment);                                                    \
    }                                                                                              \
    void* Class::operator new(std::size_t size, const std::nothrow_t&) noexcept                    \
    {                                                                                              \
        return ::operator new(size, std::nothrow);                                                 \
    }                                                                                              \
    void Class::operator delete(void* memory, std::size_t size) noexcept                           \
    {                                                                                              \
        ::Arbor::NodePool::release(memory, size);                                                  \
    }                                                                                              \
    void Class::operator delete(void* memory, std::size_t, std::align_val_t alignment) noexcept    \
    {                                                                                              \
        ::operator delete(memory, alignment);                                                      \
    }                                                                                              \
    void Class::operator delete(void* memory, const std::nothrow_t&) noexcept                      \
    {                                                                                              \
        ::operator delete(memory);                                                                 \
    }

#endif
