#include "arbor/foundation/UString.h"

#include <cstdint>
#include <cstring>

// Only the units up to the terminator are read: a string may end exactly where its allocation
// ends, so a load that reaches past the terminator (a whole aligned block, say) may read memory
// that belongs to nothing. Eight units per step, each tested before the next is read, keep the
// loop short; the units are read as 16-bit values, so an odd address is fine as well.
unsigned long Plinth::ustrlen(const char16_t* s)
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
