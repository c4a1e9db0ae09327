#include "arbor/foundation/UString.h"

#include <cstdint>
#include <cstring>

#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#include <immintrin.h>
#endif

#if defined(__has_include)
#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#define ARBOR_HAVE_VALGRIND_H 1
#endif
#endif

// The exact search reads only the units up to the terminator: a string may end exactly where
// its allocation ends, so a load that reaches past the terminator (a whole aligned block, say) may
// read memory that belongs to nothing. Eight units per step, each tested before the next is read,
// keep the loop short; the units are read as 16-bit values, so an odd address is fine as well.
static unsigned long exactLength(const char16_t* s)
{
    const char16_t* end = s;
    for (;; end += 8) {
        if (!end[0]) return static_cast<unsigned long>(end - s);
        if (!end[1]) return static_cast<unsigned long>(end - s) + 1;
        if (!end[2]) return static_cast<unsigned long>(end - s) + 2;
        if (!end[3]) return static_cast<unsigned long>(end - s) + 3;
        if (!end[4]) return static_cast<unsigned long>(end - s) + 4;
        if (!end[5]) return static_cast<unsigned long>(end - s) + 5;
        if (!end[6]) return static_cast<unsigned long>(end - s) + 6;
        if (!end[7]) return static_cast<unsigned long>(end - s) + 7;
    }
}

#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {

// The loads below are aligned blocks that may reach outside the string (see scanBlocks).

// Bits (two per unit) of the zero units in the aligned 16-byte block at `block`.
__attribute__((no_sanitize_address)) inline unsigned zeroUnits(std::uintptr_t block)
{
    const __m128i units = _mm_load_si128(reinterpret_cast<const __m128i*>(block));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(units, _mm_setzero_si128())));
}

// The first 64-byte group from the 64-byte aligned `group` on that holds a zero unit.
__attribute__((no_sanitize_address)) std::uintptr_t findGroup(std::uintptr_t group)
{
    const __m128i zero = _mm_setzero_si128();
    for (;; group += 64) {
        const __m128i* blocks = reinterpret_cast<const __m128i*>(group);
        const __m128i any = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(blocks), zero),
                                             _mm_cmpeq_epi16(_mm_load_si128(blocks + 1), zero)),
            _mm_or_si128(_mm_cmpeq_epi16(_mm_load_si128(blocks + 2), zero),
                _mm_cmpeq_epi16(_mm_load_si128(blocks + 3), zero)));
        if (_mm_movemask_epi8(any)) return group;
    }
}

// findGroup with 32-byte loads, for processors that have them.
__attribute__((no_sanitize_address, target("avx2"))) std::uintptr_t findGroupAvx2(
    std::uintptr_t group)
{
    const __m256i zero = _mm256_setzero_si256();
    for (;; group += 64) {
        const __m256i* blocks = reinterpret_cast<const __m256i*>(group);
        const __m256i any = _mm256_or_si256(_mm256_cmpeq_epi16(_mm256_load_si256(blocks), zero),
            _mm256_cmpeq_epi16(_mm256_load_si256(blocks + 1), zero));
        if (_mm256_movemask_epi8(any)) return group;
    }
}

// Decided when the library is loaded; a string measured before that takes the 16-byte loads.
const bool haveAvx2 = [] {
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") != 0;
}();

} // namespace

// The fast search. Texts are measured on every edit, so the terminator is searched a 16-byte block
// at a time up to a 64-byte boundary, and then a 64-byte group (32 units) per step. Every load is
// aligned: a block or group never crosses a page, so reading the bytes of the first and the last
// block that lie outside the string (before its start or after its terminator) cannot fault, but
// they can lie outside the allocation, which the address sanitizer must not check here. A string at
// an odd address (not a valid char16_t array anyway) takes the plain loop.
static __attribute__((no_sanitize_address)) unsigned long scanBlocks(const char16_t* s)
{
    const std::uintptr_t start = reinterpret_cast<std::uintptr_t>(s);
    if (start & 1) {
        const char16_t* end = s;
        while (*end)
            ++end;
        return static_cast<unsigned long>(end - s);
    }
    std::uintptr_t block = start & ~std::uintptr_t(15);
    unsigned mask = zeroUnits(block) & (~0u << (start - block)); // drop the units before `s`
    while (!mask && (block + 16) % 64 != 0) {
        block += 16;
        mask = zeroUnits(block);
    }
    if (!mask) {
        block = haveAvx2 ? findGroupAvx2(block + 16) : findGroup(block + 16);
        for (mask = zeroUnits(block); !mask; mask = zeroUnits(block))
            block += 16;
    }
    return static_cast<unsigned long>((block + __builtin_ctz(mask) - start) / 2);
}
#endif

#if defined(__SSE2__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
namespace {
// The block search under the memory checkers would be reported (its loads reach past the
// terminator); Valgrind is recognised when the library is loaded.
const bool fastScan = [] {
#if defined(ARBOR_HAVE_VALGRIND_H)
    return RUNNING_ON_VALGRIND == 0;
#else
    return true;
#endif
}();
} // namespace

unsigned long Plinth::ustrlen(const char16_t* s)
{
    return fastScan ? scanBlocks(s) : exactLength(s);
}
#else
unsigned long Plinth::ustrlen(const char16_t* s) { return exactLength(s); }
#endif

void Plinth::ustrcpy(char16_t* dst, const char16_t* src)
{
    std::memcpy(dst, src, (ustrlen(src) + 1) * sizeof(char16_t));
}

void Plinth::ustrncpy(char16_t* dst, const char16_t* src, unsigned long n)
{
    std::memcpy(dst, src, n * sizeof(char16_t));
}

char16_t* Plinth::ustrdup(const char16_t* s)
{
    const std::size_t bytes = (ustrlen(s) + 1) * sizeof(char16_t);
    void* copy = std::malloc(bytes);
    if (!copy) return nullptr;
    std::memcpy(copy, s, bytes);
    return static_cast<char16_t*>(copy);
}

int Plinth::ustrcmp(const char16_t* a, const char16_t* b)
{
    // char16_t is unsigned, so units above the surrogate range order after every other unit.
    while (*a && *a == *b) {
        ++a;
        ++b;
    }
    return static_cast<int>(*a) - static_cast<int>(*b);
}
