#ifndef ARBOR_FOUNDATION_INTERNAL_UNIT_BUFFER_H
#define ARBOR_FOUNDATION_INTERNAL_UNIT_BUFFER_H

// Internal: the character data of text nodes, comments and processing instructions lives in a
// malloc'd UTF-16 buffer of the exact size, or in none when it is empty; these are its edits.

#include <cstdlib>
#include <cstring>
#include <new>

namespace Plinth {

/// The units before the terminator of `buffer`, which must be the start of a malloc block (the
/// buffers below): as `ustrlen`, but a whole block of units at a time.
unsigned long bufferUnits(const char16_t* buffer);

/// The units from `offset` that `count` covers in data of `length` units, without overflow.
inline unsigned long clipUnits(unsigned long length, unsigned long offset, unsigned long count)
{
    const unsigned long rest = length - offset;
    return count < rest ? count : rest;
}

/// A malloc'd block of `units` units; throws std::bad_alloc when there is no memory.
inline char16_t* allocateUnits(unsigned long units)
{
    void* memory = std::malloc(units * sizeof(char16_t));
    if (!memory) throw std::bad_alloc();
    return static_cast<char16_t*>(memory);
}

/// A terminated copy of `count` units from `units` (at least one).
inline char16_t* copyUnits(const char16_t* units, unsigned long count)
{
    char16_t* copy = allocateUnits(count + 1);
    std::memcpy(copy, units, count * sizeof(char16_t));
    copy[count] = 0;
    return copy;
}

/// Replaces `count` units of `buffer` (`length` units) from `offset` by the `added` units of
/// `newData`. Every change gets a fresh buffer of the exact new size (none for empty data),
/// allocated before the old one is freed: a failure leaves the data as it was, and the new units
/// may come from the old buffer.
inline void spliceUnits(char16_t*& buffer, unsigned long length, unsigned long offset,
    unsigned long count, const char16_t* newData, unsigned long added)
{
    const unsigned long newLength = length - count + added;
    if (newLength == 0) {
        std::free(buffer);
        buffer = nullptr;
        return;
    }
    char16_t* fresh = allocateUnits(newLength + 1);
    const unsigned long rest = length - offset - count;
    if (offset) std::memcpy(fresh, buffer, offset * sizeof(char16_t));
    if (added) std::memcpy(fresh + offset, newData, added * sizeof(char16_t));
    if (rest) std::memcpy(fresh + offset + added, buffer + offset + count, rest * sizeof(char16_t));
    fresh[newLength] = 0;
    std::free(buffer);
    buffer = fresh;
}

} // namespace Plinth

#endif
