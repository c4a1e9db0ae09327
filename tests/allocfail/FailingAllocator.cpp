#include "tests/allocfail/FailingAllocator.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace {

bool armed = false;
bool failed = false;
unsigned long failAt = 0;
unsigned long count = 0;

// True when this allocation is the one to fail.
bool failsNow()
{
    if (!armed) return false;
    if (++count != failAt) return false;
    failed = true;
    return true;
}

} // namespace

void AllocFail::arm(unsigned long k)
{
    failAt = k;
    count = 0;
    failed = false;
    armed = true;
}

bool AllocFail::disarm()
{
    armed = false;
    return failed;
}

// A sanitizer, however it came into the build (the project's option or the compiler flags),
// owns malloc and its relatives: only operator new is replaced then.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ARBOR_ALLOCFAIL_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)                            \
    || __has_feature(memory_sanitizer)
#define ARBOR_ALLOCFAIL_SANITIZER 1
#endif
#endif
#ifndef ARBOR_ALLOCFAIL_SANITIZER
#define ARBOR_ALLOCFAIL_SANITIZER 0
#endif

#if ARBOR_ALLOCFAIL_NEW_ONLY || ARBOR_ALLOCFAIL_SANITIZER

bool AllocFail::countsMalloc() { return false; }

const char* AllocFail::skipped()
{
    return ARBOR_ALLOCFAIL_SANITIZER ? "malloc, calloc, realloc and free: the sanitizer owns them"
                                     : "malloc, calloc, realloc and free: a sanitizer build";
}

namespace {

void* allocate(std::size_t size)
{
    if (failsNow()) throw std::bad_alloc();
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

} // namespace

void AllocFail::guardNextMalloc(unsigned long) { }

#else

namespace {

void* guardBlock = nullptr;
std::size_t guardSize = 0;

} // namespace

void AllocFail::guardNextMalloc(unsigned long size)
{
    const long page = sysconf(_SC_PAGESIZE);
    void* pages
        = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (pages == MAP_FAILED) std::abort();
    auto* end = static_cast<unsigned char*>(pages) + page;
    mprotect(end, page, PROT_NONE);
    auto* block = end - size;
    // The size word of a C-library block sits just before it; 2 marks a block of its own mapping.
    reinterpret_cast<std::size_t*>(block)[-1] = (std::size_t(1) << 20) | 2;
    guardBlock = block;
    guardSize = size;
}

// glibc's own entry points: the replacements below count and forward to them.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void __libc_free(void* memory);

void* malloc(std::size_t size)
{
    if (guardSize && size == guardSize) {
        guardSize = 0;
        return guardBlock;
    }
    return failsNow() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t n, std::size_t size)
{
    return failsNow() ? nullptr : __libc_calloc(n, size);
}

void* realloc(void* memory, std::size_t size)
{
    return failsNow() ? nullptr : __libc_realloc(memory, size);
}

void free(void* memory)
{
    if (memory && memory == guardBlock) return;
    __libc_free(memory);
}
}

bool AllocFail::countsMalloc() { return true; }

const char* AllocFail::skipped() { return ""; }

namespace {

// operator new goes through the counted malloc, so every allocation is counted once.
void* allocate(std::size_t size)
{
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

} // namespace

#endif

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
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
