#include "tests/xml/LiveAllocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> live { 0 };

void* allocate(std::size_t size)
{
    void* memory = std::malloc(size ? size : 1);
    if (!memory) throw std::bad_alloc();
    ++live;
    return memory;
}

void release(void* memory)
{
    if (!memory) return;
    --live;
    std::free(memory);
}

} // namespace

long liveAllocations() { return live; }

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept
{
    return operator new(size, tag);
}
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
