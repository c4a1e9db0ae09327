#ifndef ARBOR_TREE_NODE_ALLOCATION_H
#define ARBOR_TREE_NODE_ALLOCATION_H

#include <cstddef>
#include <new>

/// Declares the class-specific allocation functions of the library's node classes: objects come
/// from the library's node pool when their size is one the pool serves and from the global heap
/// otherwise (also every over-aligned object), so a subclass of any size and alignment may be
/// made with `new` and released through its count. The placement and `std::nothrow` forms of
/// `new` stay available. Sanitizer and Valgrind runs allocate every node from the global heap.
#define ARBOR_NODE_ALLOCATION                                                                      \
    static void* operator new(std::size_t size);                                                   \
    static void* operator new(std::size_t size, std::align_val_t alignment);                       \
    static void* operator new(std::size_t size, const std::nothrow_t&) noexcept;                   \
    static void* operator new(std::size_t, void* place) noexcept { return place; }                 \
    static void operator delete(void* memory, std::size_t size) noexcept;                          \
    static void operator delete(                                                                   \
        void* memory, std::size_t size, std::align_val_t alignment) noexcept;                      \
    static void operator delete(void* memory, const std::nothrow_t&) noexcept;                     \
    static void operator delete(void*, void*) noexcept { }

#endif
