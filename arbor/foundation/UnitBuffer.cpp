#include "arbor/foundation/internal/UnitBuffer.h"

#include "arbor/foundation/UString.h"

#include <cstddef>
#include <cstdint>

#if defined(__GLIBC__)
#include <cstdlib>
#include <dlfcn.h>
#include <malloc.h>
#endif
#if defined(__x86_64__)
#include <immintrin.h>
#endif

// A buffer of character data is a malloc block, and the allocator lets its owner use every byte
// of the block that malloc_usable_size reports. So whole blocks of units that lie inside it may be
// loaded even past the terminator: what follows the first zero unit is never looked at. Memory
// checkers report the size that was asked for, so under them the loads stay inside the string
// itself. The scan only has to stop at or before the terminator: the count goes on one unit at a
// time from where it stopped, which also covers the last bytes that do not fill a block.

#if defined(__GLIBC__) && defined(__x86_64__)
namespace {

using Bytes = const char*;

// The byte offset of the first zero unit in [0, usable), or `usable` rounded down to a whole
// block when the whole blocks hold none.
__attribute__((target("avx2"))) std::size_t scanAvx2(Bytes bytes, std::size_t usable)
{
    const __m256i zero = _mm256_setzero_si256();
    auto zeros = [&](std::size_t at) __attribute__((target("avx2")))
    {
        return _mm256_cmpeq_epi16(
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + at)), zero);
    };
    std::size_t at = 0;
    for (; at + 128 <= usable; at += 128) {
        const __m256i any = _mm256_or_si256(_mm256_or_si256(zeros(at), zeros(at + 32)),
            _mm256_or_si256(zeros(at + 64), zeros(at + 96)));
        if (!_mm256_testz_si256(any, any)) break;
    }
    for (; at + 32 <= usable; at += 32) {
        if (const unsigned mask = static_cast<unsigned>(_mm256_movemask_epi8(zeros(at))))
            return at + __builtin_ctz(mask);
    }
    return at;
}

// Whether the malloc_usable_size the library calls belongs to the malloc that made the buffers. A
// replacement malloc must bring its own (the C library's would misread its blocks); one that does
// not, defining malloc and free alone, leaves the count to go unit by unit.
bool usableSizeFromMalloc()
{
    Dl_info allocator {};
    Dl_info sizer {};
    return dladdr(reinterpret_cast<void*>(&std::malloc), &allocator) != 0
        && dladdr(reinterpret_cast<void*>(&malloc_usable_size), &sizer) != 0
        && allocator.dli_fbase == sizer.dli_fbase;
}

} // namespace
#endif

unsigned long Plinth::bufferUnits(const char16_t* buffer)
{
#if defined(__GLIBC__) && defined(__x86_64__)
    // Units start at even addresses (malloc aligns blocks), so a zero found at an even byte
    // offset by a 16-bit compare is a whole zero unit.
    static const bool blocks
        = (__builtin_cpu_init(), __builtin_cpu_supports("avx2")) && usableSizeFromMalloc();
    if (!blocks) return ustrlen(buffer);
    const std::size_t usable = malloc_usable_size(const_cast<char16_t*>(buffer));
    const std::size_t at = scanAvx2(reinterpret_cast<Bytes>(buffer), usable);
    return static_cast<unsigned long>(at / 2) + ustrlen(buffer + at / 2);
#else
    return ustrlen(buffer);
#endif
}
