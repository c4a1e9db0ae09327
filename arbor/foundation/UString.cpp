#include "arbor/foundation/UString.h"

#include <cstring>

unsigned long Plinth::ustrlen(const char16_t* s)
{
    const char16_t* end = s;
    while (*end)
        ++end;
    return static_cast<unsigned long>(end - s);
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
