#ifndef ARBOR_BENCH_COUNTING_ALLOCATOR_H
#define ARBOR_BENCH_COUNTING_ALLOCATOR_H

// Replaces the C library's allocation functions and the global operator new/delete to count the
// live heap bytes (usable sizes) and the allocations of a program, including those made inside
// shared libraries. Include it in exactly one source file of a program.

#include <cerrno>
#include <cstdlib>
#include <malloc.h>
#include <new>

extern "C" {
void* __libc_malloc(std::size_t size);
void __libc_free(void* p);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* p, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

long liveBytes = 0;
long allocationCount = 0;

void* counted(void* p)
{
    if (p) {
        liveBytes += static_cast<long>(malloc_usable_size(p));
        ++allocationCount;
    }
    return p;
}

void uncount(void* p)
{
    if (p) liveBytes -= static_cast<long>(malloc_usable_size(p));
}

} // namespace

extern "C" void* malloc(std::size_t size) noexcept { return counted(__libc_malloc(size)); }

extern "C" void free(void* p) noexcept
{
    uncount(p);
    __libc_free(p);
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept
{
    return counted(__libc_calloc(count, size));
}

extern "C" void* realloc(void* p, std::size_t size) noexcept
{
    const long before = p ? static_cast<long>(malloc_usable_size(p)) : 0;
    void* moved = __libc_realloc(p, size);
    if (moved) {
        liveBytes += static_cast<long>(malloc_usable_size(moved)) - before;
        if (moved != p) ++allocationCount;
    } else if (size == 0) {
        liveBytes -= before;
    }
    return moved;
}

extern "C" void* memalign(std::size_t alignment, std::size_t size) noexcept
{
    return counted(__libc_memalign(alignment, size));
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept
{
    return counted(__libc_memalign(alignment, size));
}

extern "C" int posix_memalign(void** out, std::size_t alignment, std::size_t size) noexcept
{
    void* p = counted(__libc_memalign(alignment, size));
    if (!p) return ENOMEM;
    *out = p;
    return 0;
}

void* operator new(std::size_t size)
{
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return std::malloc(size ? size : 1);
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

#endif
